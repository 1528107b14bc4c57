"""Answers against brute force, and what happens to bad input, signals and pickles."""

import pickle
import signal
import threading

import numpy as np
import planloc
import pytest
from planloc import gauge, order


def brute_force(problem, rounds=40):
    """The least value on grids that close in on the best place so far."""
    centre, half = problem.sites.mean(axis=0), np.ptp(problem.sites, axis=0).max() + 1
    best = np.inf
    for _ in range(rounds):
        steps = half * np.linspace(-1, 1, 11)
        values = [(problem.value(centre[0] + x, centre[1] + y), x, y) for x in steps for y in steps]
        value, x, y = min(values)
        best, centre, half = min(best, value), centre + (x, y), half * 0.65
    return best


@pytest.mark.parametrize("distance", ["l1", "linf", "euclid", "octagon", "lp:1.5", "regular:5"])
@pytest.mark.parametrize("objective", ["median", "centre", "k-centrum:3", "cent-dian:0.3"])
def test_convex_answers_are_the_best_on_a_grid(distance, objective):
    random = np.random.default_rng(7)
    problem = planloc.Problem(random.random((9, 2)), random.uniform(1, 3, 9), distance,
                              objective=objective)
    answer = planloc.solve(problem)
    assert answer.status == "optimal"
    assert answer.value == pytest.approx(problem.value(*answer.point), rel=1e-12)
    found = brute_force(problem)
    assert answer.value <= found * (1 + 1e-12)
    assert answer.value == pytest.approx(found, rel=1e-4)
    assert planloc.verify(answer).gap <= 1e-9 * answer.value


def test_sites_with_gauges_of_their_own():
    own = [gauge.l1(), gauge.polygon([(3, 0), (-1, 2), (-1, -2)])]
    problem = planloc.Problem([(0, 0), (5, 1), (2, 4)], gauge=own, gauge_column=[0, 1, 1])
    place = (1.0, 2.0)
    expected = [own[k](place[0] - x, place[1] - y)
                for k, (x, y) in zip(problem.gauge_column, problem.sites)]
    assert problem.distances(*place) == pytest.approx(expected)
    assert planloc.solve(problem).value == pytest.approx(brute_force(problem), rel=1e-4)


def test_pickles_are_the_same_and_still_proved():
    for objective in ("median", "range", [-1.0, 0.0, 0.0]):
        sites = [(0, 0), (4, 1), (2, 5)]
        answer = planloc.solve(sites, gauge="octagon", objective=objective)
        again = pickle.loads(pickle.dumps(answer))
        assert (again.status, again.point, again.value) == (answer.status, answer.point, answer.value)
        assert again.direction == answer.direction
        assert planloc.verify(again).accepted == planloc.verify(answer).accepted
    assert not again.verify(planloc.Problem([(0, 0), (9, 9), (1, 3)])).accepted


@pytest.mark.parametrize("call, text", [
    (lambda: planloc.solve([(0, 0), (1, 1)], weight=[1, -2]), "weight of site 1 is -2"),
    (lambda: planloc.solve([]), "site"),
    (lambda: planloc.solve([(0, 0)], weight=[1, 2]), "one entry a site"),
    (lambda: planloc.solve([(0, 0)], gauge="l3"), "unknown gauge 'l3'"),
    (lambda: planloc.solve([(0, 0)], gauge="lp:0.5"), "0.5"),
    (lambda: planloc.solve([(0, 0)], objective="k-centrum"), "must be k-centrum:N"),
    (lambda: planloc.solve([(0, 0)], objective="k-centrum:3"), "3"),
    (lambda: planloc.solve([(0, 0)], objective="best"), "unknown objective 'best'"),
    (lambda: planloc.solve([(0, 0)], gauge_column=[-1]), "gauge_column"),
    (lambda: planloc.solve([(0, 0, 0)]), "shape"),
    (lambda: planloc.solve([(0, np.nan)]), "y of site 0 is nan"),
    (lambda: planloc.solve([(0, 0)], gap=-1), "gap is -1"),
    (lambda: planloc.solve([(0, 0)], time_limit="long"), "time_limit is 'long'"),
    (lambda: planloc.solve([(0, 0)], threads=1.5), "threads is 1.5"),
    (lambda: planloc.solve([(0, 0)], objective="centre", order_weights=[1]), "give one of them"),
    (lambda: planloc.solve([(0, 0)], order_weights=[1, 2]), "2 order weights for 1 site"),
    (lambda: gauge.polygon([(1, 0), (2, 0), (3, 1)]), "origin"),
    (lambda: gauge.l1()("a", 1), "x is 'a': must be a number"),
    (lambda: gauge.parse("regular:x"), "must be regular:N"),
    (lambda: gauge.parse("regular:12.5"), "n is '12.5': must be a whole number"),
    (lambda: gauge.parse("regular:1e400"), "must be regular:N"),
    (lambda: gauge.parse("speed:E=1,N=1,E=2"), "E is given twice"),
    (lambda: order.k_centrum(-1), "k is -1"),
    (lambda: planloc.Problem([(0, 0)]).value(0, None), "y is None"),
    (lambda: planloc.solve(7), "shape"),
    (lambda: planloc.solve([(0, 0)], weight=[1j]), "weight needs .*complex"),
    (lambda: planloc.solve([(0, 0)], weight=[10**400]), "weight needs .*too large"),
    (lambda: planloc.solve([(0, 0)], weight=np.ma.array([1.0], mask=[True])), "weight .*masked"),
    (lambda: planloc.solve([(0, 0)], gauge_column=[2**32]), "gauge_column needs whole numbers"),
    (lambda: planloc.solve([(0, 0)], progress=True), "progress is True"),
    (lambda: planloc.verify("optimal"), "'optimal' is no answer"),
])  # fmt: skip
def test_bad_input_is_a_value_error(call, text):
    with pytest.raises(ValueError, match=text):
        call()


