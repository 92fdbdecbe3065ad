"""What the tests share: the simulated pair that ships with the project, and the folder of real files."""

import os
from pathlib import Path

import pytest

import orbmath

EXAMPLES = Path(__file__).resolve().parents[2] / "examples" / "data"


@pytest.fixture(scope="session")
def left() -> orbmath.Model:
    return orbmath.Model.open(EXAMPLES / "pushbroom_left.RPB")


@pytest.fixture(scope="session")
def right() -> orbmath.Model:
    return orbmath.Model.open(EXAMPLES / "pushbroom_right.RPB")


@pytest.fixture(scope="session")
def real_files() -> Path:
    """The folder of real models with values that other programs computed."""
    folder = os.environ.get("ORBMATH_TEST_DATA")
    if not folder:
        pytest.skip("ORBMATH_TEST_DATA names no folder of real models")
    return Path(folder)
