"""Trade-offs between two weightings, and several new facilities."""

from __future__ import annotations

import math
from collections.abc import Callable, Sequence
from dataclasses import dataclass
from typing import Union

import numpy as np
import numpy.typing as npt

from planloc import _core
from planloc.display import Map, Shown
from planloc.gauge import Gauge
from planloc.geo import Frame
from planloc.problem import GaugeLike, Problem, as_column, as_gauges, as_numbers, as_places

__all__ = ["Comparison", "Depots", "Piece", "Tied", "compare", "depots", "tied"]

Places = npt.NDArray[np.float64]


@dataclass(frozen=True, eq=False)
class Piece:
    """A part of the efficient set: all optima of (1 - t) f1 + t f2 for the t between two ends.

    Attributes
    ----------
    corners : array of shape (k, 2)
        One is a vertex, two an edge, more a polygon, counterclockwise.
    values : array of shape (k, 2)
        Both criteria at the corners.
    t : tuple of two floats
        Equal for a piece that is optimal for one t alone.
    """

    corners: Places
    values: Places
    t: tuple[float, float]

    @property
    def kind(self) -> str:
        """`vertex`, `edge` or `polygon`."""
        return ("vertex", "edge")[len(self.corners) - 1] if len(self.corners) < 3 else "polygon"


@dataclass(frozen=True, eq=False)
class Comparison(Shown):
    """The efficient places of two weightings, from the best for the first to the best for the
    second."""

    problem: _BicriteriaData
    chain: _core.EfficientChain

    @property
    def status(self) -> str:
        """`complete` or `stopped`."""
        return self.chain.status

    @property
    def pieces(self) -> list[Piece]:
        """In walking order."""
        return [
            Piece(corners, values, (low, high)) for corners, values, low, high in self.chain.pieces
        ]

    @property
    def curve(self) -> Places:
        """The breakpoints of the trade-off curve, a row (f1, f2) each."""
        pieces = [p for p in self.pieces if p.t[0] < p.t[1]]
        return np.array([p.values[0] for p in pieces]).reshape(-1, 2)

    def verify(self) -> _core.EfficientVerification:
        """Prove anew that the pieces are all efficient places, and no others are."""
        return _core.verify_efficient(self.problem.core(), self.chain)

    def _map(self) -> Map:
        p = self.problem
        shapes = [piece.corners for piece in self.pieces]
        figures = [("status", self.status), ("pieces", len(shapes))]
        return Map(p.sites, p.weights.sum(axis=0), np.empty((0, 2)), shapes, [], figures, p.frame)

    def __repr__(self) -> str:
        return f"Comparison(status={self.status!r}, {len(self.pieces)} pieces)"


@dataclass(frozen=True, eq=False)
class _BicriteriaData:
    sites: Places
    weights: Places
    gauge_of: npt.NDArray[np.uint32]
    gauge: tuple[Gauge, ...]
    frame: Frame | None

    def core(self) -> _core.BicriteriaProblem:
        return _core.BicriteriaProblem(
            self.sites, self.weights, self.gauge_of, [g.core for g in self.gauge]
        )


def compare(
    sites: npt.ArrayLike,
    *,
    weights: Sequence[npt.ArrayLike | str],
    gauge: GaugeLike = "l1",
    gauge_of: npt.ArrayLike | None = None,
    time_limit: float = math.inf,
) -> Comparison:
    """Find the places that no other place beats in both of two weighted sums.

    Parameters
    ----------
    sites : array of shape (n, 2), or GeoDataFrame of points
    weights : two arrays of shape (n,), or columns of the frame
        0 is allowed in one of the two.
    gauge, gauge_of
        Polyhedral gauges, as of `planloc.Problem`.
    time_limit : float
        Seconds. What was found until then has the status `stopped`.

    Examples
    --------
    >>> import planloc
    >>> c = planloc.compare([(0, 0), (4, 0), (1, 3)], weights=[[3, 1, 1], [1, 3, 1]])
    >>> [piece.kind for piece in c.pieces]
    ['vertex', 'edge', 'vertex', 'edge', 'vertex']
    >>> c.curve
    array([[ 8., 16.],
           [ 9., 13.],
           [18., 10.]])
    >>> bool(c.verify())
    True
    """
    places, frame = as_places(sites)
    n = len(places)
    columns = [as_column(sites, "weights", w) for w in weights]
    data = _BicriteriaData(
        places,
        np.ascontiguousarray(columns, float),
        np.zeros(n, np.uint32) if gauge_of is None else as_numbers(gauge_of, n),
        tuple(as_gauges(gauge)),
        frame,
    )
    return Comparison(data, _core.efficient_set(data.core(), time_limit))


