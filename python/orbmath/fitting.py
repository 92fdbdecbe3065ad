"""A model from correspondences between ground and image."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any, NamedTuple

import numpy as np

from . import _core
from ._typing import Numbers
from .model import Model


class FitReport(NamedTuple):
    """The story of a fit.

    Attributes
    ----------
    message
        One sentence.
    coverage
        Share of the cells of image and height that hold a point, 0 to 1.
    flat
        True: the points share one height, and the model holds there only.
    bad
        Places of the bad points among the flattened points.
    fitted, check
        {"count", "line", "sample", "distance"}: over fitted and over held-out points, the three as (root mean square,
        95th percentile, largest) in pixels.
    """

    message: str
    coverage: float
    flat: bool
    bad: list[int]
    fitted: dict[str, Any]
    check: dict[str, Any]


def fit(
    lat: Numbers,
    lon: Numbers,
    height: Numbers,
    line: Numbers,
    sample: Numbers,
    *,
    order: int = 0,
    ridge: float = -1.0,
    weights: Sequence[float] | None = None,
    hold_out: int = 0,
    keep_all: bool = False,
) -> tuple[Model, FitReport]:
    """Fit a model to correspondences so that it cannot blow up.

    Parameters
    ----------
    lat, lon, height, line, sample
        Degrees, degrees, metres, pixels, pixels; any shapes that broadcast.
    order
        Degree of the polynomials, 1 to 3; 0 chooses by cross-validation.
    ridge
        Share of the largest squared singular value; negative chooses by cross-validation.
    weights
        1 / variance of each point up to a common factor, in the order of the flattened points.
    hold_out
        Each so-many-th point is kept out and checks the fit; 0 for none.
    keep_all
        Bad points are named but take part.

    Raises
    ------
    ValueError
        With the library's sentence: too few points, no spread, numbers that are not finite.
    """
    chosen = None if weights is None else np.asarray(weights, dtype=np.float64).ravel().tolist()
    try:
        core, report = _core.fit(lat, lon, height, line, sample, order, ridge, chosen, hold_out, keep_all)
    except RuntimeError as error:
        raise ValueError(str(error)) from None
    return Model(core), FitReport(**report)
