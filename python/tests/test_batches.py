"""Batches against one call a scenario, and on a cluster of worker processes."""

import numpy as np
import planloc
import pytest
from planloc import batches


@pytest.fixture
def problem():
    return planloc.Problem(np.random.default_rng(3).random((12, 2)), gauge="octagon")


def one_by_one(problem, rows, objectives, gauges):
    return [planloc.solve(problem.sites, weight=w, gauge=g, objective=o, whole_set=False)
            for w, o, g in zip(rows, objectives, gauges)]


def test_every_column_does_what_one_call_does(problem):
    k = 2 * batches.CHUNK + 3
    rows = np.random.default_rng(4).uniform(1, 2, (k, 12))
    objectives = [["median", "centre", "range"][i % 3] for i in range(k)]
    gauges = [["l1", "octagon"][i % 2] for i in range(k)]
    got = planloc.scenarios(problem, {"weight": rows, "objective": objectives, "gauge": gauges})
    some = slice(k - 200, k)
    expected = one_by_one(problem, rows[some], objectives[some], gauges[some])
    assert got.values[some].tolist() == [a.value for a in expected]
    assert got.points[some].tolist() == [list(a.point) for a in expected]
    assert got.lower_bounds[some].tolist() == [a.lower_bound for a in expected]
    assert set(got.statuses) == {"optimal"}


def test_drawn_weights_are_the_same_whatever_the_threads(problem):
    change = {"weight": planloc.drawn(1500, spread=0.2, seed=5)}
    one, two = (planloc.scenarios(problem, change, threads=t) for t in (1, 2))
    assert np.array_equal(one.points, two.points) and np.array_equal(one.values, two.values)
    nominal = planloc.solve(problem).value
    assert 0.8 * nominal <= one.values.min() < nominal < one.values.max() <= 1.2 * nominal


@pytest.mark.parametrize("changes, text", [
    ({}, "same length"),
    ({"weight": [[1.0] * 12], "objective": ["median"] * 2}, "same length"),
    ({"weight": [[1.0] * 3]}, "12 entries"),
    ({"colour": [1]}, "colour"),
    ({"weight": np.vstack([np.ones((600, 12)), -np.ones((2, 12))])}, "scenario 600: weight of site 0"),
])  # fmt: skip
def test_bad_changes(problem, changes, text):
    with pytest.raises(ValueError, match=text):
        planloc.scenarios(problem, changes)
