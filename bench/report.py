#!/usr/bin/env python3
"""Runs array-benchmark binaries and writes the performance tables to docs/performance.md.

    bench/report.py build-bench/bench/oxl_bench_vm
    bench/report.py --filter 'dExp|copy_d' --repetitions 9 build-bench/bench/oxl_bench_vm
    bench/report.py --save-json run.json build-bench/bench/oxl_bench_vm
    bench/report.py --from-json run.json          # render saved results again

Each binary runs once, pinned to one CPU when taskset is there, with every benchmark repeated;
a time is the median over the repetitions of CPU time per element. What the tables compare is
declared in bench/comparisons.toml. Plain python3 (3.11 or later, for tomllib).
"""

import argparse
import json
import os
import shutil
import statistics
import subprocess
import sys
import tempfile
import tomllib
from pathlib import Path

SIZES = ("L1", "L2", "MEM")
ROOT = Path(__file__).resolve().parent.parent
CONFIG = Path(__file__).resolve().parent / "comparisons.toml"


class Results:
    """Median ns per element and spread of every (function, contestant, size) that ran."""

    def __init__(self, runs):
        self.context = {}
        self.times = {}
        self.cv = {}
        self.functions = {}  # name -> description recorded by the binary
        self.contestants = {}  # function -> contestants in the order they ran
        singles = {}
        for run in runs:
            for key, value in run["context"].items():
                self.context.setdefault(key, value)
                if key.startswith("oxl.function."):
                    self.functions[key[len("oxl.function."):]] = json.loads(value)
            for b in run["benchmarks"]:
                if b.get("error_occurred") or b["run_name"].count("/") != 2:
                    continue
                key = tuple(b["run_name"].split("/"))
                function, contestant, _ = key
                order = self.contestants.setdefault(function, [])
                if contestant not in order:
                    order.append(contestant)
                kind = b.get("aggregate_name") if b["run_type"] == "aggregate" else "single"
                if kind == "median":
                    self.times[key] = 1e9 / b["items_per_second"]
                elif kind == "cv":
                    self.cv[key] = b["cpu_time"]
                elif kind == "single":
                    singles.setdefault(key, []).append(1e9 / b["items_per_second"])
        for key, values in singles.items():
            self.times.setdefault(key, statistics.median(values))

    def time(self, function, contestant, size):
        return self.times.get((function, contestant, size))

    def function_order(self, config):
        listed = [f["name"] for f in config.get("function", [])]
        ran = list(self.contestants)
        return [f for f in listed if f in ran] + [f for f in ran if f not in listed]


# SIMD widths, widest first: the oxl kernels run pinned to each, and each compares with the peers'
# entries of its own width.
WIDTHS = ("avx512", "avx2")


def resolve_peer(results, function, peer, width):
    """(function, contestant) that a peer entry of a comparison names at `width`: a name with a
    contestant of that width ("libmvec" -> "libmvec_avx2") stands for it."""
    if peer == "bound":
        return bound_of(results, function)
    if "/" in peer:
        function, peer = peer.split("/", 1)
    if f"{peer}_{width}" in results.contestants.get(function, []):
        return function, f"{peer}_{width}"
    return function, peer


def bound_of(results, function):
    """(function, contestant) of the copy loop that bounds `function`: the one timed in the
    function's own run when there is one, else its shape's copy function."""
    if "copy" in results.contestants.get(function, []) and results.functions.get(
            function, {}).get("bound"):
        return function, "copy"
    return results.functions.get(function, {}).get("bound", ""), "copy"


def evaluate(results, comparison, size, width):
    """(ratio, name of the fastest peer) or None when the kernel or every peer is missing."""
    function = comparison["function"]
    mine = results.time(*resolve_peer(results, function, comparison["oxl"], width), size)
    best = None
    for peer in comparison["peers"]:
        name = resolve_peer(results, function, peer, width)
        t = results.time(*name, size)
        if t is not None and (best is None or t < best[0]):
            best = (t, name[1] if name[0] == function else "/".join(name))
    if mine is None or best is None:
        return None
    return mine / best[0], best[1]


def format_ns(value):
    if value is None:
        return "–"
    if value >= 100:
        return f"{value:.0f}"
    if value >= 10:
        return f"{value:.1f}"
    if value >= 1:
        return f"{value:.2f}"
    return f"{value:.3f}"


def format_count(n):
    return "10^7" if n == 10_000_000 else str(n)


def format_bytes(n):
    for unit, scale in (("MiB", 1 << 20), ("KiB", 1 << 10)):
        if n >= scale:
            return f"{n / scale:g} {unit}"
    return f"{n} B"


class Verdicts:
    """Counts of targets met, missed and pending over the whole report."""

    def __init__(self):
        self.met = self.missed = self.pending = 0


def comparison_rows(results, comparison, verdicts):
    """One row per width whose oxl kernel ran; one pending row when none did."""
    function = comparison["function"]
    widths = [w for w in WIDTHS
              if resolve_peer(results, function, comparison["oxl"], w)[1].endswith("_" + w)]
    return [comparison_row(results, comparison, verdicts, w) for w in widths or WIDTHS[:1]]


