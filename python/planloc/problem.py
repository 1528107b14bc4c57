"""Location problems: sites, weights, gauges, order weights."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass
from functools import cached_property
from typing import Any, TypeAlias, Union

import numpy as np
import numpy.typing as npt

from planloc import _core
from planloc import gauge as gauges_of_plane
from planloc import order as orders
from planloc.gauge import Gauge
from planloc.order import Order

GaugeLike: TypeAlias = Union[str, Gauge, Sequence[Union[str, Gauge]]]
OrderLike: TypeAlias = Union[str, Order, npt.ArrayLike]


def as_gauges(gauge: GaugeLike) -> list[Gauge]:
    """The gauges that are meant, by name or as they are."""
    given = [gauge] if isinstance(gauge, (str, Gauge)) else list(gauge)
    return [gauges_of_plane.parse(g) if isinstance(g, str) else g for g in given]


def as_order(objective: OrderLike) -> Order:
    """The order weights that are meant, by name, as they are or as numbers."""
    if isinstance(objective, str):
        return orders.parse(objective)
    return objective if isinstance(objective, Order) else orders.given(objective)


def as_numbers(values: npt.ArrayLike, n: int) -> npt.NDArray[np.uint32]:
    """The gauge numbers of n sites."""
    numbers = np.asarray(values)
    if numbers.shape != (n,) or numbers.dtype.kind not in "iu" or (numbers < 0).any():
        raise ValueError(f"gauge_of has to hold a number from 0 on for each of {n} sites")
    return np.ascontiguousarray(numbers, np.uint32)


@dataclass(frozen=True)
class Problem:
    """A location problem with one new facility.

    The distance of site i at a place x is weight[i] times the gauge of (x - sites[i]). The sorted
    distances, each times its order weight, are added up.

    Parameters
    ----------
    sites : array of shape (n, 2)
    weight : array of shape (n,), optional
        Positive; 1 if left out.
    gauge : str, Gauge, or a sequence of them
        See `planloc.gauge`.
    gauge_of : array of shape (n,), optional
        The number of each site's gauge among `gauge`, from 0; all 0 if left out.
    objective : str, Order or array of shape (n,)
        See `planloc.order`; an array holds the order weights.

    Raises
    ------
    ValueError
        If there is no site, a weight is not positive, a gauge is not convex around the origin, or
        the order weights do not fit the number of sites. The text says which.
    """

    sites: npt.ArrayLike
    weight: npt.ArrayLike | None = None
    gauge: GaugeLike = "euclid"
    gauge_of: npt.ArrayLike | None = None
    objective: OrderLike = "median"

    def __post_init__(self) -> None:
        sites = np.ascontiguousarray(self.sites, float).reshape(-1, 2)
        n = len(sites)
        weight = np.ones(n) if self.weight is None else np.ascontiguousarray(self.weight, float)
        chosen = np.zeros(n, np.uint32) if self.gauge_of is None else as_numbers(self.gauge_of, n)
        for name, value in (
            ("sites", sites),
            ("weight", weight),
            ("gauge", tuple(as_gauges(self.gauge))),
            ("gauge_of", chosen),
            ("objective", as_order(self.objective)),
        ):
            object.__setattr__(self, name, value)
        self.core  # refuses what is wrong

    @cached_property
    def core(self) -> _core.Problem:
        """What the compiled half takes."""
        assert isinstance(self.objective, Order)
        assert isinstance(self.gauge, tuple)
        return _core.Problem(
            np.asarray(self.sites), np.asarray(self.weight), np.asarray(self.gauge_of, np.uint32),
            [g.core for g in self.gauge], self.objective.core(),
        )  # fmt: skip

    def __len__(self) -> int:
        return len(self.core)

    def __getstate__(self) -> dict[str, Any]:
        return {k: v for k, v in self.__dict__.items() if k != "core"}

    def __setstate__(self, state: dict[str, Any]) -> None:
        self.__dict__.update(state)

    def value(self, x: float, y: float) -> float:
        """The objective at (x, y)."""
        return self.core.value(x, y)

    def distances(self, x: float, y: float) -> npt.NDArray[np.float64]:
        """The weighted distance of every site at (x, y)."""
        return self.core.distances(x, y)
