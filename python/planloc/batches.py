"""Many variants of one problem, on all cores of a machine or on many machines."""

from __future__ import annotations

import math
import os
import sys
from collections.abc import Mapping
from dataclasses import dataclass
from functools import partial
from typing import Any

import numpy as np
import numpy.typing as npt

from planloc import _core
from planloc.checks import array, count, limit
from planloc.cluster import Part, share_out
from planloc.columns import Columns, Drawn, drawn
from planloc.display import Density, Map, Shown
from planloc.order import Order
from planloc.problem import Problem
from planloc.several import places_beside, require_plain

__all__ = ["Drawn", "Scenarios", "drawn", "scenarios"]

STATUSES: tuple[str, ...] = _core.SCENARIO_STATUSES
# Scenarios of a task of a cluster: a tenth of a second's work or so, with one place and with
# several.
CHUNK = 4096
CHUNK_OF_SEVERAL = 4


@dataclass(frozen=True, eq=False, repr=False)
class Scenarios(Shown):
    """The answers in the order of the scenarios.

    Attributes
    ----------
    problem : Problem
        What they are variants of.
    points : array of shape (k, 2), or (k, p, 2) with the column `new`
        The best places; nan where a scenario has none, or fewer than the largest `new`.
    values, lower_bounds : arrays of shape (k,)
        A bound of -inf says nothing.
    status_codes : array of shape (k,)
        Positions in `planloc.batches.STATUSES`; `statuses` has the words.
    values_at : array of shape (k,), or of none
        The objective of each scenario at the place `at`.
    """

    problem: Problem
    points: npt.NDArray[np.float64]
    values: npt.NDArray[np.float64]
    lower_bounds: npt.NDArray[np.float64]
    status_codes: npt.NDArray[np.uint8]
    values_at: npt.NDArray[np.float64]

    def __len__(self) -> int:
        return len(self.values)

    @property
    def statuses(self) -> npt.NDArray[np.str_]:
        """The status of each scenario as a word."""
        return np.array(STATUSES)[self.status_codes]

    @property
    def regret(self) -> npt.NDArray[np.float64]:
        """How much more than the best value each scenario has at the place `at`."""
        return self.values_at - self.values

    def __repr__(self) -> str:
        words, counts = np.unique(self.statuses, return_counts=True)
        parts = ", ".join(f"{n} {word}" for word, n in zip(words, counts, strict=True))
        return f"Scenarios({len(self)} scenarios: {parts})"

    def _map(self) -> Map:
        p = self.problem
        places = self.points.reshape(-1, 2)
        places = places[~np.isnan(places[:, 0])]
        figures: list[tuple[str, object]] = [("scenarios", len(self))]
        if len(self):
            span = f"{self.values.min():.9g} to {self.values.max():.9g}"
            figures.append(("values", span))
        return Map(np.asarray(p.sites), np.asarray(p.weight), np.empty((0, 2)), [], [], figures,
                   p.frame, allow=p.allow, forbid=p.forbid, density=Density.of(places))  # fmt: skip


def _solve(
    problem: Problem, columns: Columns, threads: int = 1, progress: Any = None, **limits: Any
) -> Part:
    assert isinstance(problem.objective, Order)
    inner = columns.core(problem.objective)
    return _core.solve_many(problem.core, columns.first, columns.count, inner, threads=threads,
                            progress=progress, **limits)  # fmt: skip


