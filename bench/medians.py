"""The medians of a Google Benchmark binary's repeated runs, for the scripts that set numpy and
scipy beside it."""

import json
import subprocess


def medians(binary, repetitions=5):
    """Runs `binary` with `repetitions` repetitions; returns {run_name: median record}."""
    out = subprocess.run([binary, "--benchmark_format=json",
                          f"--benchmark_repetitions={repetitions}",
                          "--benchmark_report_aggregates_only=true"],
                         check=True, capture_output=True, text=True).stdout
    return {b["run_name"]: b for b in json.loads(out)["benchmarks"]
            if b.get("aggregate_name") == "median"}
