"""The Python package beside rpcm and rasterio on the same arrays, and its cost over the library itself.

    build/python/venv/bin/pip install rpcm rasterio
    build/python/venv/bin/python benchmarks/python_peers.py

All on one thread; the best of several runs. rpcm gives single precision in nothing, but iterates image to ground only to
about a thousandth of a pixel; rasterio's transformer is GDAL's.
"""

import argparse
import timeit
from pathlib import Path

import numpy as np

import orbmath

DATA = Path(__file__).resolve().parents[1] / "examples" / "data"


def best(call, seconds=0.5):
    """Microseconds of the fastest of several runs."""
    timer = timeit.Timer(call)
    number = max(1, int(0.02 / max(timer.timeit(1), 1e-7)))
    repeat = max(5, int(seconds / 0.02))
    return min(timer.repeat(repeat, number)) / number * 1e6


def peers(model, count):
    """Calls of the peers that are installed: name -> (ground to image, image to ground)."""
    lat, lon, height, line, sample = points(model, count)
    found = {}
    try:
        from rpcm.rpc_model import RPCModel

        other = RPCModel({k: v for k, v in rpcm_names(model).items()}, dict_format="rpcm")
        found["rpcm"] = (lambda: other.projection(lon, lat, height), lambda: other.localization(sample, line, height))
    except ImportError:
        print("rpcm is not installed")
    try:
        from rasterio.transform import RPCTransformer

        for name, options in (("rasterio (0.1 px)", {}), ("rasterio (1e-8 px)", {"rpc_pixel_error_threshold": 1e-8})):
            transformer = RPCTransformer(model.to_rpcs(), **options)
            found[name] = (
                lambda t=transformer: t.rowcol(lon, lat, height),
                lambda t=transformer: t.xy(line, sample, height),
            )
    except ImportError:
        print("rasterio is not installed")
    return found


def rpcm_names(model):
    """The record under rpcm's names."""
    record = model.to_dict()
    return {ours: record[theirs] for ours, theirs in orbmath.records._RPCM.items()}


def points(model, count):
    """Points over the image of the model."""
    random = np.random.default_rng(3)
    box = model.image_box
    line, sample = random.uniform(box[0], box[1], count), random.uniform(box[2], box[3], count)
    height = random.uniform(*model.height_range, count)
    ground = model.locate(line, sample, height)
    return ground.lat, ground.lon, height, line, sample


def main():
    """Print the tables."""
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--count", type=int, default=100_000)
    count = parser.parse_args().count
    orbmath.set_threads(1)
    model = orbmath.Model.open(DATA / "pushbroom_left.RPB")
    lat, lon, height, line, sample = points(model, count)
    ours = (best(lambda: model.project(lat, lon, height)), best(lambda: model.locate(line, sample, height)))
    print(f"{count} points, ns a point     ground to image     image to ground")
    print(f"{'orbmath':24}{ours[0] / count * 1e3:14.1f}{ours[1] / count * 1e3:20.1f}")
    for name, calls in peers(model, count).items():
        theirs = [best(call, 0.2) for call in calls]
        ratios = [b / a for a, b in zip(ours, theirs, strict=True)]
        print(
            f"{name:24}{theirs[0] / count * 1e3:14.1f} ({ratios[0]:5.1f} x){theirs[1] / count * 1e3:11.1f} ({ratios[1]:5.1f} x)"
        )

    few, many = 2_000, 10_000
    times = {n: best(lambda n=n: model.project(lat[:n], lon[:n], height[:n])) for n in (few, many)}
    each = (times[many] - times[few]) / (many - few)
    overhead = times[many] - each * many
    print(f"cost of a call on arrays {overhead:.2f} us, {100 * overhead / times[many]:.1f} % at {many} points")
    print(f"one point: project {best(lambda: model.project(47.3, 8.5, 410.0)):.2f} us, ", end="")
    print(f"locate {best(lambda: model.locate(8838.0, 7240.0, 410.0)):.2f} us")


if __name__ == "__main__":
    main()
