"""The ninety numbers of a model under the names that other software gives them."""

from __future__ import annotations

import re
from collections.abc import Mapping
from typing import Any

AXES = ("LINE", "SAMP", "LAT", "LONG", "HEIGHT")
LISTS = ("LINE_NUM_COEFF", "LINE_DEN_COEFF", "SAMP_NUM_COEFF", "SAMP_DEN_COEFF")

#: rpcm's names: rows are lines, columns samples, altitude is height.
_RPCM = {
    "row_offset": "LINE_OFF",
    "col_offset": "SAMP_OFF",
    "lat_offset": "LAT_OFF",
    "lon_offset": "LONG_OFF",
    "alt_offset": "HEIGHT_OFF",
    "row_scale": "LINE_SCALE",
    "col_scale": "SAMP_SCALE",
    "lat_scale": "LAT_SCALE",
    "lon_scale": "LONG_SCALE",
    "alt_scale": "HEIGHT_SCALE",
    "row_num": "LINE_NUM_COEFF",
    "row_den": "LINE_DEN_COEFF",
    "col_num": "SAMP_NUM_COEFF",
    "col_den": "SAMP_DEN_COEFF",
}

_NUMBERED = re.compile(r"^((?:LINE|SAMP)_(?:NUM|DEN)_COEFF)_(\d+)$")


def _number(key: str, value: Any) -> float:
    """Read a number that may carry a unit behind it, as in "+0.5 pixels"."""
    try:
        return float(value.split()[0]) if isinstance(value, str) else float(value)
    except (ValueError, TypeError, IndexError):
        raise ValueError(f"{key}: {value!r} is no number") from None


def _numbers(key: str, value: Any) -> list[float]:
    parts = value.split() if isinstance(value, str) else value
    return [_number(key, part) for part in parts]


def normalize(mapping: Mapping[str, Any]) -> tuple[dict[str, Any], dict[str, float | None]]:
    """Bring a mapping to the names LINE_OFF ... SAMP_DEN_COEFF.

    Parameters
    ----------
    mapping
        Keys in any case as rasterio and GDAL have them (lists as sequences, as one text, or as LINE_NUM_COEFF_1 ...),
        or as rpcm has them.

    Returns
    -------
    tuple
        The record, and {"bias_error", "random_error"} in metres, None where the mapping has none.
    """
    record: dict[str, Any] = {}
    numbered: dict[str, dict[int, float]] = {}
    errors: dict[str, float | None] = {"bias_error": None, "random_error": None}
    for original, value in mapping.items():
        key = _RPCM.get(original, original.upper())
        if key in ("ERR_BIAS", "ERR_RAND"):
            # A negative error stands for an unknown one (GeoTIFF tag 50844).
            error = None if value is None else _number(key, value)
            name = "bias_error" if key == "ERR_BIAS" else "random_error"
            errors[name] = error if error is not None and error >= 0 else None
        elif key in LISTS:
            record[key] = _numbers(key, value)
        elif match := _NUMBERED.match(key):
            numbered.setdefault(match[1], {})[int(match[2])] = _number(key, value)
        elif key.removesuffix("_OFF") in AXES or key.removesuffix("_SCALE") in AXES:
            record[key] = _number(key, value)
    for key, values in numbered.items():
        record[key] = [values[i] for i in sorted(values)]
    return record, errors
