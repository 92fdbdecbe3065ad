"""Terrain: heights over the ground that lines of sight can meet."""

from __future__ import annotations

import warnings
from collections.abc import Callable, Sequence
from enum import IntEnum
from typing import TYPE_CHECKING, Any

import numpy as np

from . import _core
from ._typing import Numbers, Values

if TYPE_CHECKING:
    from .model import Location, Model


class TerrainState(IntEnum):
    """How the search along a line of sight ended; the first two found a point."""

    NOT_RUN = 0
    FOUND = 1
    FOUND_AFTER_VOID = 2
    NO_TERRAIN = 3
    NO_CROSSING = 4
    NO_LINE = 5

    @property
    def sentence(self) -> str:
        """The state as one short sentence."""
        return _core.describe_terrain_state(int(self))


class Visibility(IntEnum):
    """Whether a ground point can be seen; `VISIBLE_VOID` as far as heights are known."""

    NOT_RUN = 0
    VISIBLE = 1
    VISIBLE_VOID = 2
    HIDDEN = 3
    NO_LINE = 4


class Terrain:
    """A height for every latitude and longitude, or none; never changes, and threads may share it.

    `dem + geoid` adds the heights of two surfaces, `dem.filled(other)` takes another's where the first has none.
    """

    __slots__ = ("_locator", "_surface")

    def __init__(
        self,
        heights: Numbers,
        transform: Sequence[float],
        *,
        nodata: float | None = None,
        pixel_is_area: bool = True,
        interpolation: str = "bilinear",
        void_height: float | None = None,
        mapping: Callable[[Any, Any], tuple[Any, Any]] | None = None,
    ) -> None:
        """Take heights on a regular grid.

        Parameters
        ----------
        heights
            Shape (rows, columns), metres above the ellipsoid (or above what is added to it). NaN and masked elements
            are voids. Copied.
        transform
            (a, b, c, d, e, f) as in `affine.Affine`: x = a column + b row + c, y = d column + e row + f.
        nodata
            Heights of exactly this value are voids.
        pixel_is_area
            The transform counts from the outer corner of the first pixel (rasterio); False: from its centre.
        interpolation
            "bilinear" or "bicubic".
        void_height
            A height for voids and for everything outside the grid; without it they have none.
        mapping
            (lon, lat) -> (x, y) into the grid's own reference system, for arrays;
            `pyproj.Transformer.from_crs(4326, crs, always_xy=True).transform`, say. Without it x is the longitude and y
            the latitude, degrees.

        Raises
        ------
        ValueError
            For fewer than 2 x 2 heights or a transform without an inverse.
        """
        if interpolation not in ("bilinear", "bicubic"):
            raise ValueError(f"interpolation is 'bilinear' or 'bicubic', not {interpolation!r}")
        posts = np.ma.filled(np.ma.asarray(heights).astype(np.float64), np.nan)
        a, b, c, d, e, f = (float(value) for value in tuple(transform)[:6])
        bicubic = interpolation == "bicubic"
        self._surface = _core.grid(
            np.ascontiguousarray(posts), (a, b, c, d, e, f), pixel_is_area, bicubic, nodata, void_height, mapping
        )
        self._locator: tuple[_core.Model, _core.Locator] | None = None

    @classmethod
    def _of(cls, surface: _core.Surface) -> Terrain:
        terrain = cls.__new__(cls)
        terrain._surface = surface
        terrain._locator = None
        return terrain

    @classmethod
    def constant(cls, height: float) -> Terrain:
        """Give the same height everywhere, metres above the ellipsoid."""
        return cls._of(_core.constant(float(height)))

    @classmethod
    def from_rasterio(
        cls,
        dataset: Any,
        *,
        geoid: Terrain | None = None,
        ellipsoidal: bool = False,
        band: int = 1,
        interpolation: str = "bilinear",
        void_height: float | None = None,
    ) -> Terrain:
        """Take a band of an open rasterio dataset, read whole.

        Parameters
        ----------
        dataset
            In any reference system; others than longitude and latitude need pyproj.
        geoid
            What the heights count from, as heights above the ellipsoid.
        ellipsoidal
            The heights are above the ellipsoid. Without this and without a geoid they are taken so with a warning.
        band
            From 1.
        interpolation, void_height
            As in `Terrain`.
        """
        if geoid is None and not ellipsoidal:
            warnings.warn("no geoid is given: heights are taken as above the ellipsoid", stacklevel=2)
        mapping = None
        if dataset.crs is not None and not dataset.crs.is_geographic:
            from pyproj import Transformer

            mapping = Transformer.from_crs(4326, dataset.crs.to_wkt(), always_xy=True).transform
        # GDAL's transform counts from the corner of the first pixel also where a file says that pixels are points.
        grid = cls(
            dataset.read(band, masked=True),
            tuple(dataset.transform)[:6],
            interpolation=interpolation,
            void_height=void_height,
            mapping=mapping,
        )
        return grid if geoid is None else grid + geoid

    def __add__(self, other: Terrain) -> Terrain:
        """Add heights; unknown where either is. Put the rough surface first and the smooth one second."""
        return Terrain._of(_core.sum(self._surface, other._surface))

    def filled(self, other: Terrain) -> Terrain:
        """Take the heights of `other` where this one has none."""
        return Terrain._of(_core.first_known(self._surface, other._surface))

    def height(self, lat: Numbers, lon: Numbers) -> Values:
        """Give heights of points, metres; NaN where unknown. Arguments in degrees, of any shapes that broadcast."""
        return self._surface.heights(lat, lon)

    def visibility(self, model: Model, lat: Numbers, lon: Numbers, height: Numbers) -> Values:
        """Say whether ground points are seen by a model or hidden by this terrain.

        Parameters
        ----------
        model
            The image.
        lat, lon, height
            Degrees, degrees, metres above the ellipsoid; any shapes that broadcast.

        Returns
        -------
        array of int8
            A `Visibility` for each point; for plain numbers one.
        """
        seen = self._locator_of(model._model).visibility(lat, lon, height)
        return Visibility(seen) if type(seen) is int else seen

    def _locate(self, model: _core.Model, line: Numbers, sample: Numbers) -> Location:
        from .model import Location

        lat, lon, height, state, residual = self._locator_of(model).locate(line, sample)
        named = TerrainState(state) if type(state) is int else state
        return Location(lat, lon, height, named, residual)

    def _locator_of(self, model: _core.Model) -> _core.Locator:
        """Prepare a model over this terrain, once for calls that follow each other."""
        kept = self._locator
        if kept is None or kept[0] is not model:
            kept = (model, _core.Locator(model, self._surface))
            self._locator = kept
        return kept[1]
