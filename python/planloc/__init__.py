"""Where to put a new facility in the plane, with a proof.

>>> import planloc
>>> answer = planloc.solve([(0, 0), (4, 0), (1, 3)], weight=[1, 1, 2], gauge="l1")
>>> answer.status, answer.value
('optimal', 10.0)
>>> answer.verify().gap
0.0

Distances are gauges (`planloc.gauge`): the distance of a site is the gauge of (place - site), times
its weight. What is minimised are the sorted distances, each times its order weight
(`planloc.order`).
"""

from __future__ import annotations

from planloc import gauge, order
from planloc._core import __version__ as __version__
from planloc.batches import Drawn, Scenarios, drawn, scenarios
from planloc.found import Verification
from planloc.problem import Problem
from planloc.several import Depots, Tied, depots, tied
from planloc.single import Answer, solve
from planloc.tradeoff import Comparison, Piece, compare

__all__ = [
    "Answer", "Comparison", "Depots", "Drawn", "Piece", "Problem", "Scenarios", "Tied",
    "Verification", "compare", "depots", "drawn", "gauge", "order", "scenarios", "solve", "tied",
    "verify",
]  # fmt: skip


def verify(answer: Answer | Comparison | Depots | Tied) -> Verification:
    """Prove an answer anew, from its certificate and the problem alone.

    Returns
    -------
    Verification
        True where the proof holds; has the `reason` where it does not.

    Examples
    --------
    >>> import planloc
    >>> answer = planloc.solve([(0, 0), (2, 0), (1, 5)], gauge="linf")
    >>> bool(planloc.verify(answer))
    True
    """
    if not isinstance(answer, (Answer, Comparison, Depots, Tied)):
        raise ValueError(f"{answer!r} is no answer of a search")
    return answer.verify()
