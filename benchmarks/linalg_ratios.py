#!/usr/bin/env python3
"""Runs bench_linalg and prints, for each case, the least times and how many times faster than each peer Orbmath is.

usage: linalg_ratios.py path/to/bench_linalg [--threads=N] [other options of Google Benchmark]

On one thread the processor time counts, which other work on the machine disturbs least; otherwise the time by the clock.
"""

import json
import subprocess
import sys


def main():
    command = [sys.argv[1], "--benchmark_repetitions=15", "--benchmark_min_time=0.01",
               "--benchmark_enable_random_interleaving=true", "--benchmark_format=json"] + sys.argv[2:]
    run = json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)
    alone = not any(option.startswith("--threads=") and option != "--threads=1" for option in sys.argv[2:])
    clock = "cpu_time" if alone else "real_time"
    times = {}
    for result in run["benchmarks"]:
        if result["run_type"] == "iteration":
            routine, library, sizes = result["name"].replace("/real_time", "").split("/", 2)
            case = times.setdefault((routine, sizes.replace("/", " x ")), {})
            case[library] = min(result[clock], case.get(library, float("inf")))
    print("| case | Orbmath, us | " + " | ".join(f"times faster than {peer}" for peer in ("Eigen", "OpenBLAS")) + " |")
    print("|---|---|---|---|")
    for (routine, sizes), case in sorted(times.items()):
        # The peers have one elimination, and one inverse for every matrix.
        peers = times[routine.replace("Objects", "").replace("Tied", ""), sizes]
        ratios = [f"{peers[peer] / case['orbmath']:.2f}" if peer in peers else "" for peer in ("eigen", "openblas")]
        print(f"| {routine} {sizes} | {case['orbmath']:.4g} | " + " | ".join(ratios) + " |")


if __name__ == "__main__":
    main()
