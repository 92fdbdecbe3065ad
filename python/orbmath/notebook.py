"""Models as notebooks show them: a table and the footprint as an inline picture."""

from __future__ import annotations

from html import escape
from typing import TYPE_CHECKING

import numpy as np

if TYPE_CHECKING:
    from .model import Model

_SIZE = 180.0


def _picture(model: Model) -> str:
    """Draw the footprint, north up, longitudes shrunk by the cosine of the latitude."""
    try:
        ring = model.footprint()
    except ValueError as error:
        return f"<p>{escape(str(error))}</p>"
    x = (ring.lon - ring.lon.mean()) * np.cos(np.radians(ring.lat.mean()))
    y = ring.lat.mean() - ring.lat
    scale = 0.9 * _SIZE / max(np.ptp(x), np.ptp(y))
    points = " ".join(
        f"{a:.1f},{b:.1f}"
        for a, b in zip(
            (x - (x.max() + x.min()) / 2) * scale + _SIZE / 2,
            (y - (y.max() + y.min()) / 2) * scale + _SIZE / 2,
            strict=True,
        )
    )
    return (
        f'<svg width="{_SIZE:.0f}" height="{_SIZE:.0f}" role="img" aria-label="footprint, north up">'
        f'<polygon points="{points}" fill="#4682b455" stroke="#4682b4" stroke-width="1.5"/></svg>'
    )


def model_html(model: Model) -> str:
    """Give the table and the picture."""
    record = model.to_dict()
    extras = model.extras
    low, high = model.height_range
    rows = [
        ("satellite", extras["satellite"]),
        ("band", extras["band"]),
        ("middle", f"{record['LAT_OFF']:.5f}°, {record['LONG_OFF']:.5f}°"),
        ("heights", f"{low:.0f} to {high:.0f} m"),
        ("image", None if model.shape is None else f"{model.shape[0]} lines × {model.shape[1]} samples"),
        ("correction", None if model.refinement is None else model.refinement[0]),
    ]
    cells = "".join(
        f"<tr><th style='text-align:left'>{name}</th><td style='text-align:left'>{escape(str(value))}</td></tr>"
        for name, value in rows
        if value
    )
    title = escape(model.name or "RPC model")
    return (
        f"<div style='display:flex;gap:1em;align-items:center'>{_picture(model)}"
        f"<table><caption style='text-align:left'><b>{title}</b></caption>{cells}</table></div>"
    )
