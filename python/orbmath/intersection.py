"""Several images to ground points."""

from __future__ import annotations

from collections.abc import Sequence
from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

from . import _core
from ._typing import Doubles, Numbers
from .model import Model


class Intersection(NamedTuple):
    """Ground points, one of each column of image points.

    Attributes
    ----------
    lat, lon, height
        Degrees, degrees, metres above the ellipsoid, shape (points,); NaN where there is no solution.
    state
        A `State` for each point, int8.
    rms
        Root mean square distance over the images between measured and projected points, pixels.
    covariance
        Shape (points, 3, 3): of latitude, longitude (degrees) and height (metres) for measurements with a standard
        deviation of one pixel.
    """

    lat: Doubles
    lon: Doubles
    height: Doubles
    state: NDArray[np.int8]
    rms: Doubles
    covariance: Doubles


def intersect(
    models: Sequence[Model],
    line: Numbers,
    sample: Numbers,
    height: Numbers | None = None,
    height_sigma: float | None = None,
) -> Intersection:
    """Intersect the lines of sight of points that several images see.

    Parameters
    ----------
    models
        Two or more; with a height one is enough where an image sees a point alone.
    line, sample
        Pixels, shape (images, points), or (images,) for one point. NaN, or masked, where an image does not see a point.
    height
        Metres, one for each point or one for all: known heights. None: heights are found.
    height_sigma
        With `height`: heights are observations of this standard deviation, in metres where one pixel is the standard
        deviation of an image coordinate.

    Raises
    ------
    ValueError
        When shapes do not fit.
    """
    lines, samples = (np.ma.filled(np.ma.asarray(a, dtype=np.float64), np.nan) for a in (line, sample))
    lines, samples = np.ascontiguousarray(lines), np.ascontiguousarray(samples)
    if lines.ndim == 1:
        lines, samples = lines[:, None].copy(), samples.reshape(-1, 1).copy()
    heights = None
    if height is not None:
        heights = np.ascontiguousarray(np.broadcast_to(np.asarray(height, dtype=np.float64), lines.shape[1:]))
    elif height_sigma is not None:
        raise ValueError("height_sigma needs a height")
    return Intersection(*_core.intersect([m._model for m in models], lines, samples, heights, height_sigma))