def comparison_row(results, comparison, verdicts, width):
    limit = comparison.get("limit")
    limited = comparison.get("sizes", list(SIZES))
    cells = []
    ran = False
    for size in SIZES:
        outcome = evaluate(results, comparison, size, width)
        if outcome is None:
            cells.append("–")
            continue
        ran = True
        ratio, peer = outcome
        cell = f"{ratio:.2f}" + (f" vs {peer}" if len(comparison["peers"]) > 1 else "")
        if limit is not None and size in limited:
            if ratio <= limit:
                verdicts.met += 1
                cell += " ✓"
            else:
                verdicts.missed += 1
                cell += " ✗"
        cells.append(cell)
    target = f"≤ {limit:g} at {', '.join(limited)}" if limit is not None else ""
    if not ran:
        if limit is not None:
            verdicts.pending += 1
        target = (target + "; " if target else "") + "arrives with its kernel"
    peers = ", ".join(comparison["peers"])
    return (f"| {comparison['oxl']} | {width} | {peers} | " + " | ".join(cells)
            + f" | {target} |")


def function_section(results, config, function, verdicts):
    titles = {f["name"]: f.get("title", "") for f in config.get("function", [])}
    info = results.functions.get(function, {})
    heading = f"## {function}" + (f": {titles[function]}" if titles.get(function) else "")
    lines = [heading, ""]
    elements = info.get("elements", {})
    if info:
        counts = ", ".join(f"{s} {format_count(elements[s])}" for s in SIZES if s in elements)
        lines += [f"{info['type']}; {info['inputs']}. Elements: {counts}.", ""]

    bound = info.get("bound")
    contestants = [c for c in results.contestants[function] if not (bound and c == "copy")]
    contestants = sorted(c for c in contestants if c.startswith("oxl_")) + [
        c for c in contestants if not c.startswith("oxl_")]
    fastest = {}
    for size in SIZES:
        times = [results.time(function, c, size) for c in contestants]
        times = [t for t in times if t is not None]
        fastest[size] = min(times) if times else None
    lines += ["| contestant | " + " | ".join(f"{s} ns/elt" for s in SIZES) + " |",
              "|---|" + "---:|" * len(SIZES)]
    for c in contestants:
        cells = []
        for size in SIZES:
            t = results.time(function, c, size)
            text = format_ns(t)
            cells.append(f"**{text}**" if t is not None and t == fastest[size] else text)
        lines.append(f"| {c} | " + " | ".join(cells) + " |")
    if bound:
        owner = bound_of(results, function)
        cells = [format_ns(results.time(*owner, s)) for s in SIZES]
        when = ", in this run" if owner[0] == function else ""
        lines.append(f"| copy bound ({bound}{when}) | " + " | ".join(cells) + " |")
    lines.append("")

    comparisons = [c for c in config.get("comparison", []) if c["function"] == function]
    if comparisons:
        if not any(c.startswith("oxl_") for c in contestants):
            lines += ["oxl rows arrive with their kernels; until then these comparisons are "
                      "pending.", ""]
        lines += ["| oxl | width | against the fastest of | "
                  + " | ".join(f"{s} ratio" for s in SIZES) + " | target |",
                  "|---|---|---|" + "---:|" * len(SIZES) + "---|"]
        for c in comparisons:
            lines += comparison_rows(results, c, verdicts)
        lines.append("")
    return lines


