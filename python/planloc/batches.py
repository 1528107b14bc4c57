"""Many variants of one problem, on all cores of a machine or on many machines."""

from __future__ import annotations

import importlib
import math
import os
import sys
from collections.abc import Iterator, Mapping, Sequence
from dataclasses import dataclass
from typing import Any, Union

import numpy as np
import numpy.typing as npt

from planloc import _core
from planloc.gauge import Gauge
from planloc.order import Order
from planloc.problem import GaugeLike, OrderLike, Problem, as_gauges, as_order

__all__ = ["Drawn", "Scenarios", "drawn", "scenarios"]

STATUSES = ("optimal", "within_gap", "unbounded", "infeasible", "stopped")
# Scenarios of a chunk. Fixed, since a chunk draws its weights from a stream of its own: the same
# numbers come out however the chunks are shared out.
CHUNK = 512


@dataclass(frozen=True)
class Drawn:
    """Weights that are drawn, a chunk of scenarios at a time, so that they never stand in memory
    together: `planloc.drawn` makes them."""

    k: int
    spread: float
    seed: int

    def rows(self, weight: npt.NDArray[np.float64], chunk: int, m: int) -> npt.NDArray[np.float64]:
        """Those of the m scenarios of this chunk."""
        generator = np.random.Generator(np.random.Philox(key=[self.seed, chunk]))
        factors = 1.0 + self.spread * (2.0 * generator.random((m, len(weight))) - 1.0)
        return np.multiply(factors, weight)


def drawn(k: int, *, spread: float, seed: int = 0) -> Drawn:
    """k rows of weights, each weight times a factor drawn evenly from 1 - spread to 1 + spread.

    Raises
    ------
    ValueError
        If `spread` is not from 0 to below 1, or `k` or `seed` is negative.
    """
    if not 0.0 <= spread < 1.0:
        raise ValueError(f"spread is {spread}: must be from 0 to below 1")
    if k < 0 or seed < 0:
        raise ValueError("k and seed must not be negative")
    return Drawn(k, spread, seed)


@dataclass(frozen=True)
class Scenarios:
    """The answers in the order of the scenarios.

    Attributes
    ----------
    points : array of shape (k, 2)
    values, lower_bounds : arrays of shape (k,)
    status_codes : array of shape (k,)
        Positions in `planloc.batches.STATUSES`; `statuses` has the words.
    """

    points: npt.NDArray[np.float64]
    values: npt.NDArray[np.float64]
    lower_bounds: npt.NDArray[np.float64]
    status_codes: npt.NDArray[np.uint8]

    def __len__(self) -> int:
        return len(self.values)

    @property
    def statuses(self) -> npt.NDArray[np.str_]:
        """The status of each scenario as a word."""
        return np.array(STATUSES)[self.status_codes]

    def __repr__(self) -> str:
        closed = int((self.status_codes <= 1).sum())
        return f"Scenarios({len(self)} scenarios, {closed} solved)"


Part = tuple[
    npt.NDArray[np.float64], npt.NDArray[np.float64], npt.NDArray[np.float64], npt.NDArray[np.uint8]
]
Choice = Union[Order, tuple[Gauge, ...]]


@dataclass(frozen=True)
class _Chunk:
    """What a chunk's scenarios change; small, since it travels."""

    number: int
    count: int
    weight: npt.NDArray[np.float64] | Drawn | None
    order: tuple[tuple[Order, ...], npt.NDArray[np.uint32]] | None
    gauges: tuple[tuple[tuple[Gauge, ...], ...], npt.NDArray[np.uint32]] | None


def _solve_chunk(
    problem: Problem, chunk: _Chunk, gap: float, time_limit: float, threads: int
) -> Part:
    weight = chunk.weight
    if isinstance(weight, Drawn):
        weight = weight.rows(np.asarray(problem.weight, float), chunk.number, chunk.count)
    orders, order_of = chunk.order or ((), None)
    gauges, gauges_of = chunk.gauges or ((), None)
    return _core.solve_many(
        problem.core, chunk.number * CHUNK, chunk.count, weight,
        [o.core() for o in orders], order_of,
        [[g.core for g in own] for own in gauges], gauges_of,
        gap, time_limit, threads,
    )  # fmt: skip


def _numbered(values: Sequence[Any]) -> tuple[tuple[Any, ...], npt.NDArray[np.uint32]]:
    """The different ones, and which of them each is."""
    number: dict[Any, int] = {}
    index = np.fromiter((number.setdefault(v, len(number)) for v in values), np.uint32)
    return tuple(number), index


