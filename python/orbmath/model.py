"""The sensor model of one image."""

from __future__ import annotations

import builtins
import os
import stat
from collections.abc import Mapping
from pathlib import Path
from typing import TYPE_CHECKING, Any, NamedTuple

import numpy as np

from . import _core, records
from ._typing import Doubles, Numbers, Values
from .states import State

if TYPE_CHECKING:
    from .checking import Check, View
    from .footprint import Footprint
    from .terrain import Terrain


#: Found by their numbers: a call of `State` takes as long as half a point.
_STATES = tuple(State)


def _refuse_no_file(path: str) -> None:
    """Raise what Python raises for a path that is no file, or that may not be read."""
    if path.startswith("/vsi"):  # a name in one of GDAL's file systems
        return
    if not stat.S_ISFIFO(os.stat(path).st_mode):  # opening a pipe again would wait for ever
        with builtins.open(path, "rb"):
            pass


class Location(NamedTuple):
    """Ground points of image points; every field has the broadcast shape of what was asked.

    Attributes
    ----------
    lat, lon
        Degrees, the longitude in the turn of the model; NaN where there is no solution.
    height
        Metres above the ellipsoid; the heights that were given, or those of the terrain.
    state
        A `State`, for arrays as int8; on a terrain a `TerrainState`.
    residual
        Pixels between the image point and the projection of the result.
    """

    lat: Values
    lon: Values
    height: Values
    state: Values
    residual: Values


