"""Several new facilities at once."""

from __future__ import annotations

import math
from collections.abc import Callable, Sequence
from dataclasses import dataclass
from typing import Any, Union

import numpy as np
import numpy.typing as npt

from planloc import _core, geo, order
from planloc.checks import array, callback, count, limit
from planloc.display import Map
from planloc.found import Found, Verification
from planloc.gauge import Gauge
from planloc.geo import Frame
from planloc.problem import GaugeLike, Problem, as_column, as_gauges, as_numbers, as_places

__all__ = ["Depots", "Tied", "depots", "tied"]

Places = npt.NDArray[np.float64]
MOST_DEPOTS = 1_000_000


@dataclass(frozen=True, eq=False, repr=False)
class Depots(Found):
    """Several new facilities, each site served by its nearest.

    Attributes
    ----------
    problem : Problem
        The sites with their weights and gauges.
    existing : array of shape (m, 2)
    solution : planloc._core.Allocation
        The answer with what proves its bound.
    """

    problem: Problem
    existing: Places
    solution: _core.Allocation

    @property
    def assignment(self) -> npt.NDArray[np.uint32]:
        """The facility of each site: the new ones first, then the existing ones."""
        return self.solution.assignment

    def verify(self) -> Verification:
        """Check places, assignment, value and bound anew."""
        return Verification(*_core.verify_allocation(
            self.problem.core, len(self.points), self.existing, self.solution
        ))  # fmt: skip

    def _map(self) -> Map:
        p = self.problem
        sites = np.asarray(p.sites)
        served_by = np.vstack([self.points, self.existing])[self.assignment]
        return Map(sites, np.asarray(p.weight), self.points, [],
                   list(zip(sites, served_by, strict=True)), self._figures(), p.frame,
                   existing=self.existing)  # fmt: skip


def depots(
    sites: Union[npt.ArrayLike, Problem],
    *,
    new: int,
    existing: npt.ArrayLike = (),
    weight: npt.ArrayLike | str | None = None,
    gauge: GaugeLike = "euclid",
    gauge_column: npt.ArrayLike | str | None = None,
    seed: int = 1,
    starts: int = 8,
    time_limit: float = math.inf,
    threads: int = 0,
    bound: bool = False,
    gap: float = 1e-4,
    progress: Callable[[float, float, int], None] | None = None,
) -> Depots:
    """Place several new facilities, each site going to its nearest.

    Parameters
    ----------
    sites : array of shape (n, 2), GeoDataFrame of points, or Problem
        A problem of the plain sum over the whole plane.
    new : int
        How many.
    existing : array of shape (m, 2), or GeoDataFrame of points
        Facilities that serve already and stay; an array is in the coordinates of `sites`.
    weight, gauge, gauge_column
        As of `planloc.Problem`.
    seed, starts : int
        The same seed gives the same answer, whatever the threads, unless the time ends the search.
    threads : int
        0: one for each core.
    bound : bool
        Whether to prove how much better any places can be. That takes long with many sites a
        facility.
    gap : float
        What the bound aims at, relative to the value.
    progress : callable, optional
        progress(value, lower_bound, starts).

    Examples
    --------
    >>> import planloc
    >>> d = planloc.depots([(0, 0), (1, 0), (9, 9), (9, 8)], new=2)
    >>> d.value, d.assignment.tolist()
    (2.0, [0, 0, 1, 1])
    """
    problem = Problem.of(sites, weight=weight, gauge=gauge, gauge_column=gauge_column)
    require_plain(problem)
    there = places_beside(problem, existing)
    found = _core.allocate(
        problem.core, count("new", new, most=MOST_DEPOTS), there, count("seed", seed, most=2**64 - 1),
        count("starts", starts), limit("time_limit", time_limit), count("threads", threads),
        bool(bound), limit("gap", gap), callback("progress", progress),
    )  # fmt: skip
    return Depots(problem, there, found)


