#!/usr/bin/env python3
"""What is in a collection of files, read with Dask on many machines: scale.py SCHEDULER OUT FILE...
SCHEDULER is the address of one, or "local"; OUT is a folder for the parts of the table, as CSV."""

import sys
from collections.abc import Iterable, Iterator
from typing import Any

import dask.bag
import distributed
import lumo

COLUMNS = {"file": object, "what": object, "name": object, "kind": object, "states": float, "parents": float,
           "line": float, "text": object}


def rows(path: str) -> Iterator[dict[str, Any]]:
    """A row for the net, for each node and for each problem; for a file that cannot be read its problem alone."""
    try:
        net = lumo.read(path)
    except (OSError, lumo.ReadError) as error:
        yield {"file": path, "what": "problem", "kind": "failed", "text": str(error)}
        return
    yield {"file": path, "what": "net", "name": net.name, "kind": net.format, "text": net.status}
    for node in net:
        yield {"file": path, "what": "node", "name": node.name, "kind": node.kind, "states": len(node.states),
               "parents": len(node.parents), "text": node.title}
    for report in net.reports:
        yield {"file": path, "what": "problem", "kind": report.kind, "line": report.line, "text": str(report)}


def table(paths: Iterable[str], files_a_task: int = 100) -> Any:
    """One Dask frame of all the files; nothing is read before it is asked for."""
    bag = dask.bag.from_sequence(paths, partition_size=files_a_task)
    return bag.map(rows).flatten().to_dataframe(meta=COLUMNS)


if __name__ == "__main__":
    with distributed.Client(None if sys.argv[1] == "local" else sys.argv[1]):
        table(sys.argv[3:]).to_csv(sys.argv[2] + "/part-*.csv", index=False)
