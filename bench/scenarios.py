#!/usr/bin/env python3
"""planloc.scenarios beside the same loop in C++, on the same weights in one run, and a million scenarios.

    PYTHONPATH=build/release/python bench/scenarios.py build/bench/bench/scenarios_timer

Both take turns; medians of the seconds of the clock and of the processors, and the speed of Python as a part
of that of C++. The values of both are the same numbers.
"""
import os
import resource
import statistics
import subprocess
import sys
import tempfile
import time

import numpy as np
import planloc

ROUNDS = 7
SITES, SCENARIOS = 100, 30_000
THREADS = len(os.sched_getaffinity(0))


def in_python(problem, rows):
    clock, processors = time.perf_counter(), time.process_time()
    runs = planloc.scenarios(problem, {"weight": rows}, threads=THREADS)
    clock, processors = time.perf_counter() - clock, time.process_time() - processors
    total = 0.0
    for value in runs.values.tolist():  # added up in order, as in C++
        total += value
    return clock, processors, total


def beside(timer, gauge):
    random = np.random.default_rng(1)
    sites = random.random((SITES, 2))
    rows = random.uniform(0.8, 1.2, (SCENARIOS, SITES))
    problem = planloc.Problem(sites, gauge=gauge)
    times = {"C++": [], "Python": []}
    with tempfile.TemporaryDirectory() as folder:
        path = os.path.join(folder, "weights.bin")
        with open(path, "wb") as file:
            file.write(sites.tobytes() + rows.tobytes())
        command = [timer, gauge, str(SITES), str(SCENARIOS), str(THREADS), path]
        for _ in range(ROUNDS):
            own = in_python(problem, rows)
            other = [float(x) for x in subprocess.check_output(command, text=True).split()]
            assert own[2] == other[2], (own, other)
            times["Python"].append(own[:2])
            times["C++"].append(other[:2])
    medians = {who: [statistics.median(column) for column in zip(*t)] for who, t in times.items()}
    for name, k in (("clock", 0), ("processors", 1)):
        there, here = medians["C++"][k], medians["Python"][k]
        print(f"{gauge:8} {name:10} C++ {there:7.3f} s   Python {here:7.3f} s   {there / here:7.1%}")


def million():
    problem = planloc.Problem(np.random.default_rng(1).random((SITES, 2)), gauge="octagon")
    planloc.scenarios(problem, {"weight": planloc.drawn(1000, spread=0.2)})
    before = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss
    start = time.perf_counter()
    planloc.scenarios(problem, {"weight": planloc.drawn(10**6, spread=0.2)}, progress=True)
    grown = resource.getrusage(resource.RUSAGE_SELF).ru_maxrss - before
    print(f"a million: {time.perf_counter() - start:.0f} s, {grown / 1024:.0f} MiB more memory at most")


if __name__ == "__main__":
    million()  # first, so that it shows in the most memory that was used
    for chosen in ("octagon", "euclid"):
        beside(sys.argv[1], chosen)