def require_plain(problem: Problem) -> None:
    """Refuses what a search for several facilities knows nothing of."""
    if problem.objective not in (order.median(), order.given(np.ones(len(problem)))):
        raise ValueError("several depots minimise the plain sum: the objective must be median")
    if problem.allow is not None or problem.forbid:
        raise ValueError("several depots know no regions: leave allow and forbid out")


def places_beside(problem: Problem, existing: Any) -> Places:
    """Existing facilities in the plane of the problem."""
    frame = problem.frame
    if geo.is_frame(existing):
        if frame is not None and None not in (frame.planar, existing.crs):
            existing, frame = existing.to_crs(frame.planar), None
        existing = geo.coordinates(existing)
    there = array("existing", existing).copy()
    if there.size == 0:
        return there.reshape(0, 2)
    if there.ndim != 2 or there.shape[1] != 2:
        raise ValueError("existing needs an array of shape (m, 2)")
    return there if frame is None else frame.to_planar(there)


@dataclass(frozen=True, eq=False)
class _TiedData:
    sites: Places
    gauge_column: npt.NDArray[np.uint32]
    share: Places
    flow: Places
    gauge: tuple[Gauge, ...]
    frame: Frame | None

    def core(self) -> _core.TiedProblem:
        return _core.TiedProblem(
            self.sites, self.gauge_column, self.share, self.flow, [g.core for g in self.gauge]
        )


@dataclass(frozen=True, eq=False, repr=False)
class Tied(Found):
    """Several new facilities that exchange goods with sites and with each other."""

    problem: _TiedData
    solution: _core.TiedSolution

    def verify(self) -> Verification:
        """Prove the bound anew."""
        return Verification(*_core.verify_tied(self.problem.core(), self.solution))

    def _map(self) -> Map:
        p = self.problem
        ends = [self.points[list(k)] for k in np.argwhere(np.triu(p.flow, 1) > 0)]
        return Map(p.sites, p.share.sum(axis=0), self.points, [], [(a, b) for a, b in ends],
                   self._figures(), p.frame)  # fmt: skip


def tied(
    sites: npt.ArrayLike,
    *,
    share: Sequence[npt.ArrayLike | str],
    flow: npt.ArrayLike,
    gauge: GaugeLike = "euclid",
    gauge_column: npt.ArrayLike | str | None = None,
    tie_gauge: Union[str, Gauge, None] = None,
    gap: float = 0.0,
    time_limit: float = math.inf,
) -> Tied:
    """Place several facilities that are tied to the sites and to each other.

    Parameters
    ----------
    sites : array of shape (n, 2), or GeoDataFrame of points
    share : array of shape (N, n), or N columns of the frame
        The weight of each site for each of the N facilities, 0 allowed.
    flow : array of shape (N, N)
        The weight of the distance between two facilities; the part above the diagonal counts.
    gauge, gauge_column
        As of `planloc.Problem`.
    tie_gauge : str or Gauge, optional
        The distance between facilities: gauge of (first - second). The first of `gauge` if left
        out.

    Examples
    --------
    >>> import planloc
    >>> t = planloc.tied([(0, 0), (4, 0)], share=[[2, 0], [0, 2]], flow=[[0, 1], [0, 0]], gauge="l1")
    >>> t.status, t.value
    ('optimal', 4.0)
    """
    places, frame = as_places(sites)
    gauges = as_gauges(gauge)
    if not np.iterable(share) or isinstance(share, str):
        raise ValueError("share needs a column or an array of weights for each facility")
    shares = [array("share", as_column(sites, "share", row)) for row in share]
    data = _TiedData(
        places.copy(),
        as_numbers(as_column(sites, "gauge_column", gauge_column), len(places)),
        np.atleast_2d(array("share", shares)),
        np.atleast_2d(array("flow", flow).copy()),
        (*gauges, *(as_gauges(tie_gauge) if tie_gauge is not None else gauges[:1])),
        frame,
    )
    return Tied(data, _core.minimise_tied(data.core(), limit("gap", gap), limit("time_limit", time_limit)))
