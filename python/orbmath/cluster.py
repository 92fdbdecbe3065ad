"""Arrays larger than memory and many models, on Dask: one process, one machine, or many machines.

Models travel to the workers by pickle, bit for bit, so results are those of one process. Needs the packages
`dask` and, for clusters, `distributed`.
"""

from __future__ import annotations

from collections.abc import Callable, Iterable, Sequence
from functools import lru_cache
from typing import Any

import dask
import dask.array as da
import numpy as np

from .model import Location, Model
from .ortho import ToGround, image_window, map_grid, resample
from .states import State
from .terrain import Terrain
from .threads import set_threads

#: A Dask array, a numpy array or a number.
Lazy = Any


def one_thread_each(client: Any) -> None:
    """Let the calls of every worker of a `distributed.Client` use one thread each.

    Dask keeps each core busy with a task of its own; threads inside the calls would only compete with them. Holds for
    the workers that are there and those that join.
    """
    from distributed import WorkerPlugin

    class OneThread(WorkerPlugin):  # type: ignore[misc]
        name = "orbmath-one-thread"

        def setup(self, worker: Any) -> None:
            """Run on each worker."""
            set_threads(1)

    client.register_plugin(OneThread())


def _together(*arrays: Lazy) -> list[Any]:
    """Broadcast to one shape with one set of chunks."""
    shaped = da.broadcast_arrays(*(da.asarray(a, dtype=np.float64) for a in arrays))
    names = tuple(range(shaped[0].ndim))
    _, same = da.unify_chunks(*(part for array in shaped for part in (array, names)))
    return list(same)


def _blocks(function: Any, count: int, *arrays: Any) -> Any:
    """Map blocks to `count` arrays of their shape, stacked in front."""
    chunks = ((count,), *arrays[0].chunks)
    meta = np.empty((0,) * len(chunks))
    return da.map_blocks(function, *arrays, dtype=np.float64, new_axis=0, chunks=chunks, meta=meta)


def project(model: Model, lat: Lazy, lon: Lazy, height: Lazy) -> tuple[Any, Any]:
    """Ground to image, lazily; arguments as `Model.project`, any of them Dask arrays.

    Returns
    -------
    line, sample
        Dask arrays of the broadcast shape.
    """

    def of_block(*ground: Any) -> Any:
        return np.stack(model.project(*ground))

    both = _blocks(of_block, 2, *_together(lat, lon, height))
    return both[0], both[1]


def locate(model: Model, line: Lazy, sample: Lazy, height: Lazy) -> Location:
    """Image to ground at known heights, lazily; arguments as `Model.locate`, any of them Dask arrays.

    Returns
    -------
    Location
        Of Dask arrays.
    """

    def of_block(*image: Any) -> Any:
        found = model.locate(*image)
        return np.stack([found.lat, found.lon, found.residual, found.state.astype(np.float64)])

    line, sample, height = _together(line, sample, height)
    four = _blocks(of_block, 4, line, sample, height)
    return Location(four[0], four[1], height, four[3].astype(np.int8), four[2])


def coordinate_grid(model: Model, height: float, step: float = 1.0, chunks: int = 2048) -> tuple[Any, Any]:
    """Give the ground of each `step`-th pixel of the image, lazily.

    Parameters
    ----------
    model
        A model whose image size is known, or whose own range stands for it.
    height
        Metres above the ellipsoid.
    step
        Pixels between nodes.
    chunks
        Nodes along the side of a block.

    Returns
    -------
    lat, lon
        Dask arrays (lines, samples), degrees; NaN where there is no solution.
    """
    first_line, last_line, first_sample, last_sample = model.image_box
    shape = (int((last_line - first_line) / step) + 1, int((last_sample - first_sample) / step) + 1)

    def of_block(block_info: Any = None) -> Any:
        (_, lines, samples) = block_info[None]["array-location"]
        line = first_line + step * np.arange(*lines)[:, None]
        sample = first_sample + step * np.arange(*samples)
        found = model.locate(line, sample, height)
        return np.stack([found.lat, found.lon])

    # Each block knows its place, so that none waits for another's numbers or goes to the worker that holds them.
    parts = da.core.normalize_chunks(chunks, shape, dtype=np.float64)
    both = da.map_blocks(of_block, chunks=((2,), *parts), dtype=np.float64, meta=np.empty((0, 0, 0)))
    return both[0], both[1]


