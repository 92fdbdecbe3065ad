"""Pictures (need matplotlib): footprints, residual arrows, maps of differences."""

from __future__ import annotations

from typing import Any

import numpy as np

from ._typing import Numbers
from .comparison import Comparison
from .model import Model
from .refining import RefineReport


def _axes(ax: Any) -> Any:
    if ax is not None:
        return ax
    from matplotlib import pyplot

    return pyplot.subplots(layout="constrained")[1]


def footprints(*models: Model, height: float | None = None, ax: Any = None) -> Any:
    """Draw the outlines of images on the ground.

    Parameters
    ----------
    models
        The models; their names are the labels.
    height
        Metres above the ellipsoid; the middle of each model's range without it.
    ax
        Axes to draw into; new ones without.

    Returns
    -------
    matplotlib.axes.Axes
        One degree of longitude is as long as it is on the ground.
    """
    ax = _axes(ax)
    middle = 0.0
    for model in models:
        ring = model.footprint(height)
        (line,) = ax.plot(ring.lon, ring.lat, label=model.name or None)
        ax.fill(ring.lon, ring.lat, color=line.get_color(), alpha=0.15)
        middle = float(ring.lat.mean())
    ax.set_aspect(1 / np.cos(np.radians(middle)))
    ax.set_xlabel("longitude, degrees")
    ax.set_ylabel("latitude, degrees")
    ax.ticklabel_format(useOffset=False)
    if any(model.name for model in models):
        ax.legend()
    return ax


def residual_arrows(line: Numbers, sample: Numbers, report: RefineReport, ax: Any = None) -> Any:
    """Draw the residuals of a correction where its points lie in the image, with a scale; bad points in red.

    Parameters
    ----------
    line, sample
        The measured image points, pixels.
    report
        What `refine` gave for them.
    ax
        Axes to draw into; new ones without.
    """
    ax = _axes(ax)
    lines, samples = np.ravel(line), np.ravel(sample)
    good = ~report.bad
    of_good = report.residuals_after[good]
    length = float(np.sqrt(np.mean(np.sum(of_good**2, axis=1)))) or 1.0
    reach = max(np.ptp(lines), np.ptp(samples), 1.0)
    scale = length / (0.08 * reach)  # an arrow of the usual length spans a twelfth of the picture
    for chosen, color, label in ((good, "tab:blue", "used"), (report.bad, "tab:red", "bad")):
        if not chosen.any():
            continue
        arrows = report.residuals_after[chosen]
        cap = np.minimum(1.0, 4 * length / np.maximum(np.hypot(*arrows.T), 1e-300))[:, None]  # long ones are cut
        arrows = arrows * cap
        ax.scatter(samples[chosen], lines[chosen], s=8, color=color, label=label)
        where, along = (samples[chosen], lines[chosen]), (arrows[:, 1], arrows[:, 0])
        quiver = ax.quiver(*where, *along, color=color, angles="xy", scale_units="xy", scale=scale)
        if color == "tab:blue":
            ax.quiverkey(quiver, 0.88, 1.03, length, f"{length:.2g} px", labelpos="E")
    ax.set_xlabel("sample, pixels")
    ax.set_ylabel("line, pixels")
    ax.set_aspect("equal")
    ax.margins(0.1)
    ax.invert_yaxis()
    ax.legend(loc="upper left", bbox_to_anchor=(0, 1.1), ncols=2, frameon=False)
    return ax


def error_map(comparison: Comparison, level: int = 0, ax: Any = None) -> Any:
    """Draw the distance between two models over the image.

    Parameters
    ----------
    comparison
        What `compare` gave.
    level
        Which of its heights.
    ax
        Axes to draw into; new ones without.
    """
    ax = _axes(ax)
    distance = comparison.distance[level]
    mesh = ax.pcolormesh(comparison.sample, comparison.line, distance, shading="nearest", vmin=0)
    ax.figure.colorbar(mesh, ax=ax, label="distance, pixels")
    ax.set_title(f"at {comparison.height[level]:.0f} m")
    ax.set_xlabel("sample, pixels")
    ax.set_ylabel("line, pixels")
    ax.set_aspect("equal")
    ax.invert_yaxis()
    return ax
