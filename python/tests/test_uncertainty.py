"""Uncertainties: the shapes, and errors of simulated points inside what is stated."""

import numpy as np
import pytest

import orbmath
from orbmath import Terrain, UncertaintyState

METRES = np.array([111184.0, 75634.0])  # of a degree of latitude and longitude at the pair's place


def share_within(found, lat, lon, radius):
    north, east = (found.lat - lat) * METRES[0], (found.lon - lon) * METRES[1]
    return np.mean(np.hypot(north, east) <= radius)


def test_circles_hold_what_they_say(left):
    random = np.random.default_rng(8)
    count = 4000
    lat, lon = random.uniform(47.27, 47.34, count), random.uniform(8.43, 8.54, count)
    height = np.full(count, 400.0)
    line, sample = left.project(lat, lon, height)
    noise = random.normal(0, 1.5, (2, count))
    found = left.locate(line + noise[0], sample + noise[1], height + random.normal(0, 6, count))
    stated = orbmath.locate_uncertainty(left, found.lat, found.lon, found.height, height_sigma=6.0, sigma=1.5)
    assert stated.covariance.shape == (count, 3, 3) and np.all(stated.state == UncertaintyState.KNOWN)
    assert 0.88 < share_within(found, lat, lon, stated.ce90) < 0.92
    np.testing.assert_allclose(stated.le90, 1.6448536269514722 * 6.0)
    assert np.all(stated.shared == 0)


def test_a_terrain_without_slope_is_a_height(left):
    flat = Terrain.constant(400.0)
    point = left.locate(5000.0, 9000.0, terrain=flat)
    at = (point.lat, point.lon, point.height)
    on = orbmath.locate_uncertainty(left, *at, terrain=flat, terrain_sigma=2.0, bias=3.0)
    known = orbmath.locate_uncertainty(left, *at, height_sigma=2.0, bias=3.0)
    assert on.ce90 == pytest.approx(known.ce90, rel=1e-9) and isinstance(on.ce90, float)
    assert known.shared[0, 0] == pytest.approx(9.0)
    with pytest.raises(ValueError, match="standard deviation"):
        orbmath.locate_uncertainty(left, *at, bias=-1.0)


def test_a_pair_knows_its_shared_bias(left, right):
    point = (47.31, 8.49, 400.0)
    alike = orbmath.intersect_uncertainty(
        [left, right], *point, sigma=[1e-6, 1e-6], bias=[5.0, 5.0], bias_correlation=1.0
    )
    assert alike.ce90 == pytest.approx(5.0 * 2.1459660262893474, rel=1e-6) and alike.le90 < 1e-3
    lone = orbmath.intersect_uncertainty([left, right], *point, sigma=[1e-6, 1e-6], bias=[5.0, 5.0])
    assert lone.le90 > 5.0
    with pytest.raises(ValueError, match="each image"):
        orbmath.intersect_uncertainty([left, right], *point, sigma=[1.0])


def test_a_refinement_takes_its_uncertainty_along(left):
    random = np.random.default_rng(9)
    lat, lon = random.uniform(47.27, 47.34, 20), random.uniform(8.43, 8.54, 20)
    line, sample = left.project(lat, lon, np.full(20, 400.0))
    line, sample = line + 2 + random.normal(0, 0.5, 20), sample - 3 + random.normal(0, 0.5, 20)
    adjusted, _ = orbmath.refine(left, lat, lon, 400.0, line, sample, kind="shift")
    stated = orbmath.locate_uncertainty(adjusted, lat[0], lon[0], 400.0, sigma=0.0)
    assert 0.1 < stated.ce90 < 0.4  # 0.5 px of 0.73 m over the root of twenty, times 2.1
    assert adjusted.plain().extras["bias_error"] == pytest.approx(stated.ce90 / 2.146, rel=0.1)
