#!/usr/bin/env python3
"""bench/report.py on made-up results: times per element, ratios, targets, pending rows."""

import json
import sys
import tempfile
import tomllib
import unittest
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parent.parent))
import report  # noqa: E402

CONFIG_TEXT = """
[[function]]
name = "dExp"
title = "exp, double"

[[comparison]]
function = "dExp"
oxl = "oxl_HA"
peers = ["libmvec", "sleef_u10"]
limit = 0.8
sizes = ["L1", "L2"]
[[comparison]]
function = "dExp"
oxl = "oxl_HA"
peers = ["bound"]
limit = 1.1
sizes = ["MEM"]
[[comparison]]
function = "dExpm1"
oxl = "oxl_HA"
peers = ["dExp/oxl_HA"]
limit = 1.5
[[comparison]]
function = "dExpm1"
oxl = "oxl_LA"
peers = ["oxl_HA"]
limit = 1.0
"""
CONFIG = tomllib.loads(CONFIG_TEXT)


def aggregate(name, ns_per_element, kind="median"):
    return {"name": f"{name}_{kind}", "run_name": name, "run_type": "aggregate",
            "aggregate_name": kind, "cpu_time": 0.02 if kind == "cv" else 1.0,
            "items_per_second": 1e9 / ns_per_element}


def single(name, ns_per_element):
    return {"name": name, "run_name": name, "run_type": "iteration",
            "items_per_second": 1e9 / ns_per_element}


def describe(bound):
    return json.dumps({"type": "double", "inputs": "a uniform in [-700, 700]", "bound": bound,
                       "elements": {"L1": 1536, "L2": 65536, "MEM": 10000000}})


def make_runs():
    """Times chosen so that each verdict comes out one way: see the tests."""
    times = {
        # dExp oxl_HA on AVX2: 0.7x of the faster AVX2 peer at L1 (met), 0.9x at L2 (missed); on
        # AVX-512 0.8x (met) and 1.2x (missed) of the AVX-512 peer, which is faster than every
        # AVX2 contestant but is not compared with them. At MEM 1.05x of the copy bound (met).
        ("dExp", "oxl_HA_avx512"): (0.4, 0.6, 2.1),
        ("dExp", "oxl_HA_avx2"): (1.4, 1.8, 2.1),
        ("dExp", "libmvec_avx2"): (2.0, 2.0, 2.5),
        ("dExp", "sleef_u10_avx2"): (3.0, 2.1, 2.6),
        ("dExp", "libmvec_avx512"): (0.5, 0.5, 0.5),
        ("copy_d", "copy"): (0.2, 0.3, 2.0),
        # dExpm1 oxl_HA (AVX2 only) is 2x dExp's oxl_HA: missed at every size.
        ("dExpm1", "oxl_HA_avx2"): (2.8, 3.6, 4.2),
        # dExpm1's own run timed its bound too: that one counts, and is no contestant.
        ("dExpm1", "copy"): (0.1, 0.2, 4.0),
    }
    benchmarks = []
    for (function, contestant), row in times.items():
        for size, t in zip(report.SIZES, row):
            name = f"{function}/{contestant}/{size}"
            benchmarks += [aggregate(name, t), aggregate(name, t, "cv")]
    context = {"date": "2026-01-01", "num_cpus": 2, "mhz_per_cpu": 2000, "caches": [],
               "oxl.cpu_model": "Test CPU", "oxl.build_type": "Release",
               "oxl.function.dExp": describe("copy_d"), "oxl.function.dExpm1": describe("copy_d"),
               "oxl.function.copy_d": describe("")}
    return [{"context": context, "benchmarks": benchmarks}]


METHOD = {"binaries": ["oxl_bench_vm"], "repetitions": 5, "min_time": 0.2, "pinned_cpu": 1}


def table_row(text, start):
    return next(line for line in text.splitlines() if line.startswith(start))


