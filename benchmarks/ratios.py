#!/usr/bin/env python3
"""Runs the benchmark programs and prints one table: what the library takes, and how many times faster it is than its peers.

usage: ratios.py FOLDER [--only rpc,terrain,linalg,fit] [--threads=N] [other options of Google Benchmark]

FOLDER holds the programs (build/release/benchmarks). The least of fifteen runs counts, taken by turns; on one thread it is the
processor's time, which other work on the machine disturbs least, otherwise the time by the clock. "limit" is the time of the
arithmetic alone where a program measures it: ours is that many times slower. A column that nothing fills is left out.
"""

import json
import os
import subprocess
import sys
from pathlib import Path

PEERS = ("gdal", "eigen", "openblas", "limit")
# Cases whose peer goes by another name: ours, then the peer's.
NAMED_OTHERWISE = {
    ("project", "array"): {"limit": "arithmetic"},
    ("locate", "array"): {"gdal": "array to 1e-8 px"},
    ("locate", "array with status"): {"gdal": "array to 1e-8 px"},
    ("locate", "single"): {"gdal": "single to 1e-8 px"},
    ("locate", "single with status"): {"gdal": "single to 1e-8 px"},
    ("locate", "bilinear"): {"gdal": "bilinear to 1e-6 px"},
    ("locate", "bicubic"): {"gdal": "bicubic to 1e-6 px"},
}


def split_name(name):
    """Return routine, library and case of a benchmark."""
    name = name.replace("/real_time", "")
    if name.startswith("BM_"):
        routine, _, rest = name[3:].partition("/")
        points, _, threads = rest.partition("/")
        case = points + (f", {threads} threads" if threads not in ("", "1") else "")
        return ("EstimateRPC", "eigen", case) if routine == "EigenBlocks" else (routine, "orbmath", case)
    routine, library, case = name.split("/", 2)
    return routine, library, case


def measure(program, options):
    """Return the least times of a program's cases, nanoseconds a point or call: {(routine, case): {library: time}}."""
    command = [
        str(program),
        "--benchmark_repetitions=15",
        "--benchmark_min_time=0.01",
        "--benchmark_enable_random_interleaving=true",
        "--benchmark_format=json",
        *options,
    ]
    run = json.loads(subprocess.run(command, check=True, capture_output=True, text=True).stdout)
    alone = not any(option.startswith("--threads=") and option != "--threads=1" for option in options)
    units = {"ns": 1.0, "us": 1e3, "ms": 1e6}
    times = {}
    for result in run["benchmarks"]:
        if result["run_type"] != "iteration":
            continue
        routine, library, case = split_name(result["name"])
        clock = "cpu_time" if alone else "real_time"
        time = result[clock] * units[result["time_unit"]]
        # Either says how many points a run had; both count by the clock where a case says "real_time".
        counted = result["real_time" if result["name"].endswith("/real_time") else "cpu_time"] * units[result["time_unit"]]
        if "items_per_second" in result:
            time *= 1e9 / (result["items_per_second"] * counted)
        elif "per_point" in result:
            time *= result["per_point"] * 1e9 / counted
        libraries = times.setdefault((routine, case), {})
        libraries[library] = min(time, libraries.get(library, float("inf")))
    return times


def peer_time(times, routine, case, peer):
    """Return the peer's time of the same task, or None."""
    name = NAMED_OTHERWISE.get((routine, case), {}).get(peer, case)
    # The peers have one elimination, and one inverse for every matrix.
    for known in (routine, routine.replace("Objects", "").replace("Tied", "").replace("AtWA", "")):
        if peer in times.get((known, name), {}):
            return times[known, name][peer]
    return None


def main():
    """Run what the command line names and print the table."""
    folder = Path(sys.argv[1])
    options = sys.argv[2:]
    programs = ["rpc", "terrain", "linalg", "fit"]
    if "--only" in options:
        at = options.index("--only")
        programs = options[at + 1].split(",")
        del options[at : at + 2]
    rows = []
    for name in programs:
        times = measure(folder / f"bench_{name}", [o for o in options if name == "linalg" or not o.startswith("--threads=")])
        for (routine, case), libraries in sorted(times.items()):
            if "orbmath" in libraries:
                peers = [peer_time(times, routine, case, peer) for peer in PEERS]
                rows.append((f"{routine} {case.replace('/', ' x ')}", libraries["orbmath"], peers))
    known = [i for i in range(len(PEERS)) if any(peers[i] for _, _, peers in rows)]
    print(f"Instruction set: {os.environ.get('ORBMATH_SIMD', 'the best of this machine')}\n")
    print("| case | Orbmath, ns | " + " | ".join(PEERS[i] for i in known) + " |")
    print("|---|" + "---|" * (1 + len(known)))
    for case, time, peers in rows:
        ratios = [f"{peers[i] / time:.2f}" if peers[i] else "" for i in known]
        print(f"| {case} | {time:.4g} | " + " | ".join(ratios) + " |")


if __name__ == "__main__":
    main()
