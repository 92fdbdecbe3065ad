"""The outline of an image on the ground."""

from __future__ import annotations

from dataclasses import dataclass
from typing import TYPE_CHECKING, Any

import numpy as np

from ._typing import Doubles

if TYPE_CHECKING:
    from .model import Model
    from .terrain import Terrain


@dataclass(frozen=True, eq=False)
class Footprint:
    """A closed ring on the ground, counter-clockwise as GeoJSON asks (RFC 7946); `shapely` and `geopandas` take it.

    Attributes
    ----------
    lat, lon
        Degrees, shape (n,); the last point is the first one again. Longitudes in the turn of the model.
    height
        Metres above the ellipsoid, of each point.
    """

    lat: Doubles
    lon: Doubles
    height: Doubles

    @property
    def __geo_interface__(self) -> dict[str, Any]:
        """A GeoJSON polygon: longitude first."""
        ring = tuple((float(x), float(y)) for x, y in zip(self.lon, self.lat, strict=True))
        return {"type": "Polygon", "coordinates": (ring,)}


def border(box: tuple[float, float, float, float], points: int) -> tuple[Doubles, Doubles]:
    """Lines and samples along the border of an image box, `points` a side, closed."""
    first_line, last_line, first_sample, last_sample = box
    t = np.arange(points) / points
    zero, one = np.zeros(points), np.ones(points)
    u = np.concatenate([t, one, one - t, zero, [0.0]])
    v = np.concatenate([zero, t, one, one - t, [0.0]])
    return first_line + (last_line - first_line) * v, first_sample + (last_sample - first_sample) * u


def footprint(model: Model, height: float | None, points: int, terrain: Terrain | None) -> Footprint:
    """Locate the outer edge of the image at one height, or on a terrain.

    Raises
    ------
    ValueError
        When a point of the edge has no ground point.
    """
    if points < 1:
        raise ValueError("a side needs one point at least")
    if terrain is None and height is None:
        height = float(np.mean(model.height_range))
    box = model.image_box
    if model.shape is not None:  # the raster reaches half a pixel beyond the centres of its outermost pixels
        box = (box[0] - 0.5, box[1] + 0.5, box[2] - 0.5, box[3] + 0.5)
    line, sample = border(box, points)
    found = model.locate(line, sample, height, terrain=terrain)
    bad = ~np.isfinite(found.lat)
    if bad.any():
        raise ValueError(f"{int(bad.sum())} of {bad.size} points of the image's edge have no ground point")
    lat, lon = found.lat, found.lon
    area = np.sum(lon[:-1] * lat[1:] - lon[1:] * lat[:-1])
    turn = slice(None) if area >= 0 else slice(None, None, -1)
    heights = np.broadcast_to(np.asarray(found.height, dtype=np.float64), lat.shape)
    return Footprint(lat[turn].copy(), lon[turn].copy(), heights[turn].copy())
