"""Batches on a scheduler and worker processes of their own on the loopback address."""

import signal
import threading
import time
from concurrent.futures import CancelledError

import numpy as np
import planloc
import pytest
from loopback import Loopback
from planloc import batches, cluster

pytest.importorskip("distributed")


@pytest.fixture(scope="module")
def running(tmp_path_factory):
    with Loopback(tmp_path_factory.mktemp("dask"), workers=2) as started:
        yield started


@pytest.fixture
def problem():
    weights = np.where(np.arange(8) % 3, 1.0, -0.25)  # slow enough to be interrupted
    return planloc.Problem(np.random.default_rng(3).random((8, 2)), gauge="octagon",
                           objective=weights)


def same(left, right):
    return all(np.array_equal(a, b, equal_nan=True) for a, b in [
        (left.points, right.points), (left.values, right.values),
        (left.lower_bounds, right.lower_bounds), (left.status_codes, right.status_codes),
        (left.values_at, right.values_at)])  # fmt: skip


def test_every_column_travels(running, problem):
    plain = planloc.Problem(problem.sites, gauge="octagon")
    random = np.random.default_rng(4)
    batches_of = [
        (problem, {"weight": random.uniform(1, 2, (30, 8))}, {"at": (0.5, 0.5), "chunk": 7}),
        (plain, {"objective": ["median", "centre", "range"] * 7, "gauge": ["l1", "octagon", "euclid"] * 7},
         {"chunk": 4}),
        (plain, {"new": [1, 4, 2, 3, 1], "seed": range(5), "weight": random.uniform(1, 2, (5, 8))},
         {"bound": True, "existing": [(0.1, 0.1)]}),
        (plain, {"weight": planloc.drawn(10, spread=0.1)}, {}),
    ]  # fmt: skip
    with running.client() as client:
        for base, changes, options in batches_of:
            alone = planloc.scenarios(base, changes, **options)
            assert same(alone, planloc.scenarios(base, changes, client=client, **options))


def test_what_is_wrong_is_told_and_ends_all(running, problem):
    rows = np.ones((40, 8))
    rows[33, 2] = -1
    with running.client() as client:
        with pytest.raises(ValueError, match="scenario 33: weight of site 2 is -1"):
            planloc.scenarios(problem, {"weight": rows}, client=client, chunk=5)
        threading.Timer(1.0, signal.raise_signal, [signal.SIGINT]).start()
        with pytest.raises(KeyboardInterrupt):
            planloc.scenarios(problem, {"weight": planloc.drawn(10**6, spread=0.1)}, client=client,
                              chunk=5)
        end = time.monotonic() + 60
        while any(client.processing().values()):
            assert time.monotonic() < end, "chunks are left on the workers"
            time.sleep(0.1)


def test_chunks_that_the_engine_gives_up_are_sent_again(running, problem, monkeypatch):
    """As it does with all that need the problem when the last worker that has it dies."""
    change = {"weight": planloc.drawn(100, spread=0.2, seed=1)}
    put, done, given_up = batches._Gathered.put, [], []

    def watch(self, first, part):
        put(self, first, part)
        done.append(first)
        if len(done) in lost_after:
            waiting = [f for f in client.futures.values() if f.status == "pending"]
            given_up.append(len(waiting))
            for future in waiting:
                future.cancel()

    monkeypatch.setattr(batches._Gathered, "put", watch)
    with running.client() as client:
        lost_after = {3, 9}
        assert same(planloc.scenarios(problem, change),
                    planloc.scenarios(problem, change, client=client, chunk=5))
        assert sorted(done) == list(range(0, 100, 5))
        assert any(given_up)
        done.clear()
        lost_after = range(1, 100)
        with pytest.raises(CancelledError):
            planloc.scenarios(problem, change, client=client, chunk=5)


def test_a_hundred_thousand_chunks_need_no_room(running, monkeypatch):
    """The first five hundred of them: what would be kept for the others, or of those done, shows."""
    psutil = pytest.importorskip("psutil")
    processes = [psutil.Process(), psutil.Process(running.scheduler.pid)]
    put, sizes, done = batches._Gathered.put, [], []

    class Enough(Exception):
        pass

    def watch(self, first, part):
        put(self, first, part)
        done.append(first)
        if len(done) in (100, 500):
            sizes.append([p.memory_info().rss for p in processes])
        if len(done) == 500:
            raise Enough

    monkeypatch.setattr(batches._Gathered, "put", watch)
    change = {"weight": planloc.drawn(100_000, spread=0.2)}
    with running.client() as client, pytest.raises(Enough):
        planloc.scenarios(planloc.Problem([(0, 0), (1, 2)]), change, client=client, chunk=1)
    grown = np.diff(sizes, axis=0)[0] / 2**20
    assert (grown < 8).all(), grown


def test_a_worker_dies_and_another_joins_late(running, problem, monkeypatch):
    change = {"weight": planloc.drawn(400, spread=0.2, seed=1)}
    alone = planloc.scenarios(problem, change)
    done, under_way = [], []
    put = batches._Gathered.put

    def watch(self, first, part):
        put(self, first, part)
        done.append(first)
        if len(done) == 5:
            running.workers[0].kill()
        if len(done) == 10:
            running.add_worker()
            wait_for_a_new_worker()
        under_way.append(len(client.futures))

    def wait_for_a_new_worker():
        """So that there is work left for it: only a few chunks are under way."""
        end = time.monotonic() + 120
        while not set(client.scheduler_info()["workers"]) - first_workers:
            assert time.monotonic() < end, "no worker joined"
            time.sleep(0.05)

    monkeypatch.setattr(batches._Gathered, "put", watch)
    with running.client() as client:
        first_workers = set(client.scheduler_info()["workers"])
        client.get_task_stream()  # from here on the scheduler notes who ran what
        shared = planloc.scenarios(problem, change, client=client, chunk=5)
        ran_on = {task["worker"] for task in client.get_task_stream()}
    assert same(alone, shared)
    assert sorted(done) == list(range(0, 400, 5))
    assert max(under_way) <= cluster.AHEAD * 3 + 1, "the client holds more than a few chunks a thread"
    assert ran_on - first_workers, "the worker that joined got no work"
