"""Beside rasterio, xarray and matplotlib, where they are installed."""

import numpy as np
import pytest

import orbmath
from orbmath import Model


def test_rasterio_models_come_and_go(left):
    pytest.importorskip("rasterio")
    rpcs = left.to_rpcs()
    assert Model.from_rpcs(rpcs, shape=(5, 6)).to_dict() == left.to_dict()
    assert Model.from_rpcs(rpcs, shape=(5, 6)).shape == (5, 6)


def test_images_open_through_rasterio(left, tmp_path):
    rasterio = pytest.importorskip("rasterio")
    path = tmp_path / "image.tif"
    plain = {"driver": "GTiff", "count": 1, "dtype": "uint8"}
    with rasterio.open(path, "w", width=30, height=20, rpcs=left.to_rpcs(), **plain) as new:
        new.write(np.zeros((1, 20, 30), np.uint8))
    model = Model.open(path)
    assert model.to_dict() == left.to_dict() and model.shape == (20, 30) and model.name == "image"
    with rasterio.open(tmp_path / "bare.tif", "w", width=3, height=2, **plain):
        pass
    with pytest.raises(ValueError, match="bare.tif"):
        Model.open(tmp_path / "bare.tif")


def test_xarray_keeps_labels(left):
    xr = pytest.importorskip("xarray")
    lat = xr.DataArray(np.linspace(47.3, 47.4, 3), dims="y")
    lon = xr.DataArray(np.linspace(8.4, 8.5, 4), dims="x")
    line, sample = xr.apply_ufunc(left.project, lat, lon, 400.0, output_core_dims=[[], []])
    assert line.dims == ("y", "x")
    np.testing.assert_array_equal(line, left.project(lat.values[:, None], lon.values, 400.0)[0])
    assert sample.shape == (3, 4)


def test_plots_show_what_they_say(left, right):
    matplotlib = pytest.importorskip("matplotlib")
    matplotlib.use("Agg")
    from orbmath import plots

    labels = plots.footprints(left, right).get_legend().get_texts()
    assert [text.get_text() for text in labels] == [left.name, right.name]
    random = np.random.default_rng(1)
    lat, lon, height = random.uniform(47.26, 47.35, 20), random.uniform(8.42, 8.55, 20), random.uniform(400, 500, 20)
    line, sample = (value + random.normal(0, 0.3, 20) for value in left.project(lat, lon, height))
    line[3] += 25
    _, report = orbmath.refine(left, lat, lon, height, line, sample)
    ax = plots.residual_arrows(line, sample, report)
    assert [len(collection.get_offsets()) for collection in ax.collections[::2]] == [19, 1] and ax.yaxis_inverted()
    comparison = orbmath.compare(left, right, points=6)
    mesh = plots.error_map(comparison, level=1).collections[0]
    np.testing.assert_allclose(mesh.get_array().reshape(6, 6), comparison.distance[1])
