"""The tutorial runs from its first cell to its last."""

from pathlib import Path

import pytest


def test_the_tutorial_runs(tmp_path):
    nbformat = pytest.importorskip("nbformat")
    nbclient = pytest.importorskip("nbclient")
    pytest.importorskip("ipykernel")
    pytest.importorskip("matplotlib")
    path = Path(__file__).resolve().parents[1] / "notebooks" / "tutorial.ipynb"
    notebook = nbformat.read(path, as_version=4)
    nbclient.NotebookClient(notebook, timeout=120, resources={"metadata": {"path": path.parent}}).execute()
    outputs = [output for cell in notebook.cells if cell.cell_type == "code" for output in cell.outputs]
    assert not [output for output in outputs if output.output_type == "error"]
    pictures = [output for output in outputs if "image/png" in output.get("data", {})]
    assert len(pictures) >= 3
