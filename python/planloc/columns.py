"""What differs from scenario to scenario, as columns that chunks are cut from."""

from __future__ import annotations

from collections.abc import Iterator, Mapping, Sequence
from dataclasses import dataclass, replace
from typing import Any, Union

import numpy as np
import numpy.typing as npt

from planloc import _core, checks
from planloc.checks import array, counts, number
from planloc.order import Order
from planloc.problem import Problem, as_gauges, as_order
from planloc.several import MOST_DEPOTS

__all__ = ["Drawn", "drawn"]

Numbers = npt.NDArray[np.uint32]


@dataclass(frozen=True)
class Drawn:
    """Weights that are drawn where they are used, so that they never stand in memory together:
    `planloc.drawn` makes them."""

    k: int
    spread: float
    seed: int

    def rows(self, problem: Problem, first: int = 0, count: int | None = None) -> npt.NDArray[np.float64]:
        """The weights of some scenarios of a problem, a row each; by default of all."""
        left = self.k - checks.count("first", first, most=self.k)
        some = left if count is None else checks.count("count", count, most=left)
        return _core.draw_weights(problem.core, self.spread, self.seed, first, some)


def drawn(k: int, *, spread: float, seed: int = 0) -> Drawn:
    """k rows of weights, each weight times a factor drawn evenly from 1 - spread to 1 + spread.

    A scenario's weights follow from the seed and its number alone.

    Raises
    ------
    ValueError
        If `spread` is not from 0 to below 1, or `k` or `seed` is negative.

    Examples
    --------
    >>> import planloc
    >>> problem = planloc.Problem([(0, 0), (4, 0)], weight=[10, 20])
    >>> planloc.drawn(2, spread=0.2, seed=1).rows(problem).round(2)
    array([[ 9.02, 16.71],
           [ 9.29, 20.5 ]])
    """
    share = number("spread", spread)
    if not 0.0 <= share < 1.0:
        raise ValueError(f"spread is {spread}: must be from 0 to below 1")
    return Drawn(checks.count("k", k, most=2**53), share, checks.count("seed", seed, most=2**64 - 1))


@dataclass(frozen=True)
class Choices:
    """A column of objects: the different ones, and which of them each entry is."""

    known: tuple[Any, ...]
    index: Numbers

    @staticmethod
    def of(entries: Sequence[Any]) -> Choices:
        number: dict[Any, int] = {}
        index = np.fromiter((number.setdefault(e, len(number)) for e in entries), np.uint32)
        return Choices(tuple(number), index)

    def part(self, rows: slice) -> Choices:
        """Of some entries, with no more objects than those use."""
        used, index = np.unique(self.index[rows], return_inverse=True)
        return Choices(tuple(self.known[k] for k in used), index.astype(np.uint32))


@dataclass(frozen=True)
class Columns:
    """What some consecutive scenarios change; small if few, since it travels."""

    first: int
    count: int
    weight: npt.NDArray[np.float64] | Drawn | None
    objective: Choices | None
    gauge: Choices | None
    new: Numbers | None
    seed: npt.NDArray[np.uint64] | None

    @staticmethod
    def of(problem: Problem, changes: Mapping[str, Any]) -> Columns:
        """All scenarios of these changes.

        Raises
        ------
        ValueError
            If a column is unknown or does not fit the others.
        """
        if not isinstance(changes, Mapping):
            raise ValueError("changes has to be a mapping from names to columns")
        unknown = set(changes) - {"weight", "objective", "gauge", "new", "seed"}
        if unknown:
            raise ValueError(f"changes has {sorted(unknown)}: known are weight, objective, gauge, "
                             "new, seed")  # fmt: skip
        if "seed" in changes and "new" not in changes:
            raise ValueError("seed counts with new alone: the best place of one is not drawn")
        if "objective" in changes and "new" in changes:
            raise ValueError("several depots minimise the plain sum: leave objective out")
        weight = _weight(changes.get("weight"), len(problem))
        columns: dict[str, Any] = {
            "objective": _choices("objective", changes.get("objective"), as_order),
            "gauge": _choices("gauge", changes.get("gauge"), lambda g: tuple(as_gauges(g))),
            "new": _counts("new", changes.get("new"), np.uint32),
            "seed": _counts("seed", changes.get("seed"), np.uint64),
        }
        lengths = {len(c.index if isinstance(c, Choices) else c) for c in columns.values()
                   if c is not None and np.ndim(c) != 0 or isinstance(c, Choices)}  # fmt: skip
        if weight is not None:
            lengths.add(weight.k if isinstance(weight, Drawn) else len(weight))
        if len(lengths) != 1:
            raise ValueError("changes needs one or more columns, all of the same length")
        (rows,) = lengths
        for name in ("new", "seed"):
            if columns[name] is not None:
                columns[name] = np.ascontiguousarray(np.broadcast_to(columns[name], rows))
        return Columns(0, rows, weight, **columns)

    def chunks(self, size: int) -> Iterator[Columns]:
        """Parts of so many scenarios each, made one at a time."""
        for first in range(0, self.count, size):
            rows = slice(first, min(first + size, self.count))
            yield replace(
                self, first=first, count=rows.stop - first,
                weight=self.weight[rows] if isinstance(self.weight, np.ndarray) else self.weight,
                objective=self.objective and self.objective.part(rows),
                gauge=self.gauge and self.gauge.part(rows),
                new=None if self.new is None else self.new[rows],
                seed=None if self.seed is None else self.seed[rows],
            )  # fmt: skip

    def core(self, nominal: Order) -> _core.Columns:
        """What the compiled half takes, with the order weights where no column has any."""
        core = _core.Columns()
        core.orders = [nominal.core()]
        if isinstance(self.weight, Drawn):
            core.draw(self.weight.spread, self.weight.seed)
        else:
            core.weights = self.weight
        if self.objective is not None:
            core.orders = [o.core() for o in self.objective.known]
            core.order_of = self.objective.index
        if self.gauge is not None:
            core.gauges = [[g.core for g in own] for own in self.gauge.known]
            core.gauges_of = self.gauge.index
        core.facilities = self.new
        core.seeds = self.seed
        return core


def _weight(given: Any, n: int) -> npt.NDArray[np.float64] | Drawn | None:
    if given is None or isinstance(given, Drawn):
        return given
    rows = array("weight", given)
    if rows.ndim != 2 or rows.shape[1] != n:
        raise ValueError(f"weight has to have a row a scenario, of {n} entries each")
    return rows


def _choices(name: str, given: Sequence[Any] | None, read: Any) -> Choices | None:
    if given is None:
        return None
    if isinstance(given, str) or not np.iterable(given):
        raise ValueError(f"{name} needs an entry for each scenario")
    return Choices.of([read(entry) for entry in given])


def _counts(name: str, given: Any, kind: Any) -> Any:
    """A column of numbers, or one for all scenarios."""
    if given is None:
        return None
    numbers = counts(name, given, kind)
    if name == "new" and (numbers > MOST_DEPOTS).any():
        raise ValueError(f"new is {numbers.max()}: must be at most {MOST_DEPOTS}")
    if numbers.ndim > 1:
        raise ValueError(f"{name} needs a number for each scenario, or one for all")
    return numbers
