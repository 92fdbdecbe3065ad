"""Checks of models and stereo pairs, on the simulated pair and on real models."""

import math
import pickle

import numpy as np
import pytest

import orbmath
from orbmath import Model


def test_a_check_names_what_is_wrong(left):
    # The simulated scene is a mirror image of its ground.
    check = left.check()
    assert not check and check.findings[0].severity == "unfit" and check.findings[0].kind == "mirror"
    assert "mirror image" in str(check)
    told = left.check(mirrored=True)
    assert told and told.verdict == "fit for use" and told.findings == () and math.isnan(told.direct_model)
    assert told.round_trip < 1e-6 and told.bent_sight < 0.3
    low, mean, high = told.footprints
    assert low.height[0] < mean.height[0] < high.height[0] and told.areas[0] > told.areas[1] > told.areas[2]
    assert mean.__geo_interface__["type"] == "Polygon"

    swapped = left.to_dict()
    swapped["LONG_OFF"], swapped["HEIGHT_OFF"] = 170.0, 12000.0
    kinds = {finding.kind: finding.severity for finding in Model.from_dict(swapped).check(mirrored=True).findings}
    assert kinds == {"height-range": "unfit"}


def test_a_view_is_that_of_the_check(left):
    box = left.image_box
    view = left.view((box[0] + box[1]) / 2, (box[2] + box[3]) / 2, 400.0)
    assert view.incidence == pytest.approx(left.check().view.incidence, abs=0.1)
    assert view.gsd == pytest.approx(math.sqrt(view.line_size * view.sample_size), rel=0.05)
    assert math.isnan(left.view(1e9, 0.0, 400.0).gsd)


def test_pairs_are_ranked_and_tested(left, right):
    found = orbmath.pairs([left, right, left], min_angle=5)
    assert len(found) == 3 and found.meets.tolist() == [True, True, False] and found.unseen == []
    assert set(zip(found.first.tolist(), found.second.tolist(), strict=True)) == {(0, 1), (1, 2), (0, 2)}
    assert np.all(np.diff(found.quality[:2]) <= 0) and found.convergence[2] < 1e-6
    # The precision is that of an intersection.
    lat, lon, height = 47.3, 8.5, 400.0
    line, sample = (
        np.array(v) for v in zip(left.project(lat, lon, height), right.project(lat, lon, height), strict=True)
    )
    variance = orbmath.intersect([left, right], line, sample).covariance[0, 2, 2]
    assert found.height_sigma[0] == pytest.approx(0.5 * math.sqrt(variance), rel=0.05)
    assert np.isnan(found.days).all()
    assert orbmath.pairs([left, right], max_days=3).meets.tolist() == [False]
    assert orbmath.pairs([left, right], max_days=3, accept_unknown=True).meets.tolist() == [True]
    with pytest.raises(ValueError, match="criteria"):
        orbmath.pairs([left, right], min_angle=50, max_angle=20)


def test_real_models_are_fit(real_files):
    for name in ("md_dg.RPB", "md_kompsat.rpc", "wv02_toulouse_left.RPB"):
        assert Model.open(real_files / name).check().verdict == "fit for use"
    dimap = real_files.parent / "formats" / "rpc_PLEIADES.xml"
    if dimap.exists():
        model = Model.open(dimap)
        assert model.check().direct_model < 0.01
        assert math.isnan(pickle.loads(pickle.dumps(model)).check().direct_model)
