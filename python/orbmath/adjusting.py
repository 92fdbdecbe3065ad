"""Correction of many images together by ties and control points."""

from __future__ import annotations

import math
from collections.abc import Mapping, Sequence
from typing import Any, NamedTuple

import numpy as np
from numpy.typing import NDArray

from . import _core
from ._typing import Doubles
from .model import Model
from .terrain import Terrain

#: A standard deviation in metres that says nothing: that of a height which nobody knows.
_UNKNOWN_HEIGHT = 1e4

Columns = dict[str, NDArray[Any]]


class Adjustment(NamedTuple):
    """The result of a block adjustment.

    The dictionaries hold columns of one length each: `pandas.DataFrame(result.points)` makes a table of one.

    Attributes
    ----------
    models
        The adjusted models by the names of their images; images that could not be adjusted are not among them.
    message
        One sentence.
    notes
        More sentences: what holds the block on the ground, pieces, images that were left out.
    sigma0
        Root of the weighted square sum of the residuals over the redundancy.
    rms
        Root mean square of the residuals' coordinates, pixels.
    redundancy
        Equations minus unknowns.
    images
        "image", "state", "kind", "piece", "used", "bad", "rms_line", "rms_sample", "largest" (pixels), "corner_sigma"
        (largest standard deviation of the correction in the image's corners, pixels), and the parameters "b0", "b1",
        "b2" of the sample and "a0", "a1", "a2" of the line, pixels: what the correction adds at the image's centre,
        and more of it half an image to the side and half an image down.
    image_covariance
        Shape (images, 6, 6): of b0, b1, b2, a0, a1, a2, squared pixels.
    points
        "point", "lat", "lon", "height" (degrees, metres), "sigma_east", "sigma_north", "sigma_up" (metres), "rays",
        "role", "state" (a sentence).
    point_covariance
        Shape (points, 3, 3): towards east, north and up, squared metres.
    measurements
        One row for each measurement given, in their order: "residual_line", "residual_sample" (measured minus
        computed, pixels), "standardized", "redundancy", "state" (a sentence), "bad".
    control, check
        How far control and check points were missed, adjusted minus known: "point", "east", "north", "up" and their
        "sigma_...", metres, "standardized", "bad".
    """

    models: dict[str, Model]
    message: str
    notes: list[str]
    sigma0: float
    rms: float
    redundancy: int
    images: Columns
    image_covariance: Doubles
    points: Columns
    point_covariance: Doubles
    measurements: Columns
    control: Columns
    check: Columns


def _names_of(table: Any) -> list[str]:
    """Columns of a dictionary, a data frame or a structured array."""
    names = getattr(getattr(table, "dtype", None), "names", None)
    return list(names) if names else [str(name) for name in table]


def _column(table: Any, name: str, what: str) -> NDArray[Any]:
    if name not in _names_of(table):
        raise ValueError(f"{what} have no column '{name}'")
    return np.atleast_1d(np.asarray(table[name]))


def _texts(values: NDArray[Any]) -> NDArray[Any]:
    return values if values.dtype.kind == "U" else np.array([str(value) for value in values.tolist()], dtype=str)


def _positive(table: Any, name: str, count: int) -> Doubles:
    """Sigmas as the core has them: 0 where none is stated."""
    if name not in _names_of(table):
        return np.zeros(count)
    values = np.atleast_1d(np.asarray(table[name], dtype=np.float64))
    if np.any(values <= 0):
        raise ValueError(f"'{name}' must be above 0")
    return np.where(np.isnan(values), 0.0, values)


def _control_rows(
    control: Any, names: Mapping[str, int], models: Sequence[Model], terrain: Terrain | None, sigma_terrain: float
) -> list[tuple[int, str, float, float, float, float, float]]:
    points = _texts(_column(control, "point", "control points"))
    count = len(points)
    lat = _column(control, "lat", "control points").astype(np.float64)
    lon = _column(control, "lon", "control points").astype(np.float64)
    known = "height" in _names_of(control)
    height = _column(control, "height", "").astype(np.float64) if known else np.full(count, np.nan)
    horizontal, vertical = _positive(control, "sigma_h", count), _positive(control, "sigma_v", count)
    given = "role" in _names_of(control)
    roles = _texts(_column(control, "role", "")) if given else np.full(count, "control")
    missing = np.isnan(height) & (roles != "height")
    if np.any(missing) and terrain is not None:
        height[missing] = np.atleast_1d(terrain.height(lat[missing], lon[missing]))
        vertical[missing] = sigma_terrain
    middle = float(np.mean([model.to_dict()["HEIGHT_OFF"] for model in models]))
    rows = []
    for i, name in enumerate(points.tolist()):
        if math.isnan(height[i]):
            if roles[i] != "control":
                raise ValueError(f"{roles[i]} point '{name}' needs a height")
            height[i], vertical[i] = middle, _UNKNOWN_HEIGHT
        if roles[i] == "height":
            lat[i] = lon[i] = 0.0
        rows.append((names[name], str(roles[i]), lat[i], lon[i], height[i], horizontal[i], vertical[i]))
    if len({row[0] for row in rows}) != count:
        raise ValueError("a control point stands there twice")
    return rows


def _sentences(states: NDArray[np.int8], describe: Any) -> NDArray[Any]:
    words = {int(state): describe(int(state)) for state in np.unique(states)}
    return np.array([words[int(state)] for state in states], dtype=str)