class _Bar:
    """How far the scenarios are, on the error stream."""

    def __init__(self, count: int) -> None:
        self.count = count

    def __call__(self, done: int) -> None:
        filled = "#" * (40 * done // max(1, self.count))
        end = "\n" if done == self.count else ""
        print(f"\r[{filled:<40}] {done} of {self.count}", end=end, file=sys.stderr, flush=True)


class _Gathered:
    """The arrays that the parts of a cluster are written into, in whatever order they come."""

    def __init__(self, count: int, places: int, at: bool, bar: _Bar | None) -> None:
        self.arrays: tuple[npt.NDArray[Any], ...] = (
            np.empty((count, places, 2)), np.empty(count), np.empty(count),
            np.empty(count, np.uint8), np.empty(count if at else 0),
        )  # fmt: skip
        self.arrays[0].fill(np.nan)
        self.bar = bar
        self.done = 0

    def put(self, first: int, part: Part) -> None:
        m = len(part[1])
        self.arrays[0][first : first + m, : part[0].shape[1]] = part[0]
        for whole, own in zip(self.arrays[1:], part[1:], strict=True):
            whole[first : first + len(own)] = own
        self.done += m
        if self.bar:
            self.bar(self.done)


def scenarios(
    problem: Problem,
    changes: Mapping[str, Any],
    *,
    at: tuple[float, float] | None = None,
    existing: npt.ArrayLike = (),
    starts: int = 8,
    bound: bool = False,
    gap: float | None = None,
    time_limit: float = math.inf,
    threads: int | None = None,
    client: Any = None,
    chunk: int | None = None,
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
        `planloc.Problem`; `new`, the number of depots, and `seed` of the search for them, each
        also one number for all. With `new` every scenario is one of `planloc.depots`, else of
        `planloc.solve`.
    at : (x, y), optional
        A place whose value in each scenario is asked for too.
    existing, starts, bound
        With `new`, as of `planloc.depots`.
    gap, time_limit : float
        Of each scenario, as of `planloc.solve` and `planloc.depots`.
    threads : int, optional
        On this machine; all cores if left out.
    client : dask.distributed.Client, optional
        Share the scenarios out to its workers. The numbers are the same bit for bit.
    chunk : int, optional
        Scenarios of a task of the cluster; by default such that it takes some tenth of a second.
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
    KeyboardInterrupt
        On Ctrl-C, which stops all of them.

    Examples
    --------
    >>> import planloc
    >>> problem = planloc.Problem([(0, 0), (4, 0), (1, 3)], gauge="l1")
    >>> runs = planloc.scenarios(problem, {"weight": [[1, 1, 1], [9, 1, 1]]}, at=(1, 0))
    >>> runs.values, runs.regret
    (array([7., 8.]), array([0., 7.]))
    >>> planloc.scenarios(problem, {"new": [1, 2, 3]}).values
    array([7., 4., 0.])
    """
    if not isinstance(problem, Problem):
        raise ValueError(f"{problem!r} is no planloc.Problem")
    columns = Columns.of(problem, changes)
    several = columns.new is not None
    if at is not None:
        place = array("at", at)
        if place.shape != (2,):
            raise ValueError(f"at is {at!r}: must be a place (x, y)")
        at = float(place[0]), float(place[1])
    if several:
        require_plain(problem)
        if at is not None:
            raise ValueError("a place `at` is for scenarios of one facility, without new")
    limits = dict(
        gap=limit("gap", gap if gap is not None else (1e-4 if several else 0.0)), at=at,
        seconds=limit("time_limit", time_limit), existing=places_beside(problem, existing),
        starts=count("starts", starts), bound=bool(bound),
    )  # fmt: skip
    bar = _Bar(columns.count) if progress else None
    if client is None:
        cores = count("threads", threads or 0) or len(os.sched_getaffinity(0))
        arrays = _solve(problem, columns, cores, bar, **limits)
        if bar:
            bar(columns.count)
    else:
        places = int(columns.new.max(initial=1)) if columns.new is not None else 1
        gathered = _Gathered(columns.count, places, at is not None, bar)
        size = CHUNK_OF_SEVERAL if several else CHUNK
        size = size if chunk is None else count("chunk", chunk, least=1)
        share_out(client, problem, columns.chunks(size), partial(_solve, **limits), gathered.put)
        arrays = gathered.arrays
    points = arrays[0] if several else arrays[0][:, 0]
    return Scenarios(problem, points, *arrays[1:])
