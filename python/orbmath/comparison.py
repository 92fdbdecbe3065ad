"""How two models differ."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np

from ._typing import Doubles
from .model import Model


@dataclass(frozen=True, eq=False)
class Comparison:
    """Differences of the projections of two models over the image of the first, second minus first.

    Attributes
    ----------
    line, sample
        Where the first model's grid lies in the image, pixels, shape (n,).
    height
        The heights that were compared, metres, shape (m,).
    d_line, d_sample
        Pixels, shape (m, n, n): height, line, sample; NaN where a point has no ground point.
    identical
        True when all numbers of both models are the same bits.
    """

    line: Doubles
    sample: Doubles
    height: Doubles
    d_line: Doubles
    d_sample: Doubles
    identical: bool

    @property
    def distance(self) -> Doubles:
        """Length of the differences, pixels, shape (m, n, n)."""
        return np.hypot(self.d_line, self.d_sample)

    @property
    def rms(self) -> float:
        """Root mean square distance, pixels."""
        return float(np.sqrt(np.nanmean(self.distance**2)))

    @property
    def maximum(self) -> float:
        """Largest distance, pixels."""
        return float(np.nanmax(self.distance))

    def __repr__(self) -> str:
        """One line with rms and maximum."""
        return f"<Comparison rms {self.rms:.6g} px, maximum {self.maximum:.6g} px, identical {self.identical}>"


def compare(first: Model, second: Model, points: int = 21, heights: int = 3) -> Comparison:
    """Project the ground of the first model's image by both models.

    Parameters
    ----------
    first, second
        The models; the grid lies in the image of `first`, over its height range.
    points
        Grid points along each side.
    heights
        Levels from the lowest to the highest height; 1 is the middle.
    """
    box = first.image_box
    line = np.linspace(box[0], box[1], points)
    sample = np.linspace(box[2], box[3], points)
    low, high = first.height_range
    height = np.linspace(low, high, heights) if heights > 1 else np.array([(low + high) / 2])
    ground = first.locate(line[:, None], sample[None, :], height[:, None, None])
    ours = first.project(ground.lat, ground.lon, height[:, None, None])
    theirs = second.project(ground.lat, ground.lon, height[:, None, None])
    return Comparison(line, sample, height, theirs[0] - ours[0], theirs[1] - ours[1], first == second)