class Model:
    """A rational polynomial camera model, plain or with a correction. It never changes, and threads may share it.

    Models compare equal when all their numbers are the same bits, can be pickled and copied, and show themselves in
    notebooks.
    """

    __slots__ = ("_model", "_name", "_origin")

    def __init__(self, core: _core.Model, name: str = "", origin: dict[str, Any] | None = None) -> None:
        """Wrap the core's model; `open`, `from_dict` and `from_rpcs` are what makes one."""
        self._model = core
        self._name = name
        self._origin = origin or {}

    @classmethod
    def open(cls, path: str | os.PathLike[str], first_pixel: int | None = None) -> Model:
        """Read a model file of any form, or the model of an image.

        Parameters
        ----------
        path
            A model file, whose form is recognised by its content. For other files rasterio is asked where it is
            installed, which opens what GDAL opens.
        first_pixel
            0 or 1: what the file counts the centre of its first pixel as, whatever is known of its form.

        Raises
        ------
        ValueError
            With the file, the line and what is wrong there.
        OSError
            When there is no such file, or it cannot be opened.
        """
        text = os.fspath(path)
        name = Path(text).stem
        try:
            core, origin = _core.Model.open(text, first_pixel)
            return cls(core, name, origin)
        except RuntimeError as error:
            reason = str(error)
        return cls._open_image(text, name, reason)

    @classmethod
    def _open_image(cls, path: str, name: str, reason: str) -> Model:
        try:
            import rasterio
        except ImportError:
            _refuse_no_file(path)
            raise ValueError(reason + "; images need the package rasterio") from None
        try:
            with rasterio.open(path) as dataset:
                if dataset.rpcs is None:
                    raise ValueError(f"{path}: an image without an RPC")
                model = cls.from_rpcs(dataset.rpcs, shape=dataset.shape)
        except rasterio.errors.RasterioIOError:
            _refuse_no_file(path)
            raise ValueError(reason) from None
        return cls(model._model, name, {"source": path, "form": "image", "first_pixel": 0})

    @classmethod
    def from_rpcs(cls, rpcs: Any, shape: tuple[int, int] | None = None) -> Model:
        """Take over a `rasterio.rpc.RPC`.

        Parameters
        ----------
        rpcs
            Any object with a method `to_dict` giving rasterio's keys.
        shape
            (lines, samples) of the image, if it is to be known.
        """
        return cls.from_dict(rpcs.to_dict(), shape=shape)

    @classmethod
    def from_dict(
        cls,
        mapping: Mapping[str, Any],
        shape: tuple[int, int] | None = None,
        satellite: str | None = None,
        band: str | None = None,
    ) -> Model:
        """Build a model of the numbers in a mapping.

        Parameters
        ----------
        mapping
            LINE_OFF, LINE_SCALE ... LINE_NUM_COEFF ... as GDAL, rasterio or rpcm name them; the coefficients in the
            order RPC00B, line and sample counted from the centre of the first pixel.
        shape
            (lines, samples) of the image, if it is to be known.
        satellite, band
            Identifiers that file forms with room for them keep.

        Raises
        ------
        ValueError
            When a key is missing or its value no number.
        """
        record, errors = records.normalize(mapping)
        raster = None if shape is None else (int(shape[1]), int(shape[0]))
        return cls(_core.Model.of_record(record, satellite, band, errors["bias_error"], errors["random_error"], raster))

    def to_dict(self) -> dict[str, Any]:
        """Give the record: LINE_OFF ... HEIGHT_SCALE as floats, the coefficients as four lists of twenty."""
        return self._model.record()

    def to_rpcs(self) -> Any:
        """Give a `rasterio.rpc.RPC` (needs rasterio).

        Raises
        ------
        ValueError
            For an adjusted model: a record cannot hold its correction, `plain()` gives one that does.
        """
        if self.refinement is not None:
            raise ValueError("an adjusted model is more than a record: take its plain()")
        from rasterio.rpc import RPC

        record = {key.lower(): value for key, value in self.to_dict().items()}
        extras = self._model.extras()
        return RPC(err_bias=extras["bias_error"], err_rand=extras["random_error"], **record)

    def save(self, path: str | os.PathLike[str], form: str | None = None) -> float:
        """Write the model to a file, whole or not at all.

        Parameters
        ----------
        path
            Where to; an existing file is replaced.
        form
            "rpb", "text", "xml" or "json"; without it the suffix decides (.rpb, .txt, .rpc, .xml, .json). XML holds
            everything bit for bit, the others a plain record with the digits that they keep.

        Returns
        -------
        float
            How far the rounding of the form moves image points at worst, pixels: 0 for XML.

        Raises
        ------
        ValueError
            When neither form nor suffix tells, or the form cannot hold the model.
        OSError
            When the file cannot be written; an old one is there as it was.
        """
        return self._model.save(os.fspath(path), form)

    def project(self, lat: Numbers, lon: Numbers, height: Numbers) -> tuple[Values, Values]:
        """Ground to image.

        Parameters
        ----------
        lat, lon
            Degrees, the longitude in any turn. Any shapes that broadcast.
        height
            Metres above the ellipsoid.

        Returns
        -------
        line, sample
            Pixels, each of the broadcast shape; floats for plain numbers.
        """
        return self._model.project(lat, lon, height)

    def project_jacobian(self, lat: Numbers, lon: Numbers, height: Numbers) -> tuple[Values, Values, Doubles]:
        """Ground to image with derivatives.

        Parameters
        ----------
        lat, lon, height
            As in `project`.

        Returns
        -------
        line, sample
            As in `project`.
        jacobian
            Shape (..., 2, 3): rows line and sample, columns latitude and longitude (pixels per degree) and height
            (pixels per metre).
        """
        return self._model.project_jacobian(lat, lon, height)

    def locate(
        self,
        line: Numbers,
        sample: Numbers,
        height: Numbers | None = None,
        *,
        terrain: Terrain | None = None,
        extrapolate: bool = False,
    ) -> Location:
        """Image to ground, at known heights or where the line of sight first meets a terrain.

        Parameters
        ----------
        line, sample
            Pixels. Any shapes that broadcast.
        height
            Metres above the ellipsoid.
        terrain
            Instead of a height: the terrain, of which the point nearest to the sensor is found.
        extrapolate
            Give also points that the model cannot know, beyond a pole or a fold or far outside its box; their state
            says so all the same. For heights only.

        Returns
        -------
        Location
            Points without a solution are NaN, and their state says why. A point that has one projects back within a
            millionth of a pixel.

        Raises
        ------
        TypeError
            Unless there is either a height or a terrain.
        """
        if (height is None) == (terrain is None):
            raise TypeError("locate needs either a height or a terrain")
        if terrain is not None:
            return terrain._locate(self._model, line, sample)
        lat, lon, state, residual = _core.locate(self._model, line, sample, height, extrapolate)
        if type(state) is int:
            return Location(lat, lon, float(height), _STATES[state], residual)  # type: ignore[arg-type]
        heights = np.ma.filled(np.ma.asarray(height, dtype=np.float64), np.nan)
        return Location(lat, lon, np.broadcast_to(heights, lat.shape).copy(), state, residual)

    def footprint(self, height: float | None = None, points: int = 16, *, terrain: Terrain | None = None) -> Footprint:
        """Give the outline of the image on the ground; see `Footprint`.

        Parameters
        ----------
        height
            Metres above the ellipsoid; the middle of the model's height range without it.
        points
            Points on each side of the image.
        terrain
            Instead of a height: the outline on the terrain.

        Raises
        ------
        ValueError
            When a point of the image's edge has no ground point.
        """
        from .footprint import footprint

        return footprint(self, height, points, terrain)

    def check(self, *, mirrored: bool = False, radar: bool | None = None) -> Check:
        """Say whether the model is fit for use, and how it looks at the ground; see `Check`.

        Parameters
        ----------
        mirrored
            The image is known to be a mirror image of the ground.
        radar
            The image is a radar's; None: as the file's form says.
        """
        from .checking import check

        return check(self, self._is_radar if radar is None else radar, mirrored)

    def view(self, line: float, sample: float, height: float) -> View:
        """Give the direction of the line of sight of an image point, and the size of its pixel; see `View`.

        Parameters
        ----------
        line, sample
            Pixels.
        height
            Metres above the ellipsoid.
        """
        from .checking import View

        return View(*_core.view(self._model, line, sample, height, self._is_radar))

    @property
    def _is_radar(self) -> bool:
        return bool(self._origin.get("radar", False))

    def plain(self) -> Model:
        """Give a model without a correction on top that projects as this one does, within 0.01 pixels.

        Raises
        ------
        ValueError
            When no plain model comes that near.
        """
        try:
            return Model(self._model.plain(), self._name)
        except RuntimeError as error:
            raise ValueError(str(error)) from None

    @property
    def name(self) -> str:
        """The stem of the file that the model was read from, or an empty text."""
        return self._name

    @property
    def shape(self) -> tuple[int, int] | None:
        """(lines, samples) of the image, or None where the model does not know."""
        raster = self._model.raster()
        return None if raster is None else (raster[1], raster[0])

    @property
    def extras(self) -> dict[str, Any]:
        """What the file says beside the record: satellite, band, bias_error and random_error (metres); or None."""
        return self._model.extras()

    @property
    def origin(self) -> dict[str, Any]:
        """Where the model comes from: source, form, first_pixel and who says so, term_order, acquired, notes, radar.

        Empty for a model that was not read from a file.
        """
        return dict(self._origin)

    @property
    def refinement(self) -> tuple[str, dict[str, float]] | None:
        """Kind and parameters of the correction; None for a plain model."""
        found = self._model.refinement()
        if found is None:
            return None
        kind, names, values = found
        return kind.lower(), dict(zip(names, values, strict=True))

    @property
    def height_range(self) -> tuple[float, float]:
        """Lowest and highest height that the model was made for, metres."""
        record = self.to_dict()
        offset, scale = record["HEIGHT_OFF"], abs(record["HEIGHT_SCALE"])
        return offset - scale, offset + scale

    @property
    def image_box(self) -> tuple[float, float, float, float]:
        """First line, last line, first sample, last sample: pixel centres of the raster, or the model's own range."""
        if self.shape is not None:
            return 0.0, self.shape[0] - 1.0, 0.0, self.shape[1] - 1.0
        record = self.to_dict()
        line, lines = record["LINE_OFF"], abs(record["LINE_SCALE"])
        sample, samples = record["SAMP_OFF"], abs(record["SAMP_SCALE"])
        return line - lines, line + lines, sample - samples, sample + samples

    def __getstate__(self) -> tuple[bytes, str, dict[str, Any]]:
        """Models travel as XML, which holds every number bit for bit."""
        return self._model.xml(), self._name, self._origin

    def __setstate__(self, state: tuple[bytes, str, dict[str, Any]]) -> None:
        """Come back from `__getstate__`."""
        self._model = _core.Model.of_xml(state[0])
        self._name, self._origin = state[1:]

    def __eq__(self, other: object) -> bool:
        """Compare all numbers, bit for bit, and what stands beside them; names do not count."""
        if not isinstance(other, Model):
            return NotImplemented
        return self._model.xml() == other._model.xml()

    def __hash__(self) -> int:
        """Equal models have equal hashes."""
        return hash(self._model.xml())

    def __repr__(self) -> str:
        """One line: name, kind, middle, size."""
        record = self.to_dict()
        kind = "" if self.refinement is None else f", {self.refinement[0]} correction"
        size = "" if self.shape is None else f", {self.shape[0]} x {self.shape[1]} pixels"
        name = self._name or "unnamed"
        return f"<Model {name} at {record['LAT_OFF']:.4f}, {record['LONG_OFF']:.4f}{size}{kind}>"

    def _repr_html_(self) -> str:
        from .notebook import model_html

        return model_html(self)
