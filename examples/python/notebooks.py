#!/usr/bin/env python3
"""Makes the notebooks of this folder from the scripts beside them, whose cells begin with `# %%`.

    examples/python/notebooks.py [--check | --pictures FOLDER]

--check writes nothing and fails if a notebook is not what its script says. --pictures runs the scripts and draws
the figure of each as FOLDER/name.svg.
"""
import json
import os
import re
import runpy
import sys
from pathlib import Path


def cell(kind, text, number):
    made = {"cell_type": kind, "id": f"cell-{number}", "metadata": {}, "source": text.splitlines(True)}
    return made | ({"execution_count": None, "outputs": []} if kind == "code" else {})


def notebook(script):
    cells = []
    for number, part in enumerate(re.split(r"^# %%", script, flags=re.MULTILINE)[1:]):
        head, _, body = part.partition("\n")
        if "markdown" in head:
            text = re.sub(r"^# ?", "", body.strip(), flags=re.MULTILINE)
            cells.append(cell("markdown", text, number))
        else:
            cells.append(cell("code", body.strip(), number))
    kernel = {"display_name": "Python 3", "language": "python", "name": "python3"}
    made = {"cells": cells, "metadata": {"kernelspec": kernel, "language_info": {"name": "python"}},
            "nbformat": 4, "nbformat_minor": 5}
    return json.dumps(made, indent=1, ensure_ascii=False) + "\n"


def scripts():
    folder = Path(__file__).parent
    return [s for s in sorted(folder.glob("*.py")) if s.read_text().startswith("# %%")]


def check():
    stale = [s.name for s in scripts()
             if s.with_suffix(".ipynb").read_text() != notebook(s.read_text())]
    if stale:
        sys.exit(f"run examples/python/notebooks.py: changed since were {', '.join(stale)}")


def draw(folder):
    os.environ["MPLBACKEND"] = "svg"
    import matplotlib

    matplotlib.rcParams.update({"svg.fonttype": "none", "svg.hashsalt": "planloc"})
    for script in scripts():
        figure = runpy.run_path(str(script))["figure"]
        name = Path(folder) / (script.stem.replace("_", "-") + ".svg")
        figure.savefig(name, metadata={"Date": None})


if __name__ == "__main__":
    match sys.argv[1:]:
        case []:
            for script in scripts():
                script.with_suffix(".ipynb").write_text(notebook(script.read_text()))
        case ["--check"]:
            check()
        case ["--pictures", folder]:
            draw(folder)
        case _:
            sys.exit(__doc__)
