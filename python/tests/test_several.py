"""Trade-offs and several facilities against brute force."""

import itertools
import pickle

import numpy as np
import planloc
import pytest

SITES = np.random.default_rng(11).random((7, 2))


def test_the_efficient_set_is_undominated_and_ends_at_the_optima():
    weights = np.random.default_rng(12).uniform(0.5, 3, (2, 7))
    chain = pickle.loads(pickle.dumps(planloc.compare(SITES, weights=weights, gauge="octagon")))
    assert chain.status == "complete" and chain.verify()
    criteria = [planloc.Problem(SITES, w, "octagon") for w in weights]
    for end, problem in ((0, criteria[0]), (-1, criteria[1])):
        best = planloc.solve(problem).value
        assert chain.pieces[end].values[:, end].min() == pytest.approx(best, rel=1e-12)
    grid = [(p.value(x, y), q.value(x, y)) for p, q in [criteria]
            for x, y in itertools.product(np.linspace(0, 1, 40), repeat=2)]
    for f1, f2 in np.vstack([piece.values for piece in chain.pieces]):
        assert not any(a < f1 - 1e-12 and b < f2 - 1e-12 for a, b in grid)
    assert (np.diff(chain.curve[:, 0]) > 0).all() and (np.diff(chain.curve[:, 1]) < 0).all()


@pytest.mark.parametrize("distance, objective", [
    ("euclid", "median"), ("octagon", ("median", "centre")), ("lp:3", "cent-dian:0.4"),
])  # fmt: skip
def test_no_place_beats_a_polyline_by_more_than_its_distance(distance, objective):
    weights = np.random.default_rng(15).uniform(0.5, 3, (2, 7))
    line = planloc.compare(SITES, weights=weights, gauge=distance, objective=objective, gap=0.01)
    line = pickle.loads(pickle.dumps(line))
    checked = line.verify()
    assert checked and line.status == "within_gap"
    assert 0 < checked.gap <= line.distance <= 0.01
    both = objective if isinstance(objective, tuple) else (objective, objective)
    criteria = [planloc.Problem(SITES, w, distance, objective=o) for w, o in zip(weights, both)]
    assert line.curve[0] == pytest.approx([p.value(*line.pieces[0].corners[0]) for p in criteria])
    slack = 0.011 * np.abs(line.curve[-1] - line.curve[0])
    for x, y in itertools.product(np.linspace(0, 1, 25), repeat=2):
        f = np.array([p.value(x, y) for p in criteria]) + slack
        along = np.interp(f[0], line.curve[:, 0], line.curve[:, 1], left=np.inf)
        assert along <= f[1]


@pytest.mark.parametrize("distance", ["euclid", "l1"])
def test_two_depots_are_the_best_of_all_partitions(distance):
    found = planloc.depots(SITES, new=2, gauge=distance, bound=True, gap=1e-3)
    parts = (np.array(part, bool) for part in itertools.product([0, 1], repeat=7))
    best = min(sum(planloc.solve(SITES[side], gauge=distance).value for side in (p, ~p) if side.any())
               for p in parts)
    assert found.value == pytest.approx(best, rel=1e-9)
    assert found.lower_bound <= best * (1 + 1e-12) and found.gap <= 1e-3
    again = pickle.loads(pickle.dumps(found))
    assert again.verify() and again.assignment.tolist() == found.assignment.tolist()


@pytest.mark.parametrize("count, bend, new, gauge, part", [(40, 3, 6, "l1", 7), (50, 13, 4, "euclid", 8), (50, 13, 2, "l1", 9)])
def test_a_bound_by_triples_cases_or_pairs_outlives_a_pickle(count, bend, new, gauge, part):
    sites = [((i * 37 + bend * i * i) % 101, (i * 59 + 2 * bend * i * i) % 97) for i in range(count)]
    found = planloc.depots(sites, new=new, gauge=gauge, bound=True, gap=1e-4)
    priced = found.solution.__getstate__()[part]
    assert priced and found.gap <= 1e-4
    again = pickle.loads(pickle.dumps(found))
    assert again.verify() and repr(again.solution.__getstate__()[part]) == repr(priced)


def loaded(solution, state):
    again = type(solution).__new__(type(solution))
    again.__setstate__(state)
    return again


def test_pickles_without_the_last_fields_are_still_proved():
    search = planloc.solve(SITES, gauge="octagon", objective="trimmed:1,1")
    state = search.solution.__getstate__()
    for fields in (5, 6):
        earlier = (*state[:9], state[9][:fields], *state[10:])
        assert planloc.Answer(search.problem, loaded(search.solution, earlier)).verify().gap == 0
    found = planloc.depots(SITES, new=3, gauge="l1", bound=True, gap=1e-3)
    earlier = loaded(found.solution, found.solution.__getstate__()[:7])
    assert planloc.Depots(found.problem, found.existing, earlier).verify()


