"""Reads Bayes nets and decision networks from the files of other programs (docs/python.md)."""

from lumo import _convert, _notebook, _pickle, _reports
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
    writers,
)
from lumo._convert import convert, from_pgmpy
from lumo._diff import Diff, diff, from_json, survey
from lumo._read import LumoWarning, read, read_many, reads

__all__ = [
    "Diff",
    "Group",
    "LumoWarning",
    "Net",
    "Node",
    "Nodes",
    "ReadError",
    "Report",
    "State",
    "__version__",
    "convert",
    "diff",
    "explain",
    "formats",
    "from_json",
    "from_pgmpy",
    "read",
    "read_many",
    "reads",
    "survey",
    "writers",
]
