"""How uncertain ground points are."""

from __future__ import annotations

from collections.abc import Sequence
from enum import IntEnum
from typing import NamedTuple

from . import _core
from ._typing import Doubles, Numbers, Values
from .model import Model
from .terrain import Terrain


class UncertaintyState(IntEnum):
    """How the computation of an uncertainty ended; `KNOWN` alone has numbers, those of any other state are NaN."""

    NOT_RUN = 0
    KNOWN = 1
    NO_POINT = 2
    SINGULAR = 3
    GRAZING = 4
    NO_SLOPE = 5
    BAD_ERRORS = 6

    @property
    def sentence(self) -> str:
        """The state as one short sentence."""
        return _core.describe_uncertainty_state(int(self))


class Uncertainty(NamedTuple):
    """How uncertain ground points are; every field but the covariances has the broadcast shape of what was asked.

    Attributes
    ----------
    covariance
        Shape (..., 3, 3): of east, north and up, square metres, all errors together.
    shared
        The part of it that points near each other in the same images share: bias and refinement.
    ce90, ce95
        Radius of the horizontal circle that holds a point with 90 and with 95 %, metres.
    le90
        Height error that is kept with 90 %, metres.
    state
        An `UncertaintyState` for each point, int8.
    """

    covariance: Doubles
    shared: Doubles
    ce90: Values
    ce95: Values
    le90: Values
    state: Values


def locate_uncertainty(
    model: Model,
    lat: Numbers,
    lon: Numbers,
    height: Numbers,
    *,
    height_sigma: Numbers = 0.0,
    terrain: Terrain | None = None,
    terrain_sigma: float = 0.0,
    sigma: float | None = None,
    bias: float | None = None,
    random: float | None = None,
) -> Uncertainty:
    """Say how uncertain points of one image are: those that `Model.locate` gave.

    Parameters
    ----------
    model
        The image. With a refinement whose covariance it knows, that takes the place of the file's bias.
    lat, lon, height
        The points: degrees, degrees, metres above the ellipsoid. Any shapes that broadcast.
    height_sigma
        Standard deviation of the heights, metres.
    terrain
        Where the points were found on one: its slope counts, and `terrain_sigma` in the place of `height_sigma`.
    terrain_sigma
        Standard deviation of the terrain's heights, metres.
    sigma
        Standard deviation of a measured line and sample, pixels; 1 without it.
    bias, random
        Errors of the model in metres on each horizontal axis, that all points of the image share and that each has
        alone; those of the model and its file without them.

    Raises
    ------
    ValueError
        For a number that is no standard deviation.
    """
    if terrain is not None:
        locator = terrain._locator_of(model._model)
        return Uncertainty(*locator.uncertainty(lat, lon, height, terrain_sigma, sigma, bias, random))
    return Uncertainty(*_core.locate_uncertainty(model._model, lat, lon, height, height_sigma, sigma, bias, random))


def intersect_uncertainty(
    models: Sequence[Model],
    lat: Numbers,
    lon: Numbers,
    height: Numbers,
    *,
    known_height: bool = False,
    height_sigma: float | None = None,
    height_weight_sigma: float | None = None,
    sigma: Sequence[float | None] | None = None,
    bias: Sequence[float | None] | None = None,
    random: Sequence[float | None] | None = None,
    bias_correlation: float = 0.0,
) -> Uncertainty:
    """Say how uncertain points of several images are: those that `intersect` gave, seen by all of the images.

    Parameters
    ----------
    models
        The images.
    lat, lon, height
        The points: degrees, degrees, metres above the ellipsoid. Any shapes that broadcast.
    known_height
        The heights were held, not found.
    height_sigma
        True standard deviation of known or observed heights, metres.
    height_weight_sigma
        `height_sigma` as `intersect` was given it, which observed the heights with that weight.
    sigma, bias, random
        As in `locate_uncertainty`, one for each image.
    bias_correlation
        How alike the biases of the images are, 0 to 1.

    Raises
    ------
    ValueError
        For a number that is no standard deviation, and where there is not one for each image.
    """
    none: list[float | None] = [None] * len(models)
    given = [none if one is None else list(one) for one in (sigma, bias, random)]
    if any(len(one) != len(models) for one in given):
        raise ValueError("one sigma, bias and random error for each image is needed")
    kind = "known" if known_height else "free" if height_weight_sigma is None else "observed"
    weight = 0.0 if height_weight_sigma is None else height_weight_sigma
    true = weight if height_sigma is None else height_sigma
    return Uncertainty(
        *_core.intersect_uncertainty(
            [m._model for m in models], lat, lon, height, kind, true, weight * weight, bias_correlation, *given
        )
    )
