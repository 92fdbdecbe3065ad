"""What Dask costs and gives: a coordinate grid in one process and on two workers of this machine.

    build/python/venv/bin/python benchmarks/python_cluster.py [--side 5000]

Prints the time of the plain call, of the same on one and on two workers, the time per task, and the bytes of a model on
the wire: the figures from which docs/cluster.md extrapolates.
"""

import argparse
import pickle
import time
from pathlib import Path

import numpy as np
from dask.distributed import Client, LocalCluster

import orbmath
from orbmath import cluster

MODEL = Path(__file__).resolve().parents[1] / "examples" / "data" / "pushbroom_left.RPB"


def seconds(call):
    """Time of the faster of two runs."""
    times = []
    for _ in range(2):
        start = time.perf_counter()
        call()
        times.append(time.perf_counter() - start)
    return min(times)


def main():
    """Print the figures."""
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--side", type=int, default=5000, help="pixels along each side of the grid")
    side = parser.parse_args().side
    model = orbmath.Model.from_dict(orbmath.Model.open(MODEL).to_dict(), shape=(side, side))
    line, sample = np.arange(float(side))[:, None], np.arange(float(side))[None, :]

    def plain():
        for first in range(0, side, 1000):
            model.locate(line[first : first + 1000], sample, 450.0)

    orbmath.set_threads(1)
    alone = seconds(plain)
    print(f"{side * side / 1e6:.0f} million points, one thread: {alone:.2f} s, {alone / side**2 * 1e9:.0f} ns a point")
    print(f"a model on the wire: {len(pickle.dumps(model))} bytes")
    for workers in (1, 2):
        with (
            LocalCluster(n_workers=workers, threads_per_worker=1, dashboard_address=None, host="127.0.0.1") as machine,
            Client(machine) as client,
        ):
            cluster.one_thread_each(client)
            lat, lon = cluster.coordinate_grid(model, 450.0, chunks=1000)
            # The sums bring every block into being on the workers and a number home.
            whole = seconds(lambda a=lat, b=lon, c=client: c.compute(a.sum() + b.sum(), sync=True))
            nothing = [client.submit(lambda x: x, i, pure=False) for i in range(10)]
            client.gather(nothing)
            tasks = (
                seconds(lambda c=client: c.gather([c.submit(lambda x: x, i, pure=False) for i in range(1000)])) / 1000
            )
            print(
                f"{workers} worker(s): {whole:.2f} s, {alone / whole:.2f} times the plain call; {tasks * 1e3:.2f} ms a task"
            )


if __name__ == "__main__":
    main()