def header(results, config, method, verdicts):
    ctx = results.context
    caches = []
    for cache in ctx.get("caches", []):
        if cache["type"] == "Instruction":
            continue
        shared = f" shared by {cache['num_sharing']}" if cache.get("num_sharing", 1) > 1 else ""
        letter = "d" if cache["type"] == "Data" else ""
        caches.append(f"L{cache['level']}{letter} {format_bytes(cache['size'])}{shared}")
    worst = max(results.cv.items(), key=lambda kv: kv[1], default=None)
    spread = (f" Largest coefficient of variation over the repetitions: {100 * worst[1]:.1f}% "
              f"({'/'.join(worst[0])})." if worst else "")
    pinned = (f"pinned to CPU {method['pinned_cpu']} with taskset"
              if method.get("pinned_cpu") is not None else "not pinned")
    load = " / ".join(f"{x:.2f}" for x in ctx.get("load_avg", [])) or "unknown"
    if ctx.get("library_build_type") == "debug":
        spread += (" Google Benchmark's own library is a debug build (Debian's package); the timed "
                   "loops are compiled into the benchmark binaries, so the times do not depend on "
                   "it.")
    lines = [
        "# Performance",
        "",
        "Generated by `bench/report.py` from the benchmark binaries "
        f"({', '.join(method['binaries'])}) with the comparisons of `bench/comparisons.toml`; "
        "do not edit by hand. `scripts/bench.sh` builds the binaries and runs it again.",
        "",
        f"- Machine: {ctx.get('oxl.cpu_model', 'unknown CPU')}, {ctx.get('num_cpus', '?')} CPUs at "
        f"{ctx.get('mhz_per_cpu', '?')} MHz; {', '.join(caches)}. oxl would dispatch to "
        f"{ctx.get('oxl.simd_target', '?')}; its kernels ran pinned to each target "
        "(`OXL_SIMD_TARGET`, `oxl_dft_pvk_set_simd_target`), named by it. Load average (1, 5, 15 min) when the run began: "
        f"{load}.",
        f"- Date: {ctx.get('date', '?')}.",
        f"- Compiler: {ctx.get('oxl.compiler', '?')}, {ctx.get('oxl.build_type', '?')} build.",
        f"- Peers: {ctx.get('oxl.libmvec', '?')} (libmvec), {ctx.get('oxl.sleef', '?')}.",
        f"- Method: nanoseconds of CPU time per element, median of {method['repetitions']} "
        f"repetitions of at least {method['min_time']:g} s each, {pinned}.{spread}",
        "- Sizes: at L1 and L2 the inputs and outputs together fill half of that cache of one "
        "core; MEM is 10^7 elements. The fastest time of each column is in bold. A ratio is the "
        "oxl kernel's time over the fastest listed peer's at the same size; ✓ and ✗ mark "
        "targets met and missed. A copy bound marked \"in this run\" was timed right after the "
        "function's contestants at each size, on the same arrays.",
        f"- Targets: {verdicts.met} met, {verdicts.missed} missed, {verdicts.pending} pending "
        "(oxl kernels not benchmarked yet).",
        "",
    ]
    legend = config.get("contestants", {})
    if legend:
        lines += ["Contestants:", ""]
        lines += [f"- `{name}`: {text}" for name, text in legend.items()]
        lines.append("")
    return lines


def render(results, config, method):
    verdicts = Verdicts()
    body = []
    for function in results.function_order(config):
        body += function_section(results, config, function, verdicts)
    return "\n".join(header(results, config, method, verdicts) + body), verdicts


def pin_cpu(disabled):
    if disabled or shutil.which("taskset") is None:
        return None
    return max(os.sched_getaffinity(0))


def run_binary(binary, args, cpu):
    with tempfile.TemporaryDirectory() as tmp:
        out = Path(tmp) / "results.json"
        cmd = [str(binary), f"--benchmark_out={out}", "--benchmark_out_format=json",
               f"--benchmark_repetitions={args.repetitions}",
               "--benchmark_report_aggregates_only=true",
               f"--benchmark_min_time={args.min_time:g}"]
        if args.filter:
            cmd.append(f"--benchmark_filter={args.filter}")
        if cpu is not None:
            cmd = ["taskset", "-c", str(cpu)] + cmd
        print("+ " + " ".join(cmd), file=sys.stderr, flush=True)
        subprocess.run(cmd, check=True, stdout=sys.stderr)
        return json.loads(out.read_text())


def main(argv=None):
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("binaries", nargs="*", type=Path, help="benchmark binaries to run")
    parser.add_argument("--out", type=Path, default=ROOT / "docs" / "performance.md")
    parser.add_argument("--config", type=Path, default=CONFIG)
    parser.add_argument("--repetitions", type=int, default=5)
    parser.add_argument("--min-time", type=float, default=0.2,
                        help="seconds per repetition of each benchmark")
    parser.add_argument("--filter", help="regular expression passed as --benchmark_filter")
    parser.add_argument("--no-pin", action="store_true", help="do not pin with taskset")
    parser.add_argument("--save-json", type=Path, help="also keep the raw results here")
    parser.add_argument("--from-json", type=Path, help="render saved results, run nothing")
    parser.add_argument("--check", action="store_true",
                        help="exit with status 1 when a target is missed")
    args = parser.parse_args(argv)

    if args.from_json:
        saved = json.loads(args.from_json.read_text())
        runs, method = saved["runs"], saved["method"]
    elif args.binaries:
        cpu = pin_cpu(args.no_pin)
        runs = [run_binary(b, args, cpu) for b in args.binaries]
        method = {"binaries": [b.name for b in args.binaries], "repetitions": args.repetitions,
                  "min_time": args.min_time, "pinned_cpu": cpu}
    else:
        parser.error("give benchmark binaries or --from-json")
    if args.save_json:
        args.save_json.write_text(json.dumps({"runs": runs, "method": method}, indent=1))

    config = tomllib.loads(args.config.read_text())
    results = Results(runs)
    if results.context.get("oxl.build_type", "Release") != "Release":
        print("report: the benchmarks were not built as Release", file=sys.stderr)
    text, verdicts = render(results, config, method)
    args.out.parent.mkdir(parents=True, exist_ok=True)
    args.out.write_text(text)
    print(f"report: wrote {args.out}; targets {verdicts.met} met, {verdicts.missed} missed, "
          f"{verdicts.pending} pending", file=sys.stderr)
    return 1 if args.check and verdicts.missed else 0


if __name__ == "__main__":
    sys.exit(main())
