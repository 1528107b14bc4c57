"""Batches against one call a scenario, and on a cluster of worker processes."""

import json
import pickle
import signal
import threading
import tracemalloc

import numpy as np
import planloc
import pytest


@pytest.fixture
def problem():
    return planloc.Problem(np.random.default_rng(3).random((12, 2)), gauge="octagon")


def one_by_one(problem, rows, objectives, gauges):
    return [planloc.solve(problem.sites, weight=w, gauge=g, objective=o, whole_set=False)
            for w, o, g in zip(rows, objectives, gauges)]


def test_every_column_does_what_one_call_does(problem):
    k = 1027
    rows = np.random.default_rng(4).uniform(1, 2, (k, 12))
    objectives = [["median", "centre", "range"][i % 3] for i in range(k)]
    gauges = [["l1", "octagon"][i % 2] for i in range(k)]
    got = planloc.scenarios(problem, {"weight": rows, "objective": objectives, "gauge": gauges})
    some = slice(k - 200, k)  # the others are of the same kinds
    expected = one_by_one(problem, rows[some], objectives[some], gauges[some])
    assert got.values[some].tolist() == [a.value for a in expected]
    assert got.points[some].tolist() == [list(a.point) for a in expected]
    assert got.lower_bounds[some].tolist() == [a.lower_bound for a in expected]
    assert set(got.statuses) == {"optimal"}


def test_drawn_weights_are_the_same_whatever_the_threads(problem):
    draw = planloc.drawn(1500, spread=0.2, seed=5)
    one, two = (planloc.scenarios(problem, {"weight": draw}, threads=t) for t in (1, 2))
    assert np.array_equal(one.points, two.points) and np.array_equal(one.values, two.values)
    rows = draw.rows(problem)
    given = planloc.scenarios(problem, {"weight": rows})
    assert np.array_equal(given.points, one.points)
    assert np.array_equal(draw.rows(problem, 700, 3), rows[700:703])
    assert rows.min() >= 0.8 and rows.max() <= 1.2
    assert abs(rows.mean() - 1) < 0.005 and abs(rows.std() - 0.4 / 12**0.5) < 0.005
    assert not np.array_equal(planloc.drawn(1500, spread=0.2, seed=6).rows(problem), rows)


def test_regret_of_a_place(problem):
    draw = planloc.drawn(300, spread=0.5, seed=2)
    nominal = planloc.solve(problem).point
    runs = planloc.scenarios(problem, {"weight": draw}, at=nominal)
    distances = problem.distances(*nominal)
    assert runs.values_at == pytest.approx(draw.rows(problem) @ distances)
    assert (runs.regret >= -1e-12 * runs.values).all() and runs.regret.max() > 0
    again = pickle.loads(pickle.dumps(runs))
    assert np.array_equal(again.regret, runs.regret) and len(again.problem) == 12


def test_regions_of_the_problem_hold_in_every_scenario():
    lake = [(-9, -9), (0.4, -9), (0.4, 9), (-9, 9)]
    ashore = planloc.Problem(np.random.default_rng(3).random((12, 2)), forbid=lake)
    runs = planloc.scenarios(ashore, {"weight": planloc.drawn(200, spread=0.9)})
    assert set(runs.statuses) == {"optimal"} and runs.points[:, 0].min() == 0.4
    nowhere = planloc.Problem(ashore.sites, allow=[])
    runs = planloc.scenarios(nowhere, {"objective": ["median", "centre"]})
    assert set(runs.statuses) == {"infeasible"} and np.isnan(runs.points).all()


