"""The best place for one new facility."""

from __future__ import annotations

import math
from collections.abc import Callable
from dataclasses import dataclass
from typing import Any

import numpy as np
import numpy.typing as npt

from planloc import _core
from planloc.checks import callback, count, limit
from planloc.display import Map
from planloc.found import Found, Verification
from planloc.problem import GaugeLike, OrderLike, Problem

__all__ = ["Answer", "solve"]

Progress = Callable[[float, float, int], None]


@dataclass(frozen=True, eq=False, repr=False)
class Answer(Found):
    """What a search found, and the proof of it.

    Attributes
    ----------
    problem : Problem
    solution : planloc._core.Solution
        The answer with its certificate.
    """

    problem: Problem
    solution: _core.Solution

    @property
    def point(self) -> tuple[float, float]:
        """The best place found; of nan where no place is permitted."""
        x, y = self.points[0].tolist() if len(self.points) else (math.nan, math.nan)
        return x, y

    @property
    def optima(self) -> npt.NDArray[np.float64]:
        """The corners of the set of all optima, counterclockwise, where it is known."""
        return self.solution.optima

    @property
    def direction(self) -> tuple[float, float] | None:
        """Along which the value falls without end, if it does."""
        return self.solution.direction

    @property
    def distances(self) -> npt.NDArray[np.float64]:
        """The weighted distance of every site."""
        return self.problem.distances(*self.point)

    def _map(self) -> Map:
        p = self.problem
        shapes = [self.optima] if len(self.optima) > 1 else []
        return Map(np.asarray(p.sites), np.asarray(p.weight), self.points, shapes, [],
                   self._figures(), p.frame, allow=p.allow, forbid=p.forbid)  # fmt: skip

    def verify(self, problem: Problem | None = None) -> Verification:
        """Prove the lower bound anew, from the certificate and the problem alone."""
        of = self.problem if problem is None else problem
        if not isinstance(of, Problem):
            raise ValueError(f"{of!r} is no planloc.Problem")
        return Verification(*_core.verify(of.core, self.solution))


def solve(
    sites: npt.ArrayLike | Problem,
    *,
    weight: npt.ArrayLike | str | None = None,
    gauge: GaugeLike = "euclid",
    gauge_column: npt.ArrayLike | str | None = None,
    objective: OrderLike = "median",
    order_weights: npt.ArrayLike | None = None,
    allow: Any = None,
    forbid: Any = None,
    gap: float = 0.0,
    time_limit: float = math.inf,
    threads: int = 1,
    whole_set: bool = True,
    progress: Progress | None = None,
) -> Answer:
    """Find the best place for one new facility, with a proof.

    Parameters
    ----------
    sites : array of shape (n, 2), GeoDataFrame of points, or Problem
        A Problem has the arguments up to `forbid` itself.
    weight, gauge, gauge_column, objective, order_weights, allow, forbid
        As of `planloc.Problem`.
    gap : float
        The search ends when value and lower bound differ by no more than this share of the value.
    time_limit : float
        Seconds. The answer so far has the status `stopped`.
    threads : int
        Of a search that is not convex; 0: one for each core. The answer does not depend on it.
    whole_set : bool
        Whether to find all optima of a convex polyhedral problem.
    progress : callable, optional
        progress(value, lower_bound, cells), some ten times a second.

    Raises
    ------
    ValueError
        If the problem is bad.
    KeyboardInterrupt
        On Ctrl-C, which stops the search.

    Examples
    --------
    >>> import planloc
    >>> planloc.solve([(0, 0), (2, 0), (1, 5)], gauge="l1", objective="centre").value
    3.0
    >>> lake = [(0.5, -1), (3, -1), (3, 1), (0.5, 1)]
    >>> planloc.solve([(0, 0), (2, 0), (1, 5)], gauge="l1", forbid=lake).point
    (0.5, 0.0)
    """
    p = Problem.of(
        sites, weight=weight, gauge=gauge, gauge_column=gauge_column, objective=objective,
        order_weights=order_weights, allow=allow, forbid=forbid,
    )  # fmt: skip
    found = _core.minimise(
        p.core, limit("gap", gap), limit("time_limit", time_limit), count("threads", threads),
        bool(whole_set), callback("progress", progress),
    )  # fmt: skip
    return Answer(p, found)
