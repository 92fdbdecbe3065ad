"""From image to map in arrays: what is painted on the ground comes back in its place, in one piece and by blocks."""

from pathlib import Path

import numpy as np
import pytest

import orbmath
from orbmath import ortho

#: Some 30 m: the simulated image in pixels of 40 of its own.
STEP = 40


def hills() -> orbmath.Terrain:
    lat, lon = np.meshgrid(np.linspace(47.4, 47.2, 121), np.linspace(8.3, 8.7, 161), indexing="ij")
    heights = 400 + 150 * np.sin(lat * 90) * np.cos(lon * 70)
    return orbmath.Terrain(heights, (0.4 / 160, 0, 8.3, 0, -0.2 / 120, 47.4), pixel_is_area=False)


def small(left: orbmath.Model) -> orbmath.Model:
    record = left.to_dict()
    for axis in ("LINE", "SAMP"):
        record[f"{axis}_OFF"] = (record[f"{axis}_OFF"] + 0.5) / STEP - 0.5
        record[f"{axis}_SCALE"] /= STEP
    return orbmath.Model.from_dict(record)


TRANSFORM = (4e-4, 0, 8.42, 0, -3e-4, 47.35)
SHAPE = (230, 310)


def painted(model: orbmath.Model) -> np.ndarray:
    """Latitudes that the pixels see, in units of one of the map's pixels."""
    line, sample = np.meshgrid(np.arange(400.0), np.arange(390.0), indexing="ij")
    found = model.locate(line, sample, terrain=hills())
    return (47.35 - found.lat) / 3e-4


def test_what_is_painted_on_the_ground_comes_back_in_its_place(left: orbmath.Model) -> None:
    model = small(left)
    image = painted(model)
    line, sample = ortho.map_grid(model, hills(), TRANSFORM, (0, SHAPE[0]), (0, SHAPE[1]))
    values = ortho.resample(image, line, sample)
    rows = np.arange(SHAPE[0])[:, None] + 0.5 + 0 * values
    known = np.isfinite(values)
    assert known.mean() > 0.5
    inside = (line > 0) & (line < 399) & (sample > 0) & (sample < 389) & known
    assert np.abs(values - rows)[inside].max() < 0.05
    # The outer half pixel belongs to the image, more does not.
    edges = ortho.resample(image, np.array([-0.49, -0.51, 5]), np.array([3.0, 3, 389.51]), nodata=-1)
    assert edges[0] == image[0, 3] and list(edges[1:]) == [-1, -1]


def test_ground_far_from_the_image_is_not_in_it(left: orbmath.Model) -> None:
    record = small(left).to_dict()
    # Of second degree in latitude and longitude: places some twenty images away come back into the image.
    for axis, term in (("LINE", 8), ("SAMP", 7)):
        record[f"{axis}_DEN_COEFF"][term] += 0.05
    model = orbmath.Model.from_dict(record)
    flat = orbmath.Terrain(np.full((2, 2), 400.0), (40.0, 0, -11.5, 0, -40.0, 67.3), pixel_is_area=False)
    side, middle = 0.05, 200
    transform = (side, 0, 8.5 - side * middle, 0, -side, 47.3 + side * middle)
    line, sample = ortho.map_grid(model, flat, transform, (0, 2 * middle), (0, 2 * middle))
    inside = (line > 0) & (line < 399) & (sample > 0) & (sample < 399)
    rows, columns = np.nonzero(inside)
    assert 4 < len(rows) < 30
    assert np.abs(rows - middle).max() < 5 and np.abs(columns - middle).max() < 5


def test_hidden_ground_and_voids_have_no_image_point(left: orbmath.Model) -> None:
    model = small(left)
    holes = orbmath.Terrain(np.full((3, 3), 400.0), (0.1, 0, 8.3, 0, -0.1, 47.32), pixel_is_area=False)
    line, _ = ortho.map_grid(model, holes, TRANSFORM, (0, 230), (0, 9))
    north = 47.35 - 3e-4 * (np.arange(230) + 0.5) > 47.32
    assert (np.isnan(line).all(axis=1) == north).all()
    wall = np.full((40, 60), 300.0)
    wall[:, 25:35] = 2500.0
    high = orbmath.Terrain(wall, (0.4 / 59, 0, 8.3, 0, -0.2 / 39, 47.4), pixel_is_area=False)
    block = ((0, 230), (0, 310))
    kept = ortho.map_grid(model, high, TRANSFORM, *block)[0]
    masked = ortho.map_grid(model, high, TRANSFORM, *block, mask_hidden=True)[0]
    hidden = np.isnan(masked) & ~np.isnan(kept)
    x, y = TRANSFORM[2] + 4e-4 * (np.arange(310) + 0.5), TRANSFORM[5] - 3e-4 * (np.arange(230) + 0.5)
    lat, lon = y[:, None] + 0 * hidden, x + 0 * hidden
    seen = high.visibility(model, lat, lon, high.height(lat, lon))
    assert hidden.any() and (hidden == (seen == orbmath.Visibility.HIDDEN)).all()
    assert np.array_equal(masked[~hidden], kept[~hidden])


def test_blocks_on_dask_are_the_whole(left: orbmath.Model, tmp_path: Path) -> None:
    pytest.importorskip("dask")
    from orbmath import cluster

    model = small(left)
    np.save(tmp_path / "image.npy", painted(model))
    path = tmp_path / "image.npy"

    def read(lines: slice, samples: slice) -> np.ndarray:
        return np.load(path, mmap_mode="r")[lines, samples]

    lazy = cluster.orthorectify(read, (400, 390), model, hills, TRANSFORM, SHAPE, chunks=97)
    whole = ortho.resample(np.load(path), *ortho.map_grid(model, hills(), TRANSFORM, (0, 230), (0, 310)))
    assert lazy.numblocks == (3, 4)
    # Processes of their own: nothing but the model and functions travels.
    np.testing.assert_array_equal(lazy.compute(scheduler="processes"), whole)