def test_numbers_of_depots_and_seeds(problem):
    runs = planloc.scenarios(problem, {"new": [1, 3, 2], "seed": 4}, bound=True, existing=[(0.5, 0.5)])
    assert runs.points.shape == (3, 3, 2)
    for k, new in enumerate((1, 3, 2)):
        alone = planloc.depots(problem, new=new, seed=4, bound=True, existing=[(0.5, 0.5)])
        assert np.array_equal(runs.points[k, :new], alone.points)
        assert np.isnan(runs.points[k, new:]).all()
        assert (runs.values[k], runs.lower_bounds[k]) == (alone.value, alone.lower_bound)
        assert runs.statuses[k] == alone.status
    assert np.isneginf(planloc.scenarios(problem, {"new": [2, 3]}).lower_bounds).all()


def test_rows_of_weights_are_read_where_they_are(problem):
    rows = np.ones((200_000, 12))
    tracemalloc.start()
    planloc.scenarios(problem, {"weight": rows})
    peak = tracemalloc.get_traced_memory()[1]
    tracemalloc.stop()
    assert rows.nbytes == 19_200_000 and peak < 9_000_000  # 33 bytes a scenario of answers


def test_arrays_of_answers_outlive_them():
    sites = np.random.default_rng(2).random((40, 2))
    shown = [planloc.depots(sites, new=9).points, planloc.solve(sites[:4], gauge="l1").optima]
    copies = [a.copy() for a in shown]
    again = [planloc.depots(sites + 1, new=9) for _ in range(20)]
    assert all(np.array_equal(a, b) and not a.flags.writeable for a, b in zip(shown, copies)), again


def test_a_problem_shows_its_own_numbers():
    sites = np.random.default_rng(1).random((5, 2))
    mine = planloc.Problem(sites)
    before = mine.sites.copy()
    sites[:] = 0
    assert np.array_equal(mine.sites, before) and mine.sites.base is not None
    for column in (mine.sites, mine.weight, mine.gauge_column):
        assert not column.flags.owndata
        with pytest.raises(ValueError, match="read-only"):
            column[0] = 1


def test_ctrl_c_ends_all_scenarios(problem):
    threading.Timer(0.3, signal.raise_signal, [signal.SIGINT]).start()
    with pytest.raises(KeyboardInterrupt):
        planloc.scenarios(problem, {"weight": planloc.drawn(10**8, spread=0.2)}, progress=True)


def test_progress_ends_with_all(problem, capsys):
    planloc.scenarios(problem, {"weight": planloc.drawn(100, spread=0.2)}, progress=True)
    assert capsys.readouterr().err.endswith("] 100 of 100\n")


def test_a_map_of_the_density(problem):
    runs = planloc.scenarios(problem, {"weight": planloc.drawn(500, spread=0.4)})
    squares = [f for f in json.loads(runs.to_geojson())["features"]
               if f["properties"]["kind"] == "density"]
    assert 1 < len(squares) == runs._repr_svg_().count("<rect") - 1
    assert "500" in runs._repr_html_() and repr(runs) == "Scenarios(500 scenarios: 500 optimal)"


@pytest.mark.parametrize("changes, text", [
    ({}, "same length"),
    ({"weight": [[1.0] * 12], "objective": ["median"] * 2}, "same length"),
    ({"weight": [[1.0] * 3]}, "12 entries"),
    ({"colour": [1]}, "colour"),
    ({"weight": np.vstack([np.ones((600, 12)), -np.ones((2, 12))])}, "scenario 600: weight of site 0"),
    ({"new": 3}, "same length"),
    ({"new": [-1]}, "whole numbers from 0"),
    ({"new": [1.5]}, "whole numbers from 0"),
    ({"new": [2**32 + 1]}, "whole numbers from 0"),
    ({"new": [1, 10**9]}, "must be at most 1000000"),
    ({"objective": "median"}, "an entry for each scenario"),
    ([1.0] * 12, "mapping"),
    ({"seed": [1]}, "new"),
    ({"new": [1], "objective": ["median"]}, "plain sum"),
    ({"new": [1, 0]}, "scenario 1: .*facility"),
])  # fmt: skip
def test_bad_changes(problem, changes, text):
    with pytest.raises(ValueError, match=text):
        planloc.scenarios(problem, changes)
