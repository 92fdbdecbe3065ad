"""Shapes, types and layouts: what goes in decides the shape of what comes out, never its values."""

import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp

import orbmath

GROUND = (47.31, 8.47, 431.5)


@st.composite
def ground_points(draw):
    """Three arrays near the middle of the scene whose shapes broadcast."""
    shapes = draw(hnp.mutually_broadcastable_shapes(num_shapes=3, max_dims=3, max_side=4)).input_shapes
    return [
        draw(hnp.arrays(np.float64, shape, elements=st.floats(value - width, value + width)))
        for shape, value, width in zip(shapes, GROUND, (0.02, 0.03, 90.0), strict=True)
    ]


@settings(max_examples=60, deadline=None)
@given(points=ground_points())
def test_arrays_hold_the_bits_of_single_points(left, points):
    line, sample = left.project(*points)
    together = np.broadcast_arrays(*points)
    assert np.shape(line) == together[0].shape == np.shape(sample)
    for index in np.ndindex(together[0].shape):
        one = left.project(*(float(a[index]) for a in together))
        assert (np.asarray(line)[index], np.asarray(sample)[index]) == one


@pytest.mark.parametrize("kind", ["float32", "int64", ">f8", "strided", "fortran", "reversed", "list"])
def test_every_layout_gives_the_values_of_plain_doubles(left, kind):
    lat = np.linspace(47, 48, 12).reshape(3, 4)
    lon = np.linspace(8, 9, 12).reshape(3, 4)
    changed = {
        "strided": lambda a: np.repeat(a, 2, axis=1)[:, ::2],
        "fortran": np.asfortranarray,
        "reversed": lambda a: a[::-1, ::-1].copy()[::-1, ::-1],
        "list": lambda a: a.tolist(),
    }.get(kind, lambda a: a.astype(kind))
    plain = [np.array(changed(a), dtype=np.float64, order="C") for a in (lat, lon)]
    np.testing.assert_array_equal(left.project(changed(lat), changed(lon), 400), left.project(*plain, 400.0))


def test_scalars_come_back_as_floats_and_empty_arrays_as_empty(left):
    assert all(type(value) is float for value in left.project(*GROUND))
    assert all(type(value) is float for value in left.project(np.float32(47.3), np.int16(8), 400))
    assert left.project(np.empty((0, 3)), 8.5, 400.0)[1].shape == (0, 3)
    assert left.locate([], [], 400.0).lat.shape == (0,)


def test_what_is_masked_is_unknown(left, right):
    lat = np.ma.masked_array([GROUND[0], 0.0], mask=[False, True])
    line, sample = left.project(lat, *GROUND[1:])
    assert (line[0], sample[0]) == left.project(*GROUND) and np.isnan(line[1]) and np.isnan(sample[1])
    found = left.locate(np.ma.masked_invalid(line), sample, np.ma.masked_array([400, 400], mask=[False, True]))
    assert found.height[0] == 400.0 and np.isnan(found.height[1]) and np.isnan(found.lat[1])
    lines, samples = zip(left.project(*GROUND), right.project(*GROUND), strict=True)
    unseen = np.ma.masked_array([lines, lines], mask=[[False, False], [False, True]]).T
    states = orbmath.intersect([left, right], unseen, np.transpose([samples, samples])).state
    assert states.tolist() == [orbmath.State.CONVERGED, orbmath.State.TOO_FEW_IMAGES]


def test_a_location_has_one_shape(left):
    found = left.locate([[8000.0], [8100.0]], [7000.0, 7100.0, 7200.0], 400)
    assert all(np.shape(value) == (2, 3) for value in found)
    one = left.locate(8000, 7000, 400)
    assert one.state is orbmath.State.CONVERGED and type(one.height) is float


def test_inputs_stay_as_they_are(left):
    lat, lon, height = (np.full(5, value) for value in GROUND)
    for array in (lat, lon, height):
        array.flags.writeable = False
    left.project(lat, lon, height)
    assert np.all(lat == GROUND[0]) and np.all(height == GROUND[2])


@pytest.mark.parametrize("bad", ["text", None, [1, [2, 3]], 1j])
def test_what_is_no_number_is_refused(left, bad):
    with pytest.raises((TypeError, ValueError)):
        left.project(bad, 8.5, 400.0)


def test_shapes_that_do_not_fit_are_refused(left):
    with pytest.raises(ValueError):
        left.project(np.zeros(3), np.zeros(4), 400.0)
