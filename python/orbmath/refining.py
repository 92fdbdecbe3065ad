"""Correction of a model in image space by control points."""

from __future__ import annotations

from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

from . import _core
from ._typing import Doubles, Numbers
from .model import Model


class RefineReport(NamedTuple):
    """The story of a correction; arrays have one row for each point.

    Attributes
    ----------
    kind
        "shift", "affine" or "projective".
    message
        One sentence.
    used
        Points that took part.
    rms_before, rms_after
        Root mean square distance over them, pixels.
    sigma_factor
        What the stated sigmas have to be multiplied by; 0 when nothing is redundant.
    corner_factor
        Standard deviation of the correction at the worst corner, in those of one measurement.
    residuals_before, residuals_after
        Shape (points, 2): measured minus computed, line and sample, pixels.
    standardized
        Length of each residual after the fit in its own standard deviations.
    bad
        True for points that do not belong to the others; they are left out unless all are kept.
    outside
        True for points outside the box of the image or of the ground that the model was made for.
    """

    kind: str
    message: str
    used: int
    rms_before: float
    rms_after: float
    sigma_factor: float
    corner_factor: float
    residuals_before: Doubles
    residuals_after: Doubles
    standardized: Doubles
    bad: NDArray[np.bool_]
    outside: NDArray[np.bool_]


def refine(
    model: Model,
    lat: Numbers,
    lon: Numbers,
    height: Numbers,
    line: Numbers,
    sample: Numbers,
    *,
    sigma: Numbers = 1.0,
    kind: str = "auto",
    keep_all: bool = False,
    max_misfit: float = 0.0,
) -> tuple[Model, RefineReport]:
    """Correct a model by control points; bad ones are found, named and left out.

    Parameters
    ----------
    model
        A plain model.
    lat, lon, height
        Ground points: degrees, degrees, metres above the ellipsoid.
    line, sample
        Where they were measured, pixels.
    sigma
        Standard deviation of a measured coordinate, pixels; only ratios count.
    kind
        "auto", "shift", "affine" or "projective".
    keep_all
        Bad points are named but take part.
    max_misfit
        Largest root mean square misfit after the correction that is accepted, pixels; 0: 20 pixels, or 20 m by the
        model's own scale where those are more. `numpy.inf` accepts whatever it is.

    Returns
    -------
    model
        The adjusted model.
    report
        What was done.

    Raises
    ------
    ValueError
        With the library's sentence where no correction can be had; where columns look exchanged it names them.
    """
    if kind not in ("auto", "shift", "affine", "projective"):
        raise ValueError(f"kind is 'auto', 'shift', 'affine' or 'projective', not {kind!r}")
    try:
        core, report = _core.refine(model._model, lat, lon, height, line, sample, sigma, kind, keep_all, max_misfit)
    except RuntimeError as error:
        raise ValueError(str(error)) from None
    return Model(core, model.name), RefineReport(**{**report, "kind": report["kind"].lower()})
