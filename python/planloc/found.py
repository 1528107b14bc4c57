"""What the answers of searches have in common, and what a check of them says."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Protocol

import numpy as np
import numpy.typing as npt

from planloc.display import Shown

__all__ = ["Found", "Verification"]


@dataclass(frozen=True)
class Verification:
    """What a check has proved, from the certificate of an answer and its problem alone.

    True where the proof holds.

    Attributes
    ----------
    accepted : bool
    reason : str
        Why it was refused.
    value : float
        No less than the exact value; nan of a trade-off.
    lower_bound : float
        No places have a smaller value; -inf if the answer claims none, nan of a trade-off.
    gap : float
        No less than the exact difference of the two; 0 means equality. Of a trade-off: no less
        than its distance.
    optima_proved : bool
        Whether the set of optima, or of efficient places, is proved to be the whole one.
    """

    accepted: bool
    reason: str
    value: float
    lower_bound: float
    gap: float
    optima_proved: bool

    def __bool__(self) -> bool:
        return self.accepted


class Solution(Protocol):
    """What a search of the compiled half gives back, with its certificate."""

    @property
    def status(self) -> str: ...
    @property
    def points(self) -> npt.NDArray[np.float64]: ...
    @property
    def value(self) -> float: ...
    @property
    def lower_bound(self) -> float: ...


class Found(Shown):
    """New places with their value, and a bound on that of all others."""

    solution: Solution

    @property
    def status(self) -> str:
        """`optimal`, `within_gap` or `stopped`; `searched` where nothing is proved; `unbounded` or
        `infeasible` where there is no best place; `far_away` where the best ones are so far from
        the sites that the value hardly changes beyond."""
        return self.solution.status

    @property
    def points(self) -> npt.NDArray[np.float64]:
        """The new places, a row each."""
        return self.solution.points

    @property
    def value(self) -> float:
        """The objective there."""
        return self.solution.value

    @property
    def lower_bound(self) -> float:
        """No places have a smaller value; -inf where no bound is known."""
        return self.solution.lower_bound

    @property
    def gap(self) -> float:
        """(value - lower_bound) relative to the value; 0 where the optimum is proved exactly."""
        difference = self.value - self.lower_bound
        return difference / abs(self.value) if difference and self.value else difference

    def _figures(self) -> list[tuple[str, object]]:
        places = ", ".join(f"({x:.9g}, {y:.9g})" for x, y in self.points[:5])
        more = ", ..." if len(self.points) > 5 else ""
        return [("status", self.status), ("place", places + more),
                ("value", f"{self.value:.9g}"), ("lower bound", f"{self.lower_bound:.9g}")]  # fmt: skip

    def __repr__(self) -> str:
        places = ", ".join(f"({x:.6g}, {y:.6g})" for x, y in self.points[:3])
        more = ", ..." if len(self.points) > 3 else ""
        return (
            f"{type(self).__name__}(status={self.status!r}, points=[{places}{more}], "
            f"value={self.value:.9g}, lower_bound={self.lower_bound:.9g})"
        )
