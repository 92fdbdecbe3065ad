"""Whether models are fit for use, and how they look at the ground."""

from __future__ import annotations

from dataclasses import dataclass
from typing import TYPE_CHECKING, NamedTuple

import numpy as np

from . import _core
from .footprint import Footprint

if TYPE_CHECKING:
    from typing import Any

    from .model import Model


class View(NamedTuple):
    """How an image point looks at the ground; NaN throughout where it has no ground point.

    Attributes
    ----------
    lat, lon, height
        The ground point: degrees, degrees, metres above the ellipsoid.
    incidence
        Angle between the line of sight and the normal of the ellipsoid, degrees.
    azimuth
        Towards the sensor, clockwise from north, degrees.
    gsd
        Ground sample distance, metres: the side of a square as large as a pixel on the ground.
    line_size, sample_size
        Metres on the ground between neighbouring lines, and between neighbouring samples.
    """

    lat: float
    lon: float
    height: float
    incidence: float
    azimuth: float
    gsd: float
    line_size: float
    sample_size: float


class Finding(NamedTuple):
    """One thing that a check found.

    Attributes
    ----------
    severity
        "unfit", "warning" or "note".
    kind
        One word: "pole", "term-order", "height-range" ...; docs/check.md has the list.
    what, where, consequence
        Sentences for people.
    """

    severity: str
    kind: str
    what: str
    where: str
    consequence: str


@dataclass(frozen=True, eq=False)
class Check:
    """What the check of a model found.

    Attributes
    ----------
    fit
        False when a finding makes the model unfit for use.
    verdict
        One sentence.
    findings
        The heaviest first.
    view
        Of the middle of the image at the mean height.
    footprints
        At the lowest, the mean and the highest height of the model; None where the outline has no ground.
    areas
        Of the same, square metres on the ellipsoid; NaN where there is none.
    round_trip
        The worst of image to ground to image, pixels.
    bent_sight
        How far lines of sight are from straight ones whose directions change evenly, pixels.
    direct_model
        How far the file's own image-to-ground model misses, pixels; NaN without one.
    """

    fit: bool
    verdict: str
    findings: tuple[Finding, ...]
    view: View
    footprints: tuple[Footprint | None, Footprint | None, Footprint | None]
    areas: tuple[float, float, float]
    round_trip: float
    bent_sight: float
    direct_model: float

    def __bool__(self) -> bool:
        """Whether the model is fit for use."""
        return self.fit

    def __str__(self) -> str:
        """Verdict and findings, a line each."""
        lines = [f"{f.severity}: {f.kind}: {f.what} ({f.where}): {f.consequence}" for f in self.findings]
        return "\n".join([self.verdict, *lines])


def _footprint(found: tuple[float, float, list[float], list[float]] | None) -> Footprint | None:
    if found is None:
        return None
    height, _, lon, lat = found
    return Footprint(np.array([*lat, lat[0]]), np.array([*lon, lon[0]]), np.full(len(lat) + 1, height))


def check(model: Model, radar: bool, mirrored: bool) -> Check:
    """Check a model; see `Model.check`."""
    found: dict[str, Any] = _core.check(model._model, radar, mirrored)
    low, mean, high = found["footprints"]
    areas = tuple(float("nan") if outline is None else outline[1] for outline in (low, mean, high))
    return Check(
        fit=found["fit"],
        verdict=found["verdict"],
        findings=tuple(Finding(*finding) for finding in found["findings"]),
        view=View(*found["view"]),
        footprints=(_footprint(low), _footprint(mean), _footprint(high)),
        areas=(areas[0], areas[1], areas[2]),
        round_trip=found["round_trip"],
        bent_sight=found["bent_sight"],
        direct_model=found["direct_model"],
    )
