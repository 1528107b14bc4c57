#!/usr/bin/env python3
"""Contestants in Python: HiGHS through SciPy. As contest.cpp, for measure.py:

    peers.py contestant file

where the file is what `contest` exports.
"""
import ctypes
import sys
import time

import numpy as np
from scipy.optimize import linprog
from scipy.sparse import coo_matrix

UNBOUNDED = 1e300


def read_program(path):
    """cost, matrix, right side, lower and upper bounds, integrality: matrix @ v >= right."""
    with open(path) as lines:
        rows, columns, entries = map(int, next(lines).split())
        data = np.loadtxt(lines, max_rows=columns)
        right = np.loadtxt(lines, max_rows=rows)
        terms = np.loadtxt(lines, max_rows=entries)
    matrix = coo_matrix((terms[:, 2], (terms[:, 0].astype(int), terms[:, 1].astype(int))),
                        shape=(rows, columns)).tocsc()
    low = np.where(data[:, 1] < -UNBOUNDED, -np.inf, data[:, 1])
    high = np.where(data[:, 2] > UNBOUNDED, np.inf, data[:, 2])
    return data[:, 0], matrix, right, low, high, data[:, 3]


def highs(path, method):
    cost, matrix, right, low, high, _ = read_program(path)
    bounds = np.column_stack([low, high])
    return lambda: linprog(cost, A_ub=-matrix, b_ub=-right, bounds=bounds, method=method).fun


PEERS = {
    "HiGHS simplex": lambda path: highs(path, "highs-ds"),
    "HiGHS interior point": lambda path: highs(path, "highs-ipm"),
}


def main():
    name, path = sys.argv[1:]
    call = PEERS[name](path)
    ctypes.CDLL(None).malloc_trim(0)
    print("ready", flush=True)
    for line in sys.stdin:
        count = int(line)
        start = time.process_time()
        for _ in range(count):
            value = call()
        print(1e3 * (time.process_time() - start) / count, value, flush=True)


if __name__ == "__main__":
    main()
