#!/usr/bin/env python3
"""Times the tool on many model files at once: `check` and `pairs` beside `info` of the same files.

    python3 benchmarks/many_models.py TOOL MODEL [COUNT]

TOOL is the built orbmath, MODEL a model file of any form, COUNT the number of models (default 1000) that are made of
it: once spread over a region of 40 by 40 degrees, as an archive is, and once stacked over one place, where every pair
overlaps. Each model is moved and its line of sight turned a little. Figures are seconds of whole processes, the best of
three.
"""

import json
import random
import subprocess
import sys
import tempfile
import time
from pathlib import Path

FIELDS = ("LINE", "SAMP", "LAT", "LONG", "HEIGHT")


def variants(text: str, count: int, spread: float, seed: int) -> list[str]:
    """Models of a text file, moved by up to `spread` degrees and tilted by up to half a pixel a metre."""
    numbers = dict(line.split(":", 1) for line in text.splitlines() if ":" in line)
    value = {key.strip(): float(rest.split()[0]) for key, rest in numbers.items()}
    rng = random.Random(seed)
    models = []
    for _ in range(count):
        moved = dict(value)
        moved["LAT_OFF"] += spread * rng.uniform(-1, 1)
        moved["LONG_OFF"] += spread * rng.uniform(-1, 1)
        for key in ("LINE_NUM_COEFF_4", "SAMP_NUM_COEFF_4"):
            moved[key] += rng.uniform(-0.02, 0.02)
        models.append("".join(f"{key}: {number:.15g}\n" for key, number in moved.items()))
    return models


def best(command: list[str], log: Path) -> float:
    """Seconds of the fastest of three runs; the output goes to a file."""
    seconds = []
    for _ in range(3):
        with log.open("w") as out:
            begin = time.perf_counter()
            subprocess.run(command, stdout=out, stderr=subprocess.PIPE, check=False)
            seconds.append(time.perf_counter() - begin)
    return min(seconds)


def main() -> None:
    """Make the models, run the commands, print a table."""
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    tool, model = (str(Path(name).resolve()) for name in sys.argv[1:3])
    count = int(sys.argv[3]) if len(sys.argv) > 3 else 1000
    text = subprocess.run(
        [tool, "convert", model, "-", "--to", "text"], capture_output=True, text=True, check=True
    ).stdout
    with tempfile.TemporaryDirectory() as folder:
        for name, spread in (("spread", 20.0), ("stacked", 0.002)):
            files = []
            for i, content in enumerate(variants(text, count, spread, 1)):
                files.append(Path(folder) / f"{name}{i:05}_RPC.TXT")
                files[-1].write_text(content)
            paths = [str(path) for path in files]
            log = Path(folder) / "log"
            info = best([tool, "info", "--json", *paths], log)
            check = best([tool, "check", "--json", *paths], log)
            fit = sum(json.loads(line).get("fit", False) for line in log.read_text().splitlines())
            pairs = best([tool, "pairs", *paths], log)
            lines = len(log.read_text().splitlines()) - 1
            print(f"{name}: {count} models: info {info:.2f} s")
            print(f"  check {check:.2f} s, {fit} fit: {info / check:.1f} times as fast as info")
            possible = count * (count - 1) // 2
            print(f"  pairs {pairs:.2f} s, {lines} of {possible} pairs overlap, {lines / pairs:.0f} a second")


if __name__ == "__main__":
    main()
