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
# So often the problem is sent again after its last copy went down with a worker.
COPIES = 3


def share_out(
    client: Any,
    problem: Problem,
    chunks: Iterator[Columns],
    solve: Callable[[Problem, Columns], Part],
    put: Callable[[int, Part], None],
) -> None:
    """Every chunk is a task; put(first, part) with the arrays of each, as they come.

    The problem goes to every worker once. A chunk whose worker dies is the engine's to repeat; where the
    last copy of the problem dies, too, the engine gives up all chunks: the problem is sent again.
    """
    as_completed: Any = importlib.import_module("distributed").as_completed
    copies = [client.scatter(problem, broadcast=True, hash=False)]
    chunk_of: dict[Any, tuple[Columns, Any]] = {}
    under_way = as_completed(with_results=True)

    def submit(chunk: Columns) -> None:
        future = client.submit(solve, copies[-1], chunk, pure=False, retries=3)
        chunk_of[future] = chunk, copies[-1]
        under_way.add(future)

    def fill_up() -> None:
        room = AHEAD * max(1, sum(client.nthreads().values()))
        while len(chunk_of) < room and (chunk := next(chunks, None)) is not None:
            submit(chunk)

    def repeat(chunk: Columns, copy: Any, lost: BaseException) -> None:
        if copy is copies[-1]:
            if len(copies) > COPIES:
                raise lost
            copies.append(client.scatter(problem, broadcast=True, hash=False))
        submit(chunk)

    try:
        fill_up()
        for future, part in under_way:
            chunk, copy = chunk_of.pop(future)
            if isinstance(part, BaseException):  # given up: errors of a chunk are raised, not returned
                repeat(chunk, copy, part)
                continue
            put(chunk.first, part)
            future.release()
            fill_up()
    except BaseException:
        client.cancel(list(chunk_of))
        raise