def hard_problem():
    random = np.random.default_rng(1)
    weights = np.where(np.arange(1500) % 2, 1.0, -0.5)
    return planloc.Problem(random.random((1500, 2)), gauge="octagon", objective=weights)


def test_ctrl_c_stops_a_search():
    threading.Timer(0.3, signal.raise_signal, [signal.SIGINT]).start()
    with pytest.raises(KeyboardInterrupt):
        planloc.solve(hard_problem(), time_limit=60)


def test_limits_and_progress():
    seen = []
    answer = planloc.solve(hard_problem(), time_limit=0.5, progress=lambda *r: seen.append(r))
    assert answer.status == "stopped"
    assert answer.lower_bound < answer.value
    assert seen and all(value >= bound for value, bound, _ in seen)

    def refuse(*_):
        raise RuntimeError("enough")

    with pytest.raises(RuntimeError, match="enough"):
        planloc.solve(hard_problem(), time_limit=60, progress=refuse)


def test_searches_run_side_by_side():
    problems = [planloc.Problem(np.random.default_rng(k).random((50, 2))) for k in range(8)]
    alone = [planloc.solve(p).value for p in problems]
    together = [None] * len(problems)

    def work(k):
        together[k] = planloc.solve(problems[k]).value

    threads = [threading.Thread(target=work, args=(k,)) for k in range(len(problems))]
    for t in threads:
        t.start()
    for t in threads:
        t.join()
    assert together == alone


def test_gauges_from_speeds_and_files(tmp_path):
    roads = gauge.parse("speed:E=60,NE=90,N=60,W=60,S=60")
    assert roads(60, 0) == pytest.approx(1) and roads(90, 90) == pytest.approx(np.sqrt(2))
    assert len(roads.vertices) == 5
    file = tmp_path / "two.gauge"
    block = "begin {polygauge}\n2 0\n0 2\n-2 0\n0 -2\nend {polygauge}\n"
    file.write_text("begin {polygaugelist}\n" + 2 * block + "end {polygaugelist}\n")
    assert [g(1, 1) for g in gauge.read(file)] == [1, 1]
    by_file = planloc.solve([(0, 0), (4, 0), (1, 3)], gauge=str(file), gauge_column=[0, 1, 1])
    assert len(by_file.problem.gauge) == 2
    file.write_text(block.replace("0 2", "0 two"))
    with pytest.raises(ValueError, match="two.gauge:3:"):
        gauge.read(file)
    for bad in ("speed:E=60,W=60", "speed:E=0,N=1,S=1", "speed:up=3"):
        with pytest.raises(ValueError):
            gauge.parse(bad)


def test_words_are_those_of_the_tool(tmp_path):
    (tmp_path / "weights").write_text("0 0.5\n1\n")
    assert order.parse(f"weights:{tmp_path}/weights") == order.given([0, 0.5, 1])
    assert order.parse("center") == order.centre()
    assert gauge.parse("l2") == gauge.parse("euclidean") == gauge.euclid()
    assert gauge.parse("lp:inf") == gauge.linf()
    assert gauge.speeds(dict.fromkeys("ENWS", "2")) == gauge.parse("speed:E=2,N=2,W=2,S=2")
    assert gauge.regular(8) == gauge.octagon() and gauge.regular(4) == gauge.l1()


def test_order_weights_by_name():
    for text, expected in [("median", [1, 1, 1, 1]), ("range", [-1, 0, 0, 1]),
                           ("anti-centrum:2", [1, 1, 0, 0]), ("trimmed:1,1", [0, 1, 1, 0]),
                           ("cent-dian:0.5", [0.125, 0.125, 0.125, 0.625])]:
        assert order.parse(text).weights(4) == pytest.approx(expected)
