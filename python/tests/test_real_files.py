"""Real files and values that independent programs computed of them, where the folder is there."""

import csv
import json

import numpy as np
import pytest

import orbmath
from orbmath import Model

#: Tables of image points are met within this many pixels (they have nine digits after the point).
TABLE_PX = 1e-7
#: Ground points of tables, whose own iterations end at 1e-8 pixels, degrees.
TABLE_DEGREES = 2e-11


def table(path, *columns):
    """The rows of a table by their file: file -> one array of each column."""
    with open(path, newline="") as lines:
        rows = list(csv.DictReader(lines))
    files = sorted({row["file"] for row in rows})
    return {
        file: [np.array([float(row[name]) for row in rows if row["file"] == file]) for name in columns]
        for file in files
    }


def test_image_points_are_those_of_other_programs(real_files):
    found = table(real_files / "computed_ground_to_image.csv", "lat_deg", "lon_deg", "height_m", "line", "sample")
    assert len(found) >= 6
    for file, (lat, lon, height, line, sample) in found.items():
        ours = Model.open(real_files / file).project(lat, lon, height)
        np.testing.assert_allclose(ours, [line, sample], rtol=0, atol=TABLE_PX, err_msg=file)


def test_ground_points_are_those_of_other_programs(real_files):
    found = table(real_files / "computed_image_to_ground.csv", "line", "sample", "height_m", "lat_deg", "lon_deg")
    for file, (line, sample, height, lat, lon) in found.items():
        ours = Model.open(real_files / file).locate(line, sample, height)
        good = np.isfinite(ours.lat)  # some lie beyond a pole of their model, where another program takes any root
        assert good.mean() > 0.9, file
        back = Model.open(real_files / file).project(lat[good], lon[good], height[good])
        np.testing.assert_allclose(back, [line[good], sample[good]], rtol=0, atol=1e-6, err_msg=file)
        if "ssc1d3" not in file:
            np.testing.assert_allclose(ours.lat[good], lat[good], rtol=0, atol=TABLE_DEGREES, err_msg=file)
            np.testing.assert_allclose(ours.lon[good], lon[good], rtol=0, atol=TABLE_DEGREES, err_msg=file)


def test_a_real_pair_gives_its_ground_points(real_files):
    found = table(real_files / "computed_ties.csv", "lat_deg", "lon_deg", "height_m", "line", "sample")
    models = [Model.open(real_files / file) for file in found]
    lat, lon, height = next(iter(found.values()))[:3]
    points = orbmath.intersect(models, *(np.array([values[k] for values in found.values()]) for k in (3, 4)))
    np.testing.assert_allclose(points.height, height, rtol=0, atol=1e-5)
    np.testing.assert_allclose([points.lat, points.lon], [lat, lon], rtol=0, atol=1e-10)


def test_every_container_gives_the_model_in_it(real_files):
    folder = real_files.parent / "formats"
    if not folder.is_dir():
        pytest.skip(f"no containers beside {real_files}")
    expected = json.loads((folder / "expected.json").read_text())
    for name, values in expected.items():
        if name.endswith((".tif", ".ntf")):
            pytest.importorskip("rasterio")
        model = Model.open(folder / name)
        for point in values["ground_to_image"]:
            line, sample = model.project(point["lat"], point["lon"], point["height"])
            assert abs(line - point["line"]) < TABLE_PX and abs(sample - point["sample"]) < TABLE_PX, name
