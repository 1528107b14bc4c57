"""Batches on a scheduler and worker processes of their own on the loopback address."""

import os
import signal
import threading
import time

import numpy as np
import planloc
import pytest
from planloc import batches, cluster as engine

distributed = pytest.importorskip("distributed")


@pytest.fixture
def cluster():
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, host="127.0.0.1",
                                  dashboard_address=None, silence_logs=50) as running:
        yield running


@pytest.fixture
def problem():
    weights = np.where(np.arange(8) % 3, 1.0, -0.25)  # slow enough to be interrupted
    return planloc.Problem(np.random.default_rng(3).random((8, 2)), gauge="octagon",
                           objective=weights)


def same(left, right):
    return (np.array_equal(left.points, right.points) and np.array_equal(left.values, right.values)
            and np.array_equal(left.lower_bounds, right.lower_bounds))


def test_a_worker_dies_and_another_joins_late(cluster, problem, monkeypatch):
    change = {"weight": planloc.drawn(400, spread=0.2, seed=1)}
    alone = planloc.scenarios(problem, change)
    done, under_way = [], []
    put = batches._Gathered.put

    def watch(self, first, part):
        put(self, first, part)
        done.append(first)
        if len(done) == 10:
            wait_for_a_new_worker()
        under_way.append(len(client.futures))

    def wait_for_a_new_worker():
        """So that there is work left for it: only a few chunks are under way."""
        end = time.monotonic() + 120
        while not set(client.scheduler_info()["workers"]) - set(first):
            assert time.monotonic() < end, "no worker joined"
            time.sleep(0.05)

    monkeypatch.setattr(batches._Gathered, "put", watch)
    with distributed.Client(cluster) as client:
        first = client.run(os.getpid)
        client.get_task_stream()  # from here on the scheduler notes who ran what

        def disturb():
            while len(done) < 5:
                time.sleep(0.01)
            os.kill(next(iter(first.values())), signal.SIGKILL)
            cluster.scale(3)

        side = threading.Thread(target=disturb)
        side.start()
        shared = planloc.scenarios(problem, change, client=client, chunk=5)
        side.join()
        ran_on = {task["worker"] for task in client.get_task_stream()}
    assert same(alone, shared)
    assert sorted(done) == list(range(0, 400, 5))
    assert max(under_way) <= engine.AHEAD * 3 + 1, "the client holds more than a few chunks a thread"
    assert ran_on - set(first), "the worker that joined got no work"