class _Plan:
    """The scenarios as chunks, made one at a time."""

    def __init__(self, problem: Problem, changes: Mapping[str, Any]) -> None:
        unknown = set(changes) - {"weight", "objective", "gauge"}
        if unknown:
            raise ValueError(f"changes has {sorted(unknown)}: known are weight, objective, gauge")
        self.weight = self._weight(changes.get("weight"), len(problem))
        self.orders = self._choices(changes.get("objective"), as_order)
        self.gauges = self._choices(changes.get("gauge"), lambda g: tuple(as_gauges(g)))
        lengths = set()
        if self.weight is not None:
            lengths.add(self.weight.k if isinstance(self.weight, Drawn) else len(self.weight))
        lengths |= {len(c[1]) for c in (self.orders, self.gauges) if c is not None}
        if len(lengths) != 1:
            raise ValueError("changes needs one or more columns, all of the same length")
        (self.count,) = lengths

    @staticmethod
    def _weight(given: Any, n: int) -> npt.NDArray[np.float64] | Drawn | None:
        if given is None or isinstance(given, Drawn):
            return given
        rows = np.asarray(given, float)
        if rows.ndim != 2 or rows.shape[1] != n:
            raise ValueError(f"weight has to have a row a scenario, of {n} entries each")
        return rows

    @staticmethod
    def _choices(given: Sequence[Any] | None, read: Any) -> Any:
        return None if given is None else _numbered([read(v) for v in given])

    @property
    def chunks(self) -> int:
        return -(-self.count // CHUNK)

    def __iter__(self) -> Iterator[_Chunk]:
        for number in range(self.chunks):
            rows = slice(number * CHUNK, min((number + 1) * CHUNK, self.count))
            weight = self.weight
            if isinstance(weight, np.ndarray):
                weight = weight[rows]
            yield _Chunk(number, rows.stop - rows.start, weight,
                         self._part(self.orders, rows), self._part(self.gauges, rows))  # fmt: skip

    @staticmethod
    def _part(choices: Any, rows: slice) -> Any:
        if choices is None:
            return None
        used, index = np.unique(choices[1][rows], return_inverse=True)
        return tuple(choices[0][k] for k in used), index.astype(np.uint32)


class _Results:
    """The arrays that chunks are written into, and the bar that shows how far they are."""

    def __init__(self, count: int, progress: bool) -> None:
        self.answer = Scenarios(
            np.empty((count, 2)), np.empty(count), np.empty(count), np.empty(count, np.uint8)
        )
        self.done = 0
        self.progress = progress

    def put(self, number: int, part: Part) -> None:
        rows = slice(number * CHUNK, number * CHUNK + len(part[1]))
        a = self.answer
        a.points[rows], a.values[rows], a.lower_bounds[rows], a.status_codes[rows] = part
        self.done += len(part[1])
        if self.progress:
            self._show()

    def _show(self) -> None:
        share = self.done / len(self.answer)
        bar = "#" * int(40 * share)
        end = "\n" if self.done == len(self.answer) else ""
        print(f"\r[{bar:<40}] {self.done} of {len(self.answer)}", end=end, file=sys.stderr)


def _on_this_machine(
    problem: Problem, plan: _Plan, results: _Results, limits: tuple[float, float], threads: int
) -> None:
    for chunk in plan:
        results.put(chunk.number, _solve_chunk(problem, chunk, *limits, threads))


def _on_cluster(
    problem: Problem, plan: _Plan, results: _Results, limits: tuple[float, float], client: Any
) -> None:
    """Keeps a few chunks a thread of the cluster under way, so that neither side fills up."""
    as_completed: Any = importlib.import_module("distributed").as_completed
    everywhere = client.scatter(problem, broadcast=True, hash=False)
    number_of: dict[str, int] = {}
    chunks = iter(plan)
    under_way = as_completed(with_results=True)

    def submit() -> None:
        room = 4 * max(1, sum(client.nthreads().values()))
        while len(number_of) < room:
            chunk = next(chunks, None)
            if chunk is None:
                return
            future = client.submit(
                _solve_chunk, everywhere, chunk, *limits, 1, pure=False, retries=3
            )
            number_of[future.key] = chunk.number
            under_way.add(future)

    submit()
    for future, part in under_way:
        results.put(number_of.pop(future.key), part)
        future.release()
        submit()


def scenarios(
    problem: Problem,
    changes: Mapping[str, Any],
    *,
    gap: float = 0.0,
    time_limit: float = math.inf,
    threads: int | None = None,
    client: Any = None,
    progress: bool = False,
) -> Scenarios:
    """Solve many variants of one problem.

    Parameters
    ----------
    problem : Problem
        What is not changed.
    changes : mapping
        Columns of one entry a scenario, all of the same length k: `weight`, an array of shape
        (k, n) or `planloc.drawn(k, ...)`; `objective`, names, orders or arrays; `gauge`, as of
        `planloc.Problem`.
    gap, time_limit : float
        Of each scenario, as of `planloc.solve`.
    threads : int, optional
        On this machine; all cores if left out.
    client : dask.distributed.Client, optional
        Share the scenarios out to its workers. The numbers are the same bit for bit.
    progress : bool
        A bar on the error stream.

    Returns
    -------
    Scenarios
        Arrays of points, values and bounds in the order of the scenarios.

    Raises
    ------
    ValueError
        If a column does not fit, or a scenario is a bad problem: "scenario 7: weight of ...".

    Examples
    --------
    >>> import planloc
    >>> problem = planloc.Problem([(0, 0), (4, 0), (1, 3)], gauge="l1")
    >>> planloc.scenarios(problem, {"weight": [[1, 1, 1], [9, 1, 1]]}).values
    array([7., 8.])
    """
    plan = _Plan(problem, changes)
    results = _Results(plan.count, progress)
    limits = (gap, time_limit)
    if client is None:
        cores = threads or len(os.sched_getaffinity(0))
        _on_this_machine(problem, plan, results, limits, cores)
    else:
        _on_cluster(problem, plan, results, limits, client)
    return results.answer