@dataclass(frozen=True, eq=False)
class Depots(Shown):
    """Several new facilities, each site served by its nearest.

    Attributes
    ----------
    problem : Problem
        The sites with their weights and gauges.
    existing : array of shape (m, 2)
    allocation : planloc._core.Allocation
        The answer with what proves its bound.
    """

    problem: Problem
    new: int
    existing: Places
    allocation: _core.Allocation

    @property
    def status(self) -> str:
        """`optimal` or `within_gap` where that is proved, `searched`, or `stopped` by the time."""
        return self.allocation.status

    @property
    def points(self) -> Places:
        """Of the new facilities."""
        return self.allocation.points

    @property
    def assignment(self) -> npt.NDArray[np.uint32]:
        """The facility of each site: the new ones first, then the existing ones."""
        return self.allocation.assignment

    @property
    def value(self) -> float:
        """The sum of the weighted distances."""
        return self.allocation.value

    @property
    def lower_bound(self) -> float | None:
        """No places have a smaller value; None where no bound was asked for."""
        return self.allocation.lower_bound

    @property
    def gap(self) -> float | None:
        """(value - lower_bound) relative to the value."""
        if self.lower_bound is None:
            return None
        return (self.value - self.lower_bound) / self.value if self.value else 0.0

    def verify(self) -> _core.AllocationCheck:
        """Check places, assignment, value and bound anew."""
        return _core.verify_allocation(self.problem.core, self.new, self.existing, self.allocation)

    def _map(self) -> Map:
        p = self.problem
        sites = np.asarray(p.sites)
        served_by = np.vstack([self.points, self.existing])[self.assignment]
        bound = "none" if self.lower_bound is None else f"{self.lower_bound:.9g}"
        figures = [("status", self.status), ("new", len(self.points)),
                   ("value", f"{self.value:.9g}"), ("lower bound", bound)]  # fmt: skip
        return Map(sites, np.asarray(p.weight), self.points, [],
                   list(zip(sites, served_by, strict=True)), figures, p.frame)  # fmt: skip

    def __repr__(self) -> str:
        return (
            f"Depots(status={self.status!r}, {len(self.points)} new, value={self.value:.9g}, "
            f"lower_bound={self.lower_bound})"
        )


def depots(
    sites: Union[npt.ArrayLike, Problem],
    *,
    new: int,
    existing: npt.ArrayLike = (),
    weight: npt.ArrayLike | str | None = None,
    gauge: GaugeLike = "euclid",
    gauge_of: npt.ArrayLike | str | None = None,
    seed: int = 1,
    starts: int = 8,
    time_limit: float = math.inf,
    threads: int = 0,
    lower_bound: bool = False,
    gap: float = 1e-4,
    progress: Callable[[float, float | None, int], None] | None = None,
) -> Depots:
    """Place several new facilities, each site going to its nearest.

    Parameters
    ----------
    sites : array of shape (n, 2), or Problem
        Of a problem the sites, weights and gauges count.
    new : int
        How many.
    existing : array of shape (m, 2), or GeoDataFrame of points
        Facilities that serve already and stay.
    seed, starts : int
        The same seed gives the same answer, whatever the threads, unless the time ends the search.
    threads : int
        0: one for each core.
    lower_bound : bool
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
    problem = sites if isinstance(sites, Problem) else Problem(sites, weight, gauge, gauge_of)
    if new < 0:
        raise ValueError(f"new is {new}: must not be negative")
    there, frame = as_places(existing)
    if frame is not None and problem.frame is not None:
        there = as_places(existing.to_crs(problem.frame.planar))[0]  # type: ignore[union-attr]
    found = _core.allocate(
        problem.core, new, there, seed, starts, time_limit, threads, lower_bound, gap, progress
    )
    return Depots(problem, new, there, found)


@dataclass(frozen=True, eq=False)
class _TiedData:
    sites: Places
    gauge_of: npt.NDArray[np.uint32]
    share: Places
    flow: Places
    gauge: tuple[Gauge, ...]
    frame: Frame | None

    def core(self) -> _core.TiedProblem:
        return _core.TiedProblem(
            self.sites, self.gauge_of, self.share, self.flow, [g.core for g in self.gauge]
        )


@dataclass(frozen=True, eq=False)
class Tied(Shown):
    """Several new facilities that exchange goods with sites and with each other."""

    problem: _TiedData
    solution: _core.TiedSolution

    @property
    def status(self) -> str:
        """`optimal`, `within_gap` or `stopped`."""
        return self.solution.status

    @property
    def points(self) -> Places:
        """One a facility."""
        return self.solution.points

    @property
    def value(self) -> float:
        """The sum of all weighted distances."""
        return self.solution.value

    @property
    def lower_bound(self) -> float:
        """No places have a smaller value."""
        return self.solution.lower_bound

    def verify(self) -> _core.Verification:
        """Prove the bound anew."""
        return _core.verify_tied(self.problem.core(), self.solution)

    def _map(self) -> Map:
        p = self.problem
        ends = [self.points[list(k)] for k in np.argwhere(np.triu(p.flow, 1) > 0)]
        figures = [("status", self.status), ("facilities", len(self.points)),
                   ("value", f"{self.value:.9g}"), ("lower bound", f"{self.lower_bound:.9g}")]  # fmt: skip
        return Map(p.sites, p.share.sum(axis=0), self.points, [], [(a, b) for a, b in ends],
                   figures, p.frame)  # fmt: skip

    def __repr__(self) -> str:
        return (
            f"Tied(status={self.status!r}, {len(self.points)} facilities, value={self.value:.9g}, "
            f"lower_bound={self.lower_bound:.9g})"
        )


def tied(
    sites: npt.ArrayLike,
    *,
    share: Sequence[npt.ArrayLike | str],
    flow: npt.ArrayLike,
    gauge: GaugeLike = "euclid",
    gauge_of: npt.ArrayLike | None = None,
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
    gauge, gauge_of
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
    n = len(places)
    gauges = as_gauges(gauge)
    shares = [as_column(sites, "share", row) for row in share]
    data = _TiedData(
        places,
        np.zeros(n, np.uint32) if gauge_of is None else as_numbers(gauge_of, n),
        np.atleast_2d(np.ascontiguousarray(shares, float)),
        np.atleast_2d(np.ascontiguousarray(flow, float)),
        (*gauges, *(as_gauges(tie_gauge) if tie_gauge is not None else gauges[:1])),
        frame,
    )
    return Tied(data, _core.minimise_tied(data.core(), gap, time_limit))