@pytest.mark.parametrize("make", [
    lambda: planloc.solve(SITES), lambda: planloc.solve(SITES, objective="range"),
    lambda: planloc.solve(SITES, order_weights=[-1] * 7), lambda: planloc.depots(SITES, new=2),
    lambda: planloc.solve(SITES, forbid=[(0, 0), (1, 0), (1, 1), (0, 1)]),
    lambda: planloc.compare(SITES, weights=np.ones((2, 7)), gauge="l1"),
    lambda: planloc.compare(SITES, weights=np.ones((2, 7))),
    lambda: planloc.tied(SITES, share=np.ones((2, 7)), flow=np.ones((2, 2))),
])  # fmt: skip
def test_pickles_that_this_version_cannot_read_name_it(make):
    solution = make().solution
    state = solution.__getstate__()
    text = f"was pickled by a version of planloc that {planloc.__version__} cannot read: "
    more = [i for i, field in enumerate(state) if isinstance(field, tuple) and isinstance(field[0], str)]
    spoiled = [(*state, 1), (99, *state[1:]), (-1, *state[1:])]
    spoiled += [(*state[:i], (*state[i], 1), *state[i + 1 :]) for i in more]
    for other in spoiled:
        with pytest.raises(ValueError, match=text + "it"):
            loaded(solution, other)


def test_a_problem_of_a_version_that_had_no_regions_is_refused():
    with pytest.raises(ValueError, match=f"a Problem was pickled .* {planloc.__version__} cannot"):
        planloc.Problem.__new__(planloc.Problem).__setstate__({"sites": SITES})


def test_existing_depots_serve_too():
    found = planloc.depots([(0, 0), (1, 0), (9, 9), (9, 8)], new=1, existing=[(0.0, 0.0)])
    assert found.value == pytest.approx(2) and found.assignment.tolist() == [1, 1, 0, 0]


@pytest.mark.parametrize("distance", ["l1", "octagon", "euclid"])
def test_tied_facilities(distance):
    share = np.random.default_rng(13).uniform(0, 1, (2, 7))
    answer = planloc.tied(SITES, share=share, flow=[[0, 0.7], [0, 0]], gauge=distance)
    assert answer.status == "optimal" and pickle.loads(pickle.dumps(answer)).verify()
    ball = planloc.gauge.parse(distance)

    def value(at):
        own = sum(planloc.Problem(SITES, share[j], distance).value(*at[j]) for j in range(2))
        return own + 0.7 * ball(*(at[0] - at[1]))

    assert answer.value == pytest.approx(value(answer.points), rel=1e-12)
    random = np.random.default_rng(14)
    for size in np.geomspace(1e-6, 0.3, 60):
        assert value(answer.points + size * random.normal(size=(2, 2))) >= answer.value * (1 - 1e-12)


@pytest.mark.parametrize("call, text", [
    (lambda: planloc.compare(SITES, weights=[np.ones(7)]), "two columns"),
    (lambda: planloc.compare(SITES, weights="people"), "two columns"),
    (lambda: planloc.compare(SITES, weights=np.ones((2, 7)), gauge=3), "3 is no gauge"),
    (lambda: planloc.compare(SITES, weights=np.ones((2, 7)), gap=0), "tolerance"),
    (lambda: planloc.compare(SITES, weights=np.ones((2, 7)), objective="range"), "order weight"),
    (lambda: planloc.depots(planloc.Problem(SITES, objective="centre"), new=2), "median"),
    (lambda: planloc.depots(planloc.Problem(SITES, forbid=SITES[:3]), new=2), "regions"),
    (lambda: planloc.depots(planloc.Problem(SITES), new=2, weight=np.ones(7)), "weight is given"),
    (lambda: planloc.depots(SITES, new=-1), "new is -1"),
    (lambda: planloc.depots(SITES, new=1, existing=[(1, 2, 3)] * 2), "existing"),
    (lambda: planloc.depots(SITES, new=0), "facility"),
    (lambda: planloc.tied(SITES, share=np.ones((2, 3)), flow=np.zeros((2, 2))), "7 entries"),
    (lambda: planloc.tied(SITES, share=np.ones((2, 7)), flow=np.zeros((3, 3))), "2 in all"),
])  # fmt: skip
def test_bad_input_is_a_value_error(call, text):
    with pytest.raises(ValueError, match=text):
        call()
