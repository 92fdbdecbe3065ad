"""From image to map: where the pixels of a map lie in an image, and the image resampled there, by blocks.

A map is an affine transform, as rasterio has it, a shape (rows, columns), and a way from its plane to longitude and
latitude; without one x is the longitude and y the latitude. Its reference system is whatever the way comes from:
`pyproj.Transformer.from_crs(32631, 4326, always_xy=True).transform`, say.
"""

from __future__ import annotations

from collections.abc import Callable, Sequence
from typing import Any

import numpy as np

from ._typing import Numbers, Values
from .model import Model
from .terrain import Terrain, Visibility

#: (x, y) arrays to (longitude, latitude) arrays, degrees.
ToGround = Callable[[Any, Any], tuple[Any, Any]]


def map_grid(
    model: Model,
    terrain: Terrain,
    transform: Sequence[float],
    rows: tuple[int, int],
    columns: tuple[int, int],
    *,
    to_ground: ToGround | None = None,
    mask_hidden: bool = False,
) -> tuple[Values, Values]:
    """Give the image points of a block of a map's pixels.

    Parameters
    ----------
    model, terrain
        The image's model, and heights above the ellipsoid.
    transform
        (a, b, c, d, e, f) as in `affine.Affine`, counted from the outer corner of the first pixel.
    rows, columns
        First pixel and the one behind the last.
    to_ground
        From the map's plane to longitude and latitude.
    mask_hidden
        No image point for ground that terrain hides.

    Returns
    -------
    line, sample
        Shape (rows, columns), pixels; NaN where there is no height (or the ground is hidden), and farther from the
        image's ground than a tenth of its size: a model's polynomials may come back into the image there. Points may
        lie outside the image.
    """
    a, b, c, d, e, f = (float(value) for value in tuple(transform)[:6])
    row = np.arange(*rows)[:, None] + 0.5
    column = np.arange(*columns)[None, :] + 0.5
    x, y = a * column + b * row + c, d * column + e * row + f
    lon, lat = (x, y) if to_ground is None else to_ground(x, y)
    lon, lat = (np.where(np.isfinite(value), value, np.nan) for value in (np.asarray(lon), np.asarray(lat)))
    height = terrain.height(lat, lon)
    line, sample = model.project(lat, lon, height)
    lost = np.isnan(line) | np.isnan(sample) | ~_near_image(model, lat, lon, height)
    if mask_hidden:
        seen = terrain.visibility(model, lat, lon, height)
        lost |= (seen != Visibility.VISIBLE) & (seen != Visibility.VISIBLE_VOID)
    return np.where(lost, np.nan, line), np.where(lost, np.nan, sample)


def _near_image(model: Model, lat: Values, lon: Values, height: Values) -> Any:
    """Tell the places in the box of the image's ground at the heights there are, a tenth larger on each side."""
    if not np.isfinite(height).any():
        return np.zeros(np.shape(height), dtype=bool)
    try:
        rings = [model.footprint(float(h)) for h in (np.nanmin(height), np.nanmax(height))]
    except ValueError:  # some of the border has no ground point: everywhere may be near
        return np.ones(np.shape(height), dtype=bool)
    near = np.ones(np.shape(height), dtype=bool)
    for values, edge in ((lat, [ring.lat for ring in rings]), (lon, [ring.lon for ring in rings])):
        first, last = np.min(edge), np.max(edge)
        middle, reach = 0.5 * (first + last), 0.6 * (last - first)
        away = np.asarray(values) - middle
        if values is lon:
            away = away - 360.0 * np.round(away / 360.0)
        near &= np.abs(away) <= reach
    return near


def image_window(line: Numbers, sample: Numbers, shape: tuple[int, int], reach: int = 2) -> tuple[slice, slice] | None:
    """Give the part of an image that points lie in, with `reach` pixels around; None when none lies in the image."""
    line, sample = np.asarray(line), np.asarray(sample)
    inside = (line >= -0.5) & (line < shape[0] - 0.5) & (sample >= -0.5) & (sample < shape[1] - 0.5)
    if not inside.any():
        return None

    def part(values: Any, size: int) -> slice:
        first, last = np.floor(values[inside].min()), np.floor(values[inside].max())
        return slice(max(0, int(first) - reach), min(size, int(last) + reach + 2))

    return part(line, shape[0]), part(sample, shape[1])


def resample(window: Any, line: Numbers, sample: Numbers, *, nodata: float = np.nan) -> Values:
    """Interpolate an image bilinearly.

    Parameters
    ----------
    window
        Shape (lines, samples), whole numbers at pixel centres.
    line, sample
        Points in it, NaN for none.
    nodata
        The value of points without data: none given, outside the window's outermost half pixels, or beside a NaN or a
        masked element.

    Returns
    -------
    array
        Of the points' shape, doubles.
    """
    pixels = np.ma.filled(np.ma.asarray(window).astype(np.float64), np.nan)
    line, sample = np.asarray(line, dtype=np.float64), np.asarray(sample, dtype=np.float64)
    inside = (line >= -0.5) & (line < pixels.shape[0] - 0.5) & (sample >= -0.5) & (sample < pixels.shape[1] - 0.5)
    # The outer half pixel has nothing to interpolate to: it takes the edge's value.
    row = np.clip(np.where(inside, line, 0.0), 0.0, pixels.shape[0] - 1.0)
    column = np.clip(np.where(inside, sample, 0.0), 0.0, pixels.shape[1] - 1.0)
    r = np.minimum(row.astype(np.int64), max(pixels.shape[0] - 2, 0))
    c = np.minimum(column.astype(np.int64), max(pixels.shape[1] - 2, 0))
    r1, c1 = np.minimum(r + 1, pixels.shape[0] - 1), np.minimum(c + 1, pixels.shape[1] - 1)
    y, x = row - r, column - c
    above = pixels[r, c] + x * (pixels[r, c1] - pixels[r, c])
    below = pixels[r1, c] + x * (pixels[r1, c1] - pixels[r1, c])
    values = above + y * (below - above)
    return np.where(inside & ~np.isnan(values), values, nodata)


__all__ = ["ToGround", "image_window", "map_grid", "resample"]
