"""Reads Bayes nets and decision networks from the files of other programs (docs/python.md)."""

from lumo._core import (
    Group,
    Net,
    Node,
    Nodes,
    ReadError,
    Report,
    State,
    __version__,
    explain,
    formats,
    read,
    reads,
    writers,
)

__all__ = [
    "Group",
    "Net",
    "Node",
    "Nodes",
    "ReadError",
    "Report",
    "State",
    "__version__",
    "explain",
    "formats",
    "read",
    "reads",
    "writers",
]
