"""Scenarios on the workers of a cluster that Dask runs."""

from __future__ import annotations

import importlib
from collections.abc import Callable, Iterator
from typing import Any

from planloc.columns import Columns
from planloc.problem import Problem

__all__ = ["Part", "share_out"]

Part = tuple[Any, ...]
# Chunks under way for each thread of the cluster: what is done is replaced while others are being
# done, and neither client nor scheduler fills up.
AHEAD = 4


def share_out(
    client: Any,
    problem: Problem,
    chunks: Iterator[Columns],
    solve: Callable[[Problem, Columns], Part],
    put: Callable[[int, Part], None],
) -> None:
    """Every chunk is a task; put(first, part) with the arrays of each, as they come.

    The problem goes to every worker once. A chunk whose worker dies is the engine's to repeat.
    """
    as_completed: Any = importlib.import_module("distributed").as_completed
    everywhere = client.scatter(problem, broadcast=True, hash=False)
    first_of: dict[Any, int] = {}
    under_way = as_completed(with_results=True)

    def submit() -> None:
        room = AHEAD * max(1, sum(client.nthreads().values()))
        while len(first_of) < room:
            chunk = next(chunks, None)
            if chunk is None:
                return
            future = client.submit(solve, everywhere, chunk, pure=False, retries=3)
            first_of[future] = chunk.first
            under_way.add(future)

    try:
        submit()
        for future, part in under_way:
            put(first_of.pop(future), part)
            future.release()
            submit()
    except BaseException:
        client.cancel(list(first_of))
        raise