class ReportTest(unittest.TestCase):
    def setUp(self):
        self.results = report.Results(make_runs())
        self.text, self.verdicts = report.render(self.results, CONFIG, METHOD)

    def test_times_are_nanoseconds_per_element(self):
        self.assertAlmostEqual(self.results.time("dExp", "libmvec_avx2", "MEM"), 2.5)
        self.assertIn("| libmvec_avx512 | 0.500 | **0.500** | **0.500** |", self.text)
        self.assertIn("| copy bound (copy_d) | 0.200 | 0.300 | 2.00 |", self.text)
        self.assertIn("| copy bound (copy_d, in this run) | 0.100 | 0.200 | 4.00 |", self.text)
        self.assertNotIn("| copy | 0.100", self.text)
        self.assertEqual(report.bound_of(self.results, "dExpm1"), ("dExpm1", "copy"))
        self.assertEqual(report.bound_of(self.results, "dExp"), ("copy_d", "copy"))

    def test_ratio_uses_the_fastest_listed_peer_of_the_same_width_and_marks_targets(self):
        row = table_row(self.text, "| oxl_HA | avx2 | libmvec, sleef_u10 |")
        self.assertIn("0.70 vs libmvec_avx2 ✓", row)
        self.assertIn("0.90 vs libmvec_avx2 ✗", row)
        # MEM is outside the target's sizes: a ratio, no verdict.
        self.assertIn("0.84 vs libmvec_avx2 |", row)
        row = table_row(self.text, "| oxl_HA | avx512 | libmvec, sleef_u10 |")
        self.assertIn("0.80 vs libmvec_avx512 ✓", row)
        self.assertIn("1.20 vs libmvec_avx512 ✗", row)

    def test_bound_and_other_functions_resolve_as_peers(self):
        for width in ("avx512", "avx2"):
            self.assertIn("| 1.05 ✓ |", table_row(self.text, f"| oxl_HA | {width} | bound |"))
        row = table_row(self.text, "| oxl_HA | avx2 | dExp/oxl_HA |")
        self.assertEqual(row.count("2.00 vs"), 0)
        self.assertEqual(row.count("2.00 ✗"), 3)
        # dExpm1 has no AVX-512 kernel in this run: no row of that width.
        self.assertNotIn("| oxl_HA | avx512 | dExp/oxl_HA |", self.text)

    def test_missing_kernels_are_pending(self):
        row = table_row(self.text, "| oxl_LA | avx512 | oxl_HA |")
        self.assertIn("| – | – | – |", row)
        self.assertIn("arrives with its kernel", row)
        self.assertEqual((self.verdicts.met, self.verdicts.missed, self.verdicts.pending),
                         (4, 5, 1))

    def test_the_shipped_configuration_parses(self):
        config = tomllib.loads(report.CONFIG.read_text())
        listed = {f["name"] for f in config["function"]}
        self.assertTrue(all(c["function"] in listed for c in config["comparison"]))

    def test_sections_follow_the_configuration_then_the_run(self):
        headings = [line for line in self.text.splitlines() if line.startswith("## ")]
        self.assertEqual(headings, ["## dExp: exp, double", "## copy_d", "## dExpm1"])

    def test_single_runs_stand_in_for_missing_medians(self):
        runs = make_runs()
        runs[0]["benchmarks"] = [single("dExp/libmvec_avx2/L1", t) for t in (3.0, 1.0, 2.0)]
        self.assertAlmostEqual(report.Results(runs).time("dExp", "libmvec_avx2", "L1"), 2.0)

    def test_check_fails_on_missed_targets(self):
        with tempfile.TemporaryDirectory() as tmp:
            saved = Path(tmp) / "run.json"
            saved.write_text(json.dumps({"runs": make_runs(), "method": METHOD}))
            met_only = Path(tmp) / "met.toml"
            met_only.write_text('[[comparison]]\nfunction = "dExp"\noxl = "oxl_HA"\n'
                                'peers = ["bound"]\nlimit = 1.1\nsizes = ["MEM"]\n')
            full = Path(tmp) / "full.toml"
            full.write_text(CONFIG_TEXT)
            out = Path(tmp) / "perf.md"
            common = ["--from-json", str(saved), "--out", str(out), "--check", "--config"]
            self.assertEqual(report.main(common + [str(met_only)]), 0)
            self.assertEqual(report.main(common + [str(full)]), 1)
            self.assertIn("Targets: 4 met, 5 missed, 1 pending", out.read_text())


if __name__ == "__main__":
    unittest.main()