@lru_cache(maxsize=4)
def _made(make: Callable[[], Terrain]) -> Terrain:
    """Give what a function makes; once in each process."""
    return make()


def orthorectify(
    read: Callable[[slice, slice], Any],
    image_shape: tuple[int, int],
    model: Model,
    terrain: Terrain | Callable[[], Terrain],
    transform: Sequence[float],
    shape: tuple[int, int],
    *,
    to_ground: ToGround | None = None,
    mask_hidden: bool = False,
    nodata: float = np.nan,
    chunks: int = 1024,
) -> Any:
    """Make an orthoimage of one band, lazily: each block reads what it needs of the image where it is computed.

    Parameters
    ----------
    read
        (lines, samples), two slices, to the pixels there. It travels to the workers, so it opens the file itself.
    image_shape
        Lines and samples of the image.
    model
        The image's.
    terrain
        Heights, or a function that opens them, called once in each process: terrain itself does not travel between
        processes.
    transform, to_ground, mask_hidden
        As in `orbmath.ortho.map_grid`.
    shape
        Rows and columns of the map.
    nodata
        The value of pixels without data.
    chunks
        Pixels along the side of a block.

    Returns
    -------
    array
        A Dask array (rows, columns) of doubles, bilinear.
    """

    def of_block(block_info: Any = None) -> Any:
        rows, columns = block_info[None]["array-location"]
        ground = terrain if isinstance(terrain, Terrain) else _made(terrain)
        line, sample = map_grid(model, ground, transform, rows, columns, to_ground=to_ground, mask_hidden=mask_hidden)
        window = image_window(line, sample, image_shape)
        if window is None:
            return np.full(line.shape, nodata)
        pixels = read(*window)
        return resample(pixels, line - window[0].start, sample - window[1].start, nodata=nodata)

    parts = da.core.normalize_chunks(chunks, shape, dtype=np.float64)
    return da.map_blocks(of_block, chunks=parts, dtype=np.float64, meta=np.empty((0, 0)))


def _survey_one(path: str) -> dict[str, Any]:
    try:
        model = Model.open(path)
        low, high = model.height_range
        box = model.image_box
        line, sample = np.meshgrid(np.linspace(box[0], box[1], 9), np.linspace(box[2], box[3], 9))
        found = model.locate(line, sample, np.array([low, (low + high) / 2, high])[:, None, None])
        good = found.state == State.CONVERGED
        ring = model.footprint().__geo_interface__
    except ValueError as error:
        return {"path": path, "error": str(error)}
    return {
        "path": path,
        "error": None,
        "points": int(good.size),
        "located": int(good.sum()),
        "worst_residual_px": float(found.residual[good].max(initial=0.0)),
        "footprint": ring,
    }


def survey(paths: Iterable[str]) -> list[dict[str, Any]]:
    """Open many models and try them over their images at their lowest, middle and highest heights.

    Runs on the current Dask scheduler: a `distributed.Client` where there is one. The workers read the files.

    Returns
    -------
    list
        One dictionary for each path, in order: "path", "error" (a sentence, or None), and of a model that opens
        "points" tried, "located" of them, "worst_residual_px", "footprint" (GeoJSON).
    """
    one = dask.delayed(_survey_one, pure=True)
    return list(dask.compute(*(one(str(path)) for path in paths)))


__all__ = ["coordinate_grid", "locate", "one_thread_each", "orthorectify", "project", "survey"]
