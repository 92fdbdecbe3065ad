"""Dask: the same bits as in one process, on a real cluster of processes."""

import numpy as np
import pytest

from orbmath import Model

da = pytest.importorskip("dask.array")
distributed = pytest.importorskip("distributed")
from orbmath import cluster  # noqa: E402


@pytest.fixture(scope="module")
def client():
    with (
        distributed.LocalCluster(
            n_workers=2, threads_per_worker=1, processes=True, dashboard_address=None, host="127.0.0.1"
        ) as workers,
        distributed.Client(workers) as client,
    ):
        cluster.one_thread_each(client)
        yield client


def test_workers_give_the_bits_of_one_process(client, left):
    random = np.random.default_rng(2)
    lat, lon = random.uniform(47.25, 47.36, (70, 90)), random.uniform(8.41, 8.57, (70, 90))
    lazy = cluster.project(left, da.from_array(lat, chunks=(32, 17)), da.from_array(lon, chunks=(70, 30)), 431.5)
    assert lazy[0].npartitions > 4
    line, sample = client.compute(list(lazy), sync=True)
    np.testing.assert_array_equal(line, left.project(lat, lon, 431.5)[0])
    np.testing.assert_array_equal(sample, left.project(lat, lon, 431.5)[1])

    found = cluster.locate(left, da.from_array(line, chunks=25), sample, 431.5)
    here = left.locate(line, sample, 431.5)
    for name in ("lat", "lon", "state", "residual"):
        there = client.compute(getattr(found, name), sync=True)
        np.testing.assert_array_equal(there, getattr(here, name))
        assert there.dtype == getattr(here, name).dtype


def test_workers_run_one_thread_each(client):
    import orbmath

    assert set(client.run(orbmath.get_threads).values()) == {1}


def test_a_coordinate_grid_is_made_in_blocks(client, left):
    sized = Model.from_dict(left.to_dict(), shape=(900, 700))
    lat, lon = cluster.coordinate_grid(sized, 450.0, step=10, chunks=40)
    assert lat.shape == (90, 70) and lat.npartitions == 6
    here = sized.locate(np.arange(90)[:, None] * 10.0, np.arange(70)[None, :] * 10.0, 450.0)
    np.testing.assert_array_equal(lat.compute(), here.lat)
    np.testing.assert_array_equal(lon.compute(), here.lon)


def test_a_thousand_models_are_surveyed(client, left, tmp_path):
    for i in range(1000):
        record = left.to_dict()
        Model.from_dict(record | {"LONG_OFF": record["LONG_OFF"] + 0.01 * i}).save(tmp_path / f"{i:04}.RPB")
    (tmp_path / "0007.RPB").write_text("BEGIN_GROUP = IMAGE\n")
    found = cluster.survey(sorted(tmp_path.iterdir()))
    assert len(found) == 1000
    assert [i for i, model in enumerate(found) if model["error"]] == [7] and "0007.RPB" in found[7]["error"]
    good = [model for model in found if not model["error"]]
    assert all(model["located"] == model["points"] == 243 and model["worst_residual_px"] < 1e-6 for model in good)
    assert good[500]["footprint"]["type"] == "Polygon"
