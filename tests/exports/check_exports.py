#!/usr/bin/env python3
"""Checks that a shared library exports exactly the names its public header declares.

The header is run through the C preprocessor, so that declarations made by macros count too; every
declaration carrying the default-visibility attribute names one exported symbol. The library's
dynamic symbol table (nm -D --defined-only) must hold exactly those names."""
import argparse
import re
import subprocess
import sys

ATTRIBUTE = '__attribute__((visibility("default")))'
KEYWORDS = {"extern", "const", "volatile", "static", "struct", "unsigned", "signed"}


def declared_names(compiler, header, include_dirs):
    cmd = [compiler, "-E", "-P", "-x", "c", header] + [f"-I{d}" for d in include_dirs]
    text = subprocess.run(cmd, check=True, capture_output=True, text=True).stdout
    names = set()
    for chunk in text.split(ATTRIBUTE)[1:]:
        decl = chunk.split(";", 1)[0]
        paren = decl.find("(")
        bracket = decl.find("[")
        if paren >= 0 and (bracket < 0 or paren < bracket):
            head = decl[:paren]  # a function: the name stands right before its parameter list
        else:
            head = decl.split("[", 1)[0].split("=", 1)[0]  # an object
        idents = [w for w in re.findall(r"[A-Za-z_]\w*", head) if w not in KEYWORDS]
        if not idents:
            sys.exit(f"cannot read a declaration: {decl.strip()[:120]}")
        names.add(idents[-1])
    return names


def exported_names(library):
    out = subprocess.run(["nm", "-D", "--defined-only", library], check=True,
                         capture_output=True, text=True).stdout
    names = set()
    for line in out.splitlines():
        parts = line.split()
        if len(parts) >= 3:
            names.add(parts[2].split("@", 1)[0])
    return names


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument("--library", required=True)
    ap.add_argument("--header", required=True)
    ap.add_argument("--compiler", default="cc")
    ap.add_argument("-I", dest="include_dirs", action="append", default=[])
    args = ap.parse_args()

    declared = declared_names(args.compiler, args.header, args.include_dirs)
    exported = exported_names(args.library)
    extra = sorted(exported - declared)
    missing = sorted(declared - exported)
    for name in extra:
        print(f"exported but not declared: {name}")
    for name in missing:
        print(f"declared but not exported: {name}")
    print(f"{len(exported)} exported, {len(declared)} declared")
    return 1 if extra or missing else 0


if __name__ == "__main__":
    sys.exit(main())
