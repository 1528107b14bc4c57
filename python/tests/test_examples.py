"""The worked examples, as scripts and as notebooks."""

import importlib.util
import json
import runpy
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest

FOLDER = Path(__file__).parents[2] / "examples" / "python"
pytest.importorskip("geopandas")
pyplot = pytest.importorskip("matplotlib.pyplot")


@pytest.fixture(autouse=True)
def without_a_screen():
    pyplot.switch_backend("agg")
    yield
    pyplot.close("all")


def test_weights_that_are_uncertain():
    said = runpy.run_path(FOLDER / "uncertain_weights.py")
    runs, nominal = said["runs"], said["nominal"]
    assert set(runs.statuses) == {"optimal"} and len(runs) == 20_000
    assert (runs.regret >= -1e-9 * runs.values).all()
    # The nominal place is best amid the forecasts: its regret is of second order.
    assert runs.regret.mean() < 0.01 * runs.values.mean()
    assert np.hypot(*(runs.points.mean(axis=0) - nominal.point)) < 2000


def test_value_against_the_number_of_depots():
    said = runpy.run_path(FOLDER / "how_many_depots.py")
    runs = said["runs"]
    assert len(runs) == 20 and (np.diff(runs.values) < 0).all()
    gaps = (runs.values - runs.lower_bounds) / runs.values
    assert (gaps >= 0).all() and gaps.max() <= 1e-4


def test_notebooks_are_their_scripts():
    subprocess.run([sys.executable, FOLDER / "notebooks.py", "--check"], check=True)


@pytest.mark.parametrize("name", ["uncertain_weights", "how_many_depots"])
def test_notebooks_run(name, tmp_path):
    for module in ("nbconvert", "ipykernel"):
        if importlib.util.find_spec(module) is None:
            pytest.skip(f"{module} is not installed: jupyter-nbconvert, python3-ipykernel")
    subprocess.run([sys.executable, "-m", "jupyter", "nbconvert", "--execute", "--to", "notebook",
                    "--output-dir", tmp_path, FOLDER / f"{name}.ipynb"],
                   check=True, stderr=subprocess.PIPE)  # fmt: skip
    cells = json.loads((tmp_path / f"{name}.ipynb").read_text())["cells"]
    shown = {kind for cell in cells for out in cell.get("outputs", []) for kind in out.get("data", {})}
    assert {"text/html", "image/svg+xml", "image/png"} <= shown
