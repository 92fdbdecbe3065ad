"""Stereo pairs of many images."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray

from . import _core
from ._typing import Doubles
from .model import Model

#: What the core gives, in its order.
_COLUMNS = (
    "overlap_percent",
    "overlap_area",
    "convergence",
    "bisector_elevation",
    "asymmetry",
    "base_to_height",
    "height_sigma",
    "plan_sigma",
    "gsd_difference",
    "days",
    "quality",
)


@dataclass(frozen=True, eq=False)
class Pairs:
    """The pairs of a list of images whose footprints overlap: those that meet the criteria first, each by quality.

    Attributes
    ----------
    first, second
        Places of both images in the list, shape (n,); all other arrays have the same shape.
    meets
        Whether the pair meets the criteria.
    overlap_percent, overlap_area
        Of the smaller footprint; square metres on the ellipsoid.
    convergence
        Angle between the lines of sight amid the overlap, degrees.
    bisector_elevation, asymmetry
        Of their bisector: above the horizon; off the vertical as seen along the normal of their plane. Degrees.
    base_to_height
        How far the images of a point shift apart on the ground by a unit of its height.
    height_sigma, plan_sigma
        Standard deviations of a matched point: of its height, and the larger one in the plane. Metres.
    gsd_difference
        Of the pixels' sizes, percent of the larger.
    days
        Between both acquisitions; NaN where a file does not say.
    quality
        A rule of thumb, 0 to 1, by which pairs are ordered: the overlap's share, lowered for convergences below 15 and
        above 35 degrees.
    unseen
        Places of images whose outline has no ground: they are in no pair.
    """

    first: NDArray[np.int64]
    second: NDArray[np.int64]
    meets: NDArray[np.bool_]
    overlap_percent: Doubles
    overlap_area: Doubles
    convergence: Doubles
    bisector_elevation: Doubles
    asymmetry: Doubles
    base_to_height: Doubles
    height_sigma: Doubles
    plan_sigma: Doubles
    gsd_difference: Doubles
    days: Doubles
    quality: Doubles
    unseen: list[int]

    def __len__(self) -> int:
        """Give the number of pairs."""
        return len(self.first)

    def __repr__(self) -> str:
        """One line: how many pairs, and how many meet the criteria."""
        return f"<Pairs {len(self)} overlap, {int(self.meets.sum())} meet the criteria>"


def pairs(
    models: Sequence[Model],
    *,
    min_overlap: float | None = None,
    min_pixels: float | None = None,
    min_angle: float | None = None,
    max_angle: float | None = None,
    same_sensor: bool = False,
    max_time: float | None = None,
    max_days: int | None = None,
    max_gsd: float | None = None,
    max_sun_azimuth: float | None = None,
    max_sun_elevation: float | None = None,
    accept_unknown: bool = False,
    sigma: float = 0.5,
    height: float | None = None,
) -> Pairs:
    """Look at every pair of images that overlap: geometry, criteria, order.

    Parameters
    ----------
    models
        A thousand are looked at in seconds, on several threads.
    min_overlap, min_pixels
        Least overlap, in percent of the smaller footprint and in pixels of the coarser image.
    min_angle, max_angle
        Least and largest convergence, degrees; where one is given the other is 10 or 90.
    same_sensor
        Both images of one satellite.
    max_time, max_days
        Days, with parts of days, between the acquisitions; whole days between their dates (UTC).
    max_gsd
        Largest difference of the pixels' sizes, percent.
    max_sun_azimuth, max_sun_elevation
        Largest differences of the sun's position, degrees, computed from time and place.
    accept_unknown
        What a model's file does not say, satellite or time, fails no criterion.
    sigma
        Standard deviation of a matched coordinate in each image, pixels.
    height
        Of the ground, metres above the ellipsoid; the middle of both models' heights without it.

    Raises
    ------
    ValueError
        When a limit is out of its range.
    """
    limits = {
        "min_overlap": min_overlap,
        "min_pixels": min_pixels,
        "min_angle": min_angle,
        "max_angle": max_angle,
        "same_sensor": same_sensor or None,
        "max_time": max_time,
        "max_days": max_days,
        "max_gsd": max_gsd,
        "max_sun_azimuth": max_sun_azimuth,
        "max_sun_elevation": max_sun_elevation,
        "accept_unknown": accept_unknown or None,
    }
    accepted, first, second, columns, unseen = _core.pairs(
        [model._model for model in models],
        [str(model._origin.get("acquired", "")) for model in models],
        [bool(model._origin.get("radar", False)) for model in models],
        {name: limit for name, limit in limits.items() if limit is not None},
        sigma,
        height,
    )
    values = dict(zip(_COLUMNS, columns, strict=True))
    return Pairs(first=first, second=second, meets=np.arange(len(first)) < accepted, unseen=unseen, **values)
