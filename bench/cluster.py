#!/usr/bin/env python3
"""planloc.scenarios on a scheduler and workers of Dask as processes of this machine; needs python3-distributed
and python3-psutil.

    PYTHONPATH=build/release/python bench/cluster.py

First the same scenarios on 1, 2 and 4 workers of one thread each, beside one thread without Dask; then a tenth of
10^5 tasks that are planned, of one scenario each: their cost and the memory of client and scheduler.
"""
import contextlib
import os
import sys
import tempfile
import time
from pathlib import Path

import numpy as np
import planloc
import psutil
from planloc import batches

sys.path.insert(0, str(Path(__file__).parents[1] / "python" / "tests"))
from loopback import Loopback  # noqa: E402

PROBLEM = planloc.Problem(np.random.default_rng(1).random((100, 2)), gauge="octagon")
SCENARIOS = 40 * 4096
TASKS = 100_000


def processors(pid):
    t = psutil.Process(pid).cpu_times()
    return t.user + t.system


def timed(pids, call):
    """Seconds of the clock and of the processors that each process used."""
    before, start = [processors(p) for p in pids], time.perf_counter()
    call()
    clock = time.perf_counter() - start
    return clock, [processors(p) - b for p, b in zip(pids, before)]


def efficiency():
    change = {"weight": planloc.drawn(SCENARIOS, spread=0.2)}
    print("workers   clock  times one thread   processors: workers  client  scheduler")
    for workers in (1, 2, 4):
        with tempfile.TemporaryDirectory() as folder, Loopback(folder, workers) as running:
            with running.client() as client:
                planloc.scenarios(PROBLEM, {"weight": planloc.drawn(workers, spread=0.2)},
                                  client=client, chunk=1)  # the module is loaded
                alone = timed([os.getpid()], lambda: planloc.scenarios(PROBLEM, change, threads=1))
                pids = [p.pid for p in (*running.workers, running.scheduler)] + [os.getpid()]
                clock, used = timed(pids, lambda: planloc.scenarios(PROBLEM, change, client=client))
        print(f"{workers:7}  {clock:6.2f}  {alone[0] / clock:16.2f}   {sum(used[:-2]):19.2f}  "
              f"{used[-1]:6.2f}  {used[-2]:9.2f}   (one thread: {alone[0]:.2f}, {alone[1][0]:.2f})")


class Enough(Exception):
    pass


def tasks():
    """A tenth of the tasks that are planned."""
    with tempfile.TemporaryDirectory() as folder, Loopback(folder, 2) as running:
        with running.client() as client:
            pids = [os.getpid(), running.scheduler.pid]
            put, done, start = batches._Gathered.put, [], time.perf_counter()
            before = [processors(p) for p in pids]

            def watch(gathered, first, part):
                put(gathered, first, part)
                done.append(first)
                if len(done) in (100, 1000, 3000, TASKS // 10):
                    sizes = [psutil.Process(p).memory_info().rss / 2**20 for p in pids]
                    each = [1e3 * (processors(p) - b) / len(done) for p, b in zip(pids, before)]
                    clock = 1e3 * (time.perf_counter() - start) / len(done)
                    print(f"{len(done):6}   {sizes[0]:10.1f}  {sizes[1]:13.1f}   {clock:5.2f}  "
                          f"{each[0]:6.2f}  {each[1]:9.2f}", flush=True)
                if len(done) == TASKS // 10:
                    raise Enough

            print("tasks   client MiB  scheduler MiB   ms a task: clock, client, scheduler")
            batches._Gathered.put = watch
            with contextlib.suppress(Enough):
                planloc.scenarios(PROBLEM, {"weight": planloc.drawn(TASKS, spread=0.2)},
                                  client=client, chunk=1)


if __name__ == "__main__":
    efficiency()
    tasks()