def adjust(
    models: Mapping[str, Model],
    measurements: Any,
    control: Any | None = None,
    *,
    kind: str = "auto",
    fixed: Sequence[str] = (),
    passes: Sequence[Sequence[str]] = (),
    sigma: float = 0.5,
    sigma_shift: float = 100.0,
    sigma_drift: float = 100.0,
    sigma_horizontal: float = 1.0,
    sigma_vertical: float = 1.0,
    terrain: Terrain | None = None,
    sigma_terrain: float = 10.0,
    keep_all: bool = False,
) -> Adjustment:
    """Correct the models of many images so that they agree with each other and with the ground.

    Points measured in several images (ties) and control points give every image a correction in image space and every
    point its place. Bad measurements are found, named and left out. The lock is released meanwhile, and Ctrl-C ends it.

    Parameters
    ----------
    models
        Models by the names of their images. A correction that a model has already stays below the new one.
    measurements
        Columns "point", "image", "line", "sample" and perhaps "sigma" (pixels; NaN where not known) as a dictionary
        of arrays, a data frame or a structured array. Points may be named by texts or numbers.
    control
        Columns "point", "lat", "lon" (degrees) and perhaps "height" (metres above the ellipsoid; NaN where not known),
        "sigma_h", "sigma_v" (metres) and "role": "control", "check" (kept out and compared in the end) or "height"
        (only the height is known). Their measurements stand among the others.
    kind
        "auto" (the simplest that suffices), "none", "shift", "drift" (along the lines) or "affine".
    fixed
        Images that stay as they are.
    passes
        Groups of images that share one correction.
    sigma
        Standard deviation of a measurement that states none, pixels.
    sigma_shift, sigma_drift
        Standard deviations of the corrections before the adjustment, pixels: of the shifts, and of the others half an
        image away from its centre.
    sigma_horizontal, sigma_vertical
        Standard deviations of control that states none, metres.
    terrain, sigma_terrain
        Heights that every tie lies on within so many metres; also those of control points without one.
    keep_all
        Plain least squares of all measurements; bad ones are not looked for.

    Raises
    ------
    ValueError
        For columns and names that are missing, and with the library's sentence where there is no adjustment.
    """
    if not isinstance(models, Mapping):
        raise TypeError("models is a mapping of the names of images to models, {'0012': model, ...}")
    images = list(models)
    place = {name: i for i, name in enumerate(images)}
    image_names = _texts(_column(measurements, "image", "measurements"))
    unknown = sorted(set(image_names.tolist()) - set(images))
    if unknown:
        read_as_numbers = {name.lstrip("0") or "0" for name in images if name.isdigit()}
        hint = "; names of images are texts: read them so (dtype=str)" if read_as_numbers & set(unknown) else ""
        raise ValueError(f"measurements in images without a model: {', '.join(unknown[:10])}{hint}")
    image = np.array([place[name] for name in image_names.tolist()], dtype=np.uint32)
    measured = _texts(_column(measurements, "point", "measurements"))
    named = measured if control is None else np.concatenate([measured, _texts(_column(control, "point", "points"))])
    points, numbers = np.unique(named, return_inverse=True)
    names = {name: i for i, name in enumerate(points.tolist())}
    core = [models[name] for name in images]
    rows = [] if control is None else _control_rows(control, names, core, terrain, sigma_terrain)

    pass_of = {name: number for number, group in enumerate(passes) for name in group}
    strangers = sorted((set(pass_of) | set(fixed)) - set(images))
    if strangers:
        raise ValueError(f"no model for {', '.join(strangers)}")
    kinds = ["none" if name in fixed else kind for name in images]
    options = {
        "robust": not keep_all,
        "sigma": sigma,
        "sigma_shift": sigma_shift,
        "sigma_drift": sigma_drift,
        "sigma_horizontal": sigma_horizontal,
        "sigma_vertical": sigma_vertical,
        "sigma_terrain": sigma_terrain,
        "terrain": None if terrain is None else terrain._surface,
    }
    try:
        found = _core.adjust(
            [model._model for model in core],
            [(name, kinds[i], pass_of.get(name, -1)) for i, name in enumerate(images)],
            points.tolist(),
            rows,
            np.ascontiguousarray(numbers[: len(measured)], dtype=np.uint32),
            image,
            _column(measurements, "line", "measurements").astype(np.float64),
            _column(measurements, "sample", "measurements").astype(np.float64),
            _positive(measurements, "sigma", len(measured)),
            options,
        )
    except RuntimeError as error:
        raise ValueError(str(error)) from None
    return _adjustment(found, images, points, {row[0]: row[1] for row in rows}, core)


def _adjustment(
    found: dict[str, Any], images: list[str], points: NDArray[Any], roles: dict[int, str], models: list[Model]
) -> Adjustment:
    """Put names to the numbers of the core."""
    for key in ("control", "check"):
        found[key]["point"] = points[np.asarray(found[key]["point"], dtype=np.intp)]
        found[key]["bad"] = np.asarray(found[key]["bad"], dtype=bool)
    table = found["points"]
    table["state"] = _sentences(table["state"], _core.describe_block_point)
    table["role"] = np.array([roles.get(i, "tie") for i in range(len(points))], dtype=str)
    rows = found["measurements"]
    rows["state"] = _sentences(rows["state"], _core.describe_block_measurement)
    rows["bad"] = np.zeros(len(rows["state"]), dtype=bool)
    rows["bad"][np.asarray(found.pop("bad"), dtype=np.intp)] = True
    for name in ("used", "bad", "piece"):
        found["images"][name] = found["images"][name].astype(np.int64)
    table["rays"] = table["rays"].astype(np.int64)
    found["images"] = {"image": np.array(images, dtype=str)} | {k: np.asarray(v) for k, v in found["images"].items()}
    found["points"] = {"point": points} | table
    adjusted = {
        name: Model(core, model.name)
        for name, model, core in zip(images, models, found["models"], strict=True)
        if core is not None
    }
    return Adjustment(**{**found, "models": adjusted})
