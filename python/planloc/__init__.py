"""Where to put a new facility in the plane, with a proof.

>>> import planloc
>>> answer = planloc.solve([(0, 0), (4, 0), (1, 3)], weight=[1, 1, 2], gauge="l1")
>>> answer.status, answer.value
('optimal', 10.0)
>>> planloc.verify(answer).gap
0.0

Distances are gauges (`planloc.gauge`): the distance of a site is the gauge of (place - site), times
its weight. What is minimised are the sorted distances, each times its order weight
(`planloc.order`).
"""

from planloc import gauge, order
from planloc._core import Verification
from planloc.batches import Drawn, Scenarios, drawn, scenarios
from planloc.problem import Problem
from planloc.single import Answer, solve, verify

__all__ = [
    "Answer", "Drawn", "Problem", "Scenarios", "Verification", "drawn", "gauge", "order",
    "scenarios", "solve", "verify",
]  # fmt: skip
