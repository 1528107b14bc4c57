"""Trade-offs between two weightings."""

from __future__ import annotations

import math
from collections.abc import Sequence
from dataclasses import dataclass
from typing import Union

import numpy as np
import numpy.typing as npt

from planloc import _core
from planloc.checks import array, limit
from planloc.display import Map, Shown
from planloc.found import Verification
from planloc.gauge import Gauge
from planloc.geo import Frame
from planloc.order import Order
from planloc.problem import (
    GaugeLike,
    OrderLike,
    as_column,
    as_gauges,
    as_numbers,
    as_order,
    as_places,
)

__all__ = ["Comparison", "Piece", "compare"]

Places = npt.NDArray[np.float64]


@dataclass(frozen=True, eq=False)
class Piece:
    """A part of the efficient set: all optima of (1 - t) f1 + t f2 for the t between two ends.
    On a polyline: a segment, on which both criteria are at most what the segment of its values says.

    Attributes
    ----------
    corners : array of shape (k, 2)
        One is a vertex, two an edge, more a polygon, counterclockwise.
    values : array of shape (k, 2)
        Both criteria at the corners.
    t : tuple of two floats
        Equal for a piece that is optimal for one t alone; nan on a polyline.
    """

    corners: Places
    values: Places
    t: tuple[float, float]

    @property
    def kind(self) -> str:
        """`vertex`, `edge` or `polygon`."""
        return ("vertex", "edge")[len(self.corners) - 1] if len(self.corners) < 3 else "polygon"


@dataclass(frozen=True, eq=False)
class _BicriteriaData:
    sites: Places
    weights: Places
    gauge_column: npt.NDArray[np.uint32]
    gauge: tuple[Gauge, ...]
    objective: tuple[Order, Order]
    frame: Frame | None

    def core(self) -> _core.BicriteriaProblem:
        return _core.BicriteriaProblem(
            self.sites, self.weights, self.gauge_column, [g.core for g in self.gauge],
            *(o.core() for o in self.objective),
        )  # fmt: skip


@dataclass(frozen=True, eq=False, repr=False)
class Comparison(Shown):
    """The efficient places of two weightings, from the best for the first to the best for the
    second: all of them, or a polyline that comes near to them."""

    problem: _BicriteriaData
    solution: Union[_core.EfficientChain, _core.EfficientPolyline]

    @property
    def status(self) -> str:
        """`complete`, `within_gap`, `above_gap` where doubles cannot do better, or `stopped`."""
        return self.solution.status

    @property
    def distance(self) -> float:
        """For every place there is one of these that is worse by no more than this part of a
        criterion's range; 0 if they are all efficient places."""
        if isinstance(self.solution, _core.EfficientChain):
            return 0.0 if self.status == "complete" else math.inf
        return self.solution.distance

    @property
    def pieces(self) -> list[Piece]:
        """In walking order."""
        if isinstance(self.solution, _core.EfficientChain):
            return [Piece(c, v, (low, high)) for c, v, low, high in self.solution.pieces]
        corners, values = self.solution.rows
        pairs = [slice(k, k + 2) for k in range(max(1, len(corners) - 1))]
        return [Piece(corners[k], values[k], (math.nan, math.nan)) for k in pairs]

    @property
    def curve(self) -> Places:
        """The corners of the trade-off curve, a row (f1, f2) each."""
        if isinstance(self.solution, _core.EfficientChain):
            return self.solution.curve
        return self.solution.rows[1]

    def verify(self) -> Verification:
        """Prove anew that the pieces are all efficient places and no others are, or that no place
        beats the polyline by more than its distance."""
        return Verification(*_core.verify_efficient(self.problem.core(), self.solution))

    def _map(self) -> Map:
        p = self.problem
        shapes = [piece.corners for piece in self.pieces]
        figures = [("status", self.status), ("pieces", len(shapes)), ("distance", self.distance)]
        return Map(p.sites, p.weights.sum(axis=0), np.empty((0, 2)), shapes, [], figures, p.frame)

    def __repr__(self) -> str:
        return (
            f"Comparison(status={self.status!r}, {len(self.pieces)} pieces, "
            f"distance={self.distance:.3g})"
        )


def compare(
    sites: npt.ArrayLike,
    *,
    weights: Sequence[npt.ArrayLike | str],
    gauge: GaugeLike = "euclid",
    gauge_column: npt.ArrayLike | str | None = None,
    objective: OrderLike | tuple[OrderLike, OrderLike] = "median",
    gap: float = 1e-3,
    time_limit: float = math.inf,
) -> Comparison:
    """Find the places that no other place beats in both of two weightings.

    Sums under polyhedral gauges have all their efficient places found, exactly; all else a polyline
    of places that no place beats by more than a proved distance.

    Parameters
    ----------
    sites : array of shape (n, 2), or GeoDataFrame of points
    weights : two arrays of shape (n,), or columns of the frame
        0 is allowed in one of the two.
    gauge, gauge_column
        As of `planloc.Problem`.
    objective : str, Order or array, or a tuple of two of them
        Order weights that rise from 0 or more, of both criteria or of each.
    gap : float
        The distance of a polyline from the best values, as a part of their ranges.
    time_limit : float
        Seconds. What was found until then has the status `stopped`.

    Examples
    --------
    >>> import planloc
    >>> c = planloc.compare([(0, 0), (4, 0), (1, 3)], weights=[[3, 1, 1], [1, 3, 1]], gauge="l1")
    >>> [piece.kind for piece in c.pieces]
    ['vertex', 'edge', 'vertex', 'edge', 'vertex']
    >>> c.curve
    array([[ 8., 16.],
           [ 9., 13.],
           [18., 10.]])
    >>> bool(c.verify())
    True
    >>> c = planloc.compare([(0, 0), (4, 0), (1, 3)], weights=[[3, 1, 1], [1, 3, 1]], objective="centre")
    >>> c.distance <= 1e-3
    True
    """
    places, frame = as_places(sites)
    if not np.iterable(weights) or isinstance(weights, str) or len(weights) != 2:
        raise ValueError("weights has to be two columns or arrays of weights")
    columns = [array("weights", as_column(sites, "weights", w)) for w in weights]
    first, second = objective if isinstance(objective, tuple) else (objective, objective)
    data = _BicriteriaData(
        places.copy(),
        array("weights", columns),
        as_numbers(as_column(sites, "gauge_column", gauge_column), len(places)),
        tuple(as_gauges(gauge)),
        (as_order(first), as_order(second)),
        frame,
    )
    core = data.core()
    if core.exact:
        return Comparison(data, _core.efficient_set(core, limit("time_limit", time_limit)))
    line = _core.efficient_polyline(core, limit("gap", gap), limit("time_limit", time_limit))
    return Comparison(data, line)
