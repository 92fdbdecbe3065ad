"""Several images, fits and corrections, on the simulated pair and on real models."""

import numpy as np
import pytest

import orbmath
from orbmath import Model, State


def ground(seed, count):
    random = np.random.default_rng(seed)
    return random.uniform(47.26, 47.35, count), random.uniform(8.42, 8.55, count), random.uniform(400, 500, count)


def test_intersection_gives_the_points_back(left, right):
    lat, lon, height = ground(3, 50)
    line, sample = (
        np.array(v) for v in zip(left.project(lat, lon, height), right.project(lat, lon, height), strict=True)
    )
    found = orbmath.intersect([left, right], line, sample)
    assert np.all(found.state == State.CONVERGED) and found.covariance.shape == (50, 3, 3)
    np.testing.assert_allclose(found.height, height, rtol=0, atol=1e-5)
    np.testing.assert_allclose(found.lat, lat, rtol=0, atol=1e-10)

    line[1, 7] = np.nan  # the right image does not see one of them
    assert orbmath.intersect([left, right], line, sample).state[7] == State.TOO_FEW_IMAGES
    known = orbmath.intersect([left, right], line[:, 0], sample[:, 0], height=height[0])
    assert known.lat[0] == pytest.approx(lat[0], abs=1e-10) and known.covariance[0, 2, 2] == 0


def test_an_observed_height_pulls_by_its_weight(left, right):
    lat, lon, height = ground(4, 1)
    line, sample = (
        np.array(v) for v in zip(left.project(lat, lon, height), right.project(lat, lon, height), strict=True)
    )
    free = orbmath.intersect([left, right], line, sample)
    pulled = orbmath.intersect([left, right], line, sample, height=height + 10, height_sigma=2.0)
    # One unknown seen twice: by the images with the variance of the free solution, and directly.
    weight = (1 / 2.0**2) / (1 / 2.0**2 + 1 / free.covariance[0, 2, 2])
    assert pulled.height[0] - height[0] == pytest.approx(10 * weight, rel=1e-3)
    with pytest.raises(ValueError, match="height"):
        orbmath.intersect([left, right], line, sample, height_sigma=2.0)
    with pytest.raises(ValueError):
        orbmath.intersect([left], line, sample)


def test_a_fit_finds_the_model_again(left):
    lat, lon, height = ground(5, 900)
    line, sample = left.project(lat, lon, height)
    model, report = orbmath.fit(lat, lon, height, line, sample, hold_out=9)
    assert report.fitted["count"] == 800 and report.check["count"] == 100
    assert report.check["distance"][2] < 1e-6 and report.message
    other = ground(6, 100)
    np.testing.assert_allclose(model.project(*other), left.project(*other), rtol=0, atol=1e-5)
    with pytest.raises(ValueError):
        orbmath.fit(lat[:5], lon[:5], height[:5], line[:5], sample[:5])


@pytest.mark.parametrize("kind", ["auto", "shift", "affine"])
def test_a_correction_names_the_bad_point(left, kind):
    lat, lon, height = ground(7, 30)
    line, sample = left.project(lat, lon, height)
    random = np.random.default_rng(8)
    line = line + 2.3 + random.normal(0, 0.05, 30)
    sample = sample - 1.7 + random.normal(0, 0.05, 30)
    sample[11] += 40
    model, report = orbmath.refine(left, lat, lon, height, line, sample, kind=kind, sigma=0.05)
    assert np.flatnonzero(report.bad).tolist() == [11] and report.used == 29 and report.rms_after < 0.1
    assert model.refinement is not None and model.refinement[0] == report.kind
    corrected = model.project(lat, lon, height)
    np.testing.assert_allclose(line - corrected[0], report.residuals_after[:, 0], rtol=0, atol=1e-6)
    assert orbmath.compare(model, model.plain()).maximum < 0.01
    with pytest.raises(ValueError, match="plain"):
        orbmath.refine(model, lat, lon, height, line, sample)
    with pytest.raises(ValueError, match="plain"):
        model.to_rpcs()


def test_a_correction_needs_points_and_a_known_kind(left):
    with pytest.raises(ValueError, match="kind"):
        orbmath.refine(left, 47.3, 8.5, 400.0, 1.0, 2.0, kind="cubic")
    with pytest.raises(ValueError):
        orbmath.refine(left, [47.3], [8.5], [400.0], [8838.0], [7240.0], kind="affine")


def test_exchanged_columns_are_named(left):
    lat, lon, height = ground(9, 30)
    line, sample = left.project(lat, lon, height)
    with pytest.raises(ValueError, match="line and sample"):
        orbmath.refine(left, lat, lon, height, sample, line)
    with pytest.raises(ValueError, match="atitude and longitude"):
        orbmath.refine(left, lon, lat, height, line, sample)


def test_a_fit_names_the_bad_point(left):
    lat, lon, height = ground(10, 300)
    line, sample = left.project(lat, lon, height)
    line[17] += 30
    model, report = orbmath.fit(lat, lon, height, line, sample)
    assert report.bad == [17]
    away = np.hypot(*(np.array(model.project(lat, lon, height)) - left.project(lat, lon, height)))
    assert away.max() < 0.01
    assert orbmath.fit(lat, lon, height, line, sample, keep_all=True)[1].bad == [17]


def test_comparison_sees_a_shift(left):
    moved = Model.from_dict({**left.to_dict(), "LINE_OFF": left.to_dict()["LINE_OFF"] + 3})
    found = orbmath.compare(left, moved, points=5, heights=1)
    assert not found.identical and orbmath.compare(left, left).identical
    np.testing.assert_allclose(found.d_line, 3, atol=1e-7)
    np.testing.assert_allclose(found.d_sample, 0, atol=1e-7)
    assert found.rms == pytest.approx(3) and found.d_line.shape == (1, 5, 5)
