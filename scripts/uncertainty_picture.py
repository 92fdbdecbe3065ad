#!/usr/bin/env python3
"""Draws docs/uncertainty.svg from what the tool says of two points: scripts/uncertainty_picture.py TOOL [OUT]."""

from __future__ import annotations

import json
import math
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
DATA = ROOT / "examples" / "data"
ERRORS = ["--uncertainty", "--sigma", "0.5", "--bias", "3", "--random", "0.3"]
SIZE, HALF = 400, 185  # of a panel, pixels
INK, GRAY, BLUE, RED, GREEN = "#222", "#999", "#1f5fa8", "#b5331f", "#2f7d32"


def run(tool: str, arguments: list[str], points: str) -> dict[str, float]:
    """Give the columns of one point."""
    answer = subprocess.run([tool, *arguments, "--json"], input=points, capture_output=True, text=True, check=True)
    return json.loads(answer.stdout)


def axes_of(xx: float, xy: float, yy: float) -> tuple[float, float, float]:
    """Half axes of a covariance's ellipse and the direction of the longer one, degrees."""
    mean, spread = (xx + yy) / 2, math.hypot((xx - yy) / 2, xy)
    direction = math.degrees(math.atan2(2 * xy, xx - yy)) / 2
    return math.sqrt(mean + spread), math.sqrt(max(mean - spread, 0.0)), direction


class Panel:
    """A square of metres with the true point in its middle."""

    def __init__(self, left: float, title: str, horizontal: str, vertical: str, metres: float) -> None:
        """Draw frame, axes and their names; `metres` is half of what the panel shows."""
        self.x, self.y, self.scale = left + SIZE / 2, 60 + SIZE / 2, HALF / metres
        self.parts = [
            f'<text x="{left + 10}" y="40" font-size="16" font-weight="bold">{title}</text>',
            f'<path d="M{self.x - HALF} {self.y}H{self.x + HALF}M{self.x} {self.y - HALF}V{self.y + HALF}" '
            f'stroke="{GRAY}" fill="none"/>',
            f'<text x="{self.x + HALF}" y="{self.y - 6}" text-anchor="end" fill="{GRAY}">{horizontal}</text>',
            f'<text x="{self.x + 6}" y="{self.y - HALF + 12}" fill="{GRAY}">{vertical}</text>',
        ]
        self.metres = metres

    def ellipse(self, covariance: tuple[float, float, float], color: str) -> None:
        """Draw the ellipse of standard deviations."""
        major, minor, direction = axes_of(*covariance)
        self.parts.append(
            f'<ellipse rx="{major * self.scale:.2f}" ry="{minor * self.scale:.2f}" fill="{color}" fill-opacity="0.15" '
            f'stroke="{color}" stroke-width="2" transform="translate({self.x} {self.y}) rotate({-direction:.2f})"/>'
        )

    def circle(self, radius: float, color: str, dash: str) -> None:
        """Draw a circle about the point."""
        self.parts.append(
            f'<circle cx="{self.x}" cy="{self.y}" r="{radius * self.scale:.2f}" fill="none" stroke="{color}" '
            f'stroke-width="2" stroke-dasharray="{dash}"/>'
        )

    def bar(self, height: float, color: str) -> None:
        """Draw a vertical interval about the point."""
        reach = height * self.scale
        self.parts.append(
            f'<path d="M{self.x - 12} {self.y - reach}h24m-12 0V{self.y + reach}m-12 0h24" stroke="{color}" '
            f'stroke-width="2" fill="none"/>'
        )

    def ticks(self) -> None:
        """Write metres on the horizontal axis, on top of the shapes."""
        step = 5 if self.metres < 25 else 10
        for tick in range(step, int(0.95 * self.metres) + 1, step):
            at = self.x + tick * self.scale
            self.parts.append(f'<path d="M{at} {self.y - 3}v6" stroke="{GRAY}"/>')
            self.parts.append(
                f'<text x="{at}" y="{self.y + 16}" text-anchor="middle" fill="{GRAY}" '
                f'stroke="white" stroke-width="4" paint-order="stroke">{tick} m</text>'
            )

    def legend(self, entries: list[tuple[str, str]]) -> None:
        """Write what the colours mean below the panel."""
        self.ticks()
        for row, (color, text) in enumerate(entries):
            y = self.y + HALF + 32 + 20 * row
            self.parts.append(f'<path d="M{self.x - HALF} {y - 4}h22" stroke="{color}" stroke-width="3"/>')
            self.parts.append(f'<text x="{self.x - HALF + 30}" y="{y}" fill="{INK}">{text}</text>')


def located(tool: str) -> list[str]:
    """Draw a point of one image at an uncertain height, seen from above."""
    arguments = ["locate", str(DATA / "pushbroom_left.RPB"), *ERRORS, "--height-sigma", "10"]
    point = run(tool, arguments, "5000 9000 400\n")
    panel = Panel(0, "locate --height-sigma 10, seen from above", "east", "north", 11)
    panel.ellipse((point["cov_ee"], point["cov_en"], point["cov_nn"]), BLUE)
    panel.circle(point["ce90"], RED, "none")
    panel.circle(point["ce95"], RED, "7 5")
    panel.legend(
        [
            (BLUE, "standard deviations: cov_ee, cov_en, cov_nn"),
            (RED, f"ce90 = {point['ce90']:.1f} m; dashed ce95 = {point['ce95']:.1f} m"),
            (GRAY, "long along the line of sight's foot: the height's error"),
        ]
    )
    return panel.parts


def intersected(tool: str) -> list[str]:
    """Draw a point of the pair from the south."""
    models = [str(DATA / "pushbroom_left.RPB"), str(DATA / "pushbroom_right.RPB")]
    ground = "47.3256225333 8.4903452992 400\n"
    seen = [run(tool, ["project", model], ground) for model in models]
    measured = " ".join(f"{image['line']} {image['sample']}" for image in seen)
    point = run(tool, ["intersect", *models, *ERRORS, "--bias-correlation", "0.5"], measured + "\n")
    panel = Panel(SIZE + 20, "intersect, seen from the south", "east", "up", 15)
    panel.ellipse((point["cov_ee"], point["cov_eu"], point["cov_uu"]), BLUE)
    panel.bar(point["le90"], GREEN)
    panel.legend(
        [
            (BLUE, "standard deviations: cov_ee, cov_eu, cov_uu"),
            (GREEN, f"le90 = {point['le90']:.1f} m up and down"),
            (GRAY, f"its ce90, from above, is {point['ce90']:.1f} m"),
        ]
    )
    return panel.parts


def main() -> None:
    """Write the picture."""
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    out = Path(sys.argv[2]) if len(sys.argv) > 2 else ROOT / "docs" / "uncertainty.svg"
    width, height = 2 * SIZE + 20, SIZE + 150
    lines = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" viewBox="0 0 {width} {height}" '
        'font-family="sans-serif" font-size="13">',
        f'<rect width="{width}" height="{height}" fill="white"/>',
        *located(sys.argv[1]),
        *intersected(sys.argv[1]),
        "</svg>",
    ]
    out.write_text("\n".join(lines) + "\n", encoding="utf-8")


if __name__ == "__main__":
    main()
