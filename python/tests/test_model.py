"""Models: both ways, derivatives, forms, copies, and what people see of them."""

import copy
import pickle
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path

import numpy as np
import pytest

import orbmath
from orbmath import Model, State

#: A located point projects back within this many pixels.
ROUND_TRIP_PX = 1e-6
GROUND = (47.31, 8.47, 431.5)


def grid(seed=5, count=500):
    random = np.random.default_rng(seed)
    return (random.uniform(47.25, 47.36, count), random.uniform(8.41, 8.57, count), random.uniform(390, 520, count))


def test_locate_brings_projected_points_back(left):
    lat, lon, height = grid()
    found = left.locate(*left.project(lat, lon, height), height)
    assert np.all(found.state == State.CONVERGED) and np.all(found.residual < ROUND_TRIP_PX)
    np.testing.assert_allclose(found.lat, lat, rtol=0, atol=1e-10)
    np.testing.assert_allclose(found.lon, lon, rtol=0, atol=1e-10)


def test_points_without_a_solution_are_nan_with_a_state(left):
    found = left.locate([8000.0, np.nan, 1e9], 7000.0, 400.0)
    assert np.isfinite(found.lat[0]) and np.isnan(found.lat[1:]).all() and np.isnan(found.lon[1:]).all()
    assert found.state[0] == State.CONVERGED and (found.state[1:] != State.CONVERGED).all()
    assert len({state.sentence for state in State}) == len(State)


def test_points_beyond_a_pole_are_given_on_request_only(left):
    record = left.to_dict()
    record["LINE_DEN_COEFF"][2] = 1.3  # zero at a normalised latitude of -0.77
    model = Model.from_dict(record)
    ground = (record["LAT_OFF"] - 0.95 * record["LAT_SCALE"], record["LONG_OFF"], 450.0)
    line, sample = model.project(*ground)
    refused, wanted = model.locate([line], sample, 450.0), model.locate(line, sample, 450.0, extrapolate=True)
    assert refused.state[0] == wanted.state == State.OTHER_BRANCH and np.isnan(refused.lat[0])
    assert model.project(wanted.lat, wanted.lon, 450.0) == pytest.approx((line, sample))


def test_jacobian_is_that_of_central_differences(left):
    steps = (1e-5, 1e-5, 1.0)  # degrees, degrees, metres
    line, sample, jacobian = left.project_jacobian(*GROUND)
    assert (line, sample) == left.project(*GROUND) and jacobian.shape == (2, 3)
    for axis, step in enumerate(steps):
        ends = []
        for sign in (1, -1):
            moved = list(GROUND)
            moved[axis] += sign * step
            ends.append(np.array(left.project(*moved)))
        np.testing.assert_allclose(jacobian[:, axis], (ends[0] - ends[1]) / (2 * step), rtol=1e-6, atol=1e-5)


def test_forms_come_back(left, tmp_path):
    left.save(tmp_path / "m.xml")
    assert Model.open(tmp_path / "m.xml") == left
    assert Model.from_dict(left.to_dict()).to_dict() == left.to_dict()
    for name in ("m.RPB", "m_RPC.TXT", "m.json"):
        cost = left.save(tmp_path / name)
        assert orbmath.compare(left, Model.open(tmp_path / name)).maximum <= max(1.01 * cost, 1e-9) < 1e-3
    assert sorted(p.name for p in tmp_path.iterdir()) == ["m.RPB", "m.json", "m.xml", "m_RPC.TXT"]
    with pytest.raises(OSError, match="absent"):
        left.save(tmp_path / "absent" / "m.xml")
    with pytest.raises(ValueError, match="form"):
        left.save(tmp_path / "m.dat")


