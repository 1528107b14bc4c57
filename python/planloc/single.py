"""The best place for one new facility."""

from __future__ import annotations

import math
from collections.abc import Callable
from dataclasses import dataclass

import numpy as np
import numpy.typing as npt

from planloc import _core
from planloc.display import Map, Shown
from planloc.problem import GaugeLike, OrderLike, Problem

__all__ = ["Answer", "solve"]

Progress = Callable[[float, float, int], None]


@dataclass(frozen=True, eq=False)
class Answer(Shown):
    """What a search found, and the proof of it.

    Attributes
    ----------
    problem : Problem
    solution : planloc._core.Solution
        The answer with its certificate, for `planloc.verify`.
    """

    problem: Problem
    solution: _core.Solution

    @property
    def status(self) -> str:
        """`optimal`, `within_gap`, `unbounded`, `infeasible` or `stopped`."""
        return self.solution.status

    @property
    def point(self) -> tuple[float, float]:
        """The best place found."""
        return self.solution.point

    @property
    def value(self) -> float:
        """The objective there."""
        return self.solution.value

    @property
    def lower_bound(self) -> float:
        """No place has a smaller value."""
        return self.solution.lower_bound

    @property
    def gap(self) -> float:
        """(value - lower_bound) relative to the value; 0 where the optimum is proved exactly."""
        difference = self.value - self.lower_bound
        return difference / abs(self.value) if difference and self.value else difference

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
        x, y = self.point
        figures = [("status", self.status), ("place", f"({x:.9g}, {y:.9g})"),
                   ("value", f"{self.value:.9g}"), ("lower bound", f"{self.lower_bound:.9g}")]  # fmt: skip
        shapes = [self.optima] if len(self.optima) > 1 else []
        return Map(np.asarray(p.sites), np.asarray(p.weight), np.array([self.point]), shapes, [],
                   figures, p.frame)  # fmt: skip

    def verify(self, problem: Problem | None = None) -> _core.Verification:
        """Prove the lower bound anew, from the certificate and the problem alone."""
        return _core.verify((problem or self.problem).core, self.solution)

    def __repr__(self) -> str:
        x, y = self.point
        return (
            f"Answer(status={self.status!r}, point=({x:.6g}, {y:.6g}), "
            f"value={self.value:.9g}, lower_bound={self.lower_bound:.9g})"
        )


def solve(
    sites: npt.ArrayLike | Problem,
    *,
    weight: npt.ArrayLike | str | None = None,
    gauge: GaugeLike = "euclid",
    gauge_of: npt.ArrayLike | str | None = None,
    objective: OrderLike = "median",
    gap: float = 0.0,
    time_limit: float = math.inf,
    threads: int = 1,
    whole_set: bool = True,
    progress: Progress | None = None,
) -> Answer:
    """Find the best place for one new facility, with a proof.

    Parameters
    ----------
    sites : array of shape (n, 2), or Problem
        With a Problem, `weight`, `gauge`, `gauge_of` and `objective` are those of the problem.
    weight, gauge, gauge_of, objective
        As of `planloc.Problem`.
    gap : float
        The search ends when value and lower bound differ by no more than this share of the value.
    time_limit : float
        Seconds. The answer so far has the status `stopped`.
    threads : int
        Of a search that is not convex. The answer does not depend on it.
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
    """
    p = sites if isinstance(sites, Problem) else Problem(sites, weight, gauge, gauge_of, objective)
    return Answer(p, _core.minimise(p.core, gap, time_limit, threads, whole_set, progress))
