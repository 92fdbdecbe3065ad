"""A block of six images, made here, adjusted from arrays and data frames."""

from typing import Any

import numpy as np
import pytest

import orbmath
from orbmath import Model

IMAGES, TIES, CONTROL, CHECKS = 6, 80, 7, 3
NOISE = 0.2


def corrected(image: int, line: Any, sample: Any) -> tuple[Any, Any]:
    """Put a point where the image really shows it: off by pixels, and a little stretched."""
    u, v = (sample - 7999.5) / 7999.5, (line - 7999.5) / 7999.5
    return line + 4 - 1.5 * image + 0.8 * v - 0.3 * u, sample - 3 + 0.9 * image + 0.5 * u + 0.6 * v


@pytest.fixture(scope="module")
def block(left: Model, right: Model) -> dict[str, Any]:
    random = np.random.default_rng(20)
    models = {}
    for i in range(IMAGES):
        record = (left, right)[i % 2].to_dict()
        record["LAT_OFF"] += 0.01 * (i // 2)
        record["LONG_OFF"] -= 0.015 * (i // 2)
        models[f"im{i}"] = Model.from_dict(record)
    count = TIES + CONTROL + CHECKS
    lat, lon = random.uniform(47.28, 47.36, count), random.uniform(8.42, 8.52, count)
    height = random.uniform(380, 620, count)
    names = np.array([f"p{i:03d}" for i in range(count)])
    columns: dict[str, list[Any]] = {"point": [], "image": [], "line": [], "sample": []}
    for i, (name, model) in enumerate(models.items()):
        line, sample = corrected(i, *model.project(lat, lon, height))
        columns["point"].append(names)
        columns["image"].append(np.full(count, name))
        columns["line"].append(line + random.normal(0, NOISE, count))
        columns["sample"].append(sample + random.normal(0, NOISE, count))
    measurements = {key: np.concatenate(parts) for key, parts in columns.items()}
    bad = [3, count + 17, 4 * count + 40]
    measurements["sample"][bad] += [25, -18, 40]
    known = slice(TIES, count)
    control = {
        "point": names[known],
        "lat": lat[known],
        "lon": lon[known],
        "height": height[known].copy(),
        "sigma_h": np.full(CONTROL + CHECKS, 0.05),
        "role": np.array(["control"] * CONTROL + ["check"] * CHECKS),
    }
    return {"models": models, "measurements": measurements, "control": control, "bad": bad, "truth": (lat, lon, height)}


def test_models_points_and_bad_measurements(block):
    found = orbmath.adjust(
        block["models"], block["measurements"], block["control"], kind="affine", sigma=NOISE, sigma_vertical=0.05
    )
    assert np.flatnonzero(found.measurements["bad"]).tolist() == block["bad"]
    assert found.message and 0.8 < found.sigma0 < 1.2
    lat, lon, height = block["truth"]
    for i, (name, model) in enumerate(block["models"].items()):
        true = np.array(corrected(i, *model.project(lat, lon, height)))
        assert np.abs(np.array(found.models[name].project(lat, lon, height)) - true).max() < 4 * NOISE
    points = found.points
    assert points["point"].tolist() == sorted(points["point"].tolist())
    error = (points["height"] - height) / points["sigma_up"]
    assert np.abs(error).max() < 5 and 0.5 < error.std() < 1.5
    np.testing.assert_allclose(np.sqrt(found.point_covariance[:, 2, 2]), points["sigma_up"])
    assert found.image_covariance.shape == (IMAGES, 6, 6)
    assert found.check["point"].tolist() == block["control"]["point"][CONTROL:].tolist()
    # The residuals are what the adjusted models leave.
    first = block["measurements"]["point"] == "p005"
    row = np.flatnonzero(first & (block["measurements"]["image"] == "im2"))[0]
    line, sample = found.models["im2"].project(*(points[key][5] for key in ("lat", "lon", "height")))
    assert block["measurements"]["line"][row] - line == pytest.approx(
        found.measurements["residual_line"][row], abs=1e-6
    )


def test_data_frames_numbers_as_names_and_unknown_heights(block):
    pandas = pytest.importorskip("pandas")
    measurements = pandas.DataFrame(block["measurements"])
    control = pandas.DataFrame(block["control"])
    for table in (measurements, control):
        table["point"] = table["point"].str[1:].astype(int)
    control.loc[1, "height"] = np.nan
    found = orbmath.adjust(block["models"], measurements, control, kind="affine", sigma=NOISE, fixed=["im0"])
    frame = pandas.DataFrame(found.images).set_index("image")
    assert frame.loc["im0", "kind"] == "none" and frame.loc["im0", "a0"] == 0 and frame.loc["im3", "used"] > 80
    assert "7" in pandas.DataFrame(found.points)["point"].tolist()
    assert len(pandas.DataFrame(found.measurements)) == len(measurements)


def test_what_cannot_be_meant_is_a_value_error(block):
    models, measurements, control = block["models"], block["measurements"], block["control"]
    with pytest.raises(ValueError, match="without a model: im5"):
        orbmath.adjust({name: models[name] for name in list(models)[:5]}, measurements, control)
    with pytest.raises(TypeError, match="mapping"):
        orbmath.adjust(list(models.values()), measurements, control)
    with pytest.raises(ValueError, match="dtype=str"):
        orbmath.adjust({"0007": models["im0"]}, {key: [7] for key in ("point", "image", "line", "sample")})
    with pytest.raises(ValueError, match="no column 'sample'"):
        orbmath.adjust(models, {key: measurements[key] for key in ("point", "image", "line")})
    with pytest.raises(ValueError, match="kind"):
        orbmath.adjust(models, measurements, control, kind="cubic")
    with pytest.raises(ValueError, match="needs a height"):
        orbmath.adjust(models, measurements, {**control, "height": np.full(CONTROL + CHECKS, np.nan)})
    with pytest.raises(ValueError, match="no model for im9"):
        orbmath.adjust(models, measurements, control, fixed=["im9"])
    nobody = {key: values[:1] for key, values in measurements.items()}
    with pytest.raises(ValueError):
        orbmath.adjust(models, nobody)