def test_other_names_of_the_record_mean_the_same(left):
    record = left.to_dict()
    rasterio = {k.lower(): v for k, v in record.items()} | {"err_bias": 1.5, "err_rand": -1}
    gdal = {k: " ".join(map(repr, v)) if isinstance(v, list) else f"{v!r} pixels" for k, v in record.items()}
    numbered = {f"{k}_{i + 1}": x for k, v in record.items() if isinstance(v, list) for i, x in enumerate(v)}
    numbered |= {k: v for k, v in record.items() if not isinstance(v, list)}
    back = {v: k for k, v in orbmath.records._RPCM.items()}
    for mapping in (rasterio, gdal, numbered, {back[k]: v for k, v in record.items()}):
        assert Model.from_dict(mapping).to_dict() == record
    extras = Model.from_dict(rasterio).extras
    assert extras["bias_error"] == 1.5 and extras["random_error"] is None
    for key, broken in (("LAT_OFF", "here"), ("SAMP_DEN_COEFF", [1.0] * 19)):
        with pytest.raises(ValueError, match=key):
            Model.from_dict(record | {key: broken})
    with pytest.raises(ValueError, match="HEIGHT_SCALE"):
        Model.from_dict({k: v for k, v in record.items() if k != "HEIGHT_SCALE"})


def test_files_that_hold_no_model_are_refused_with_a_sentence(tmp_path):
    for name, content in (("empty.RPB", ""), ("half_RPC.TXT", "LINE_OFF: 12\n"), ("noise.bin", "\x01\x02")):
        (tmp_path / name).write_text(content)
        with pytest.raises(ValueError, match=name):
            Model.open(tmp_path / name)
    with pytest.raises(FileNotFoundError, match="absent"):
        Model.open(tmp_path / "absent.RPB")
    with pytest.raises(IsADirectoryError):
        Model.open(tmp_path)


def test_names_that_only_gdal_knows_are_opened():
    pytest.importorskip("rasterio")
    image = Path(__file__).resolve().parents[2] / "examples" / "data" / "pushbroom_left.tif"
    named = Model.open(f"GTIFF_DIR:1:{image}")
    assert named.to_dict() == Model.open(image).to_dict()


def test_copies_compare_equal_and_travel(left, right):
    sized = Model.from_dict(left.to_dict(), shape=(15000, 16000), satellite="S1")
    for model in (left, sized):
        for twin in (pickle.loads(pickle.dumps(model)), copy.copy(model), copy.deepcopy(model)):
            assert twin == model and hash(twin) == hash(model) and twin.project(*GROUND) == model.project(*GROUND)
    assert sized != left != right and sized.shape == (15000, 16000) and sized.extras["satellite"] == "S1"
    assert left != "left"


def test_one_model_serves_many_threads(left):
    parts = [grid(seed) for seed in range(8)]
    alone = [left.project(*part) for part in parts]
    with ThreadPoolExecutor(4) as pool:
        for one, other in zip(alone, pool.map(lambda part: left.project(*part), parts), strict=True):
            np.testing.assert_array_equal(one, other)


def test_the_footprint_is_a_ring_that_projects_onto_the_edge(left):
    sized = Model.from_dict(left.to_dict(), shape=(16000, 15000))
    ring = sized.footprint(height=450.0, points=4)
    assert ring.lat.shape == (17,) and ring.lat[0] == ring.lat[-1] and ring.lon[0] == ring.lon[-1]
    line, sample = sized.project(ring.lat, ring.lon, 450.0)
    assert (line.min(), line.max()) == pytest.approx((-0.5, 15999.5), abs=1e-5)
    assert (sample.min(), sample.max()) == pytest.approx((-0.5, 14999.5), abs=1e-5)
    coordinates = np.array(ring.__geo_interface__["coordinates"][0])
    assert np.sum(coordinates[:-1, 0] * coordinates[1:, 1] - coordinates[1:, 0] * coordinates[:-1, 1]) > 0


def test_people_see_what_a_model_is(left):
    assert "pushbroom_left" in repr(left) and "47.3" in repr(left)
    html = left._repr_html_()
    assert "<svg" in html and "pushbroom_left" in html and "<script" not in html
    assert "&lt;b&gt;" in Model.from_dict(left.to_dict(), satellite="<b>")._repr_html_()


def test_threads_can_be_set():
    before = orbmath.get_threads()
    orbmath.set_threads(2)
    assert orbmath.get_threads() == 2
    orbmath.set_threads(0)
    assert orbmath.get_threads() >= 1
    orbmath.set_threads(before)
