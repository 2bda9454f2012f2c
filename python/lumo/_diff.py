"""Comparing nets, and tables of many."""

import json
import os
import pathlib

from lumo import _core
from lumo._convert import _package
from lumo._core import Net
from lumo._read import read, read_many, reads

COLUMNS = ("file", "format", "status", "nodes", "links", "parameters", "largest", "clique", "depth", "errors",
           "warnings", "content")
NUMBERS = COLUMNS[3:-1]


class Diff:
    """How two nets differ, of lumo.diff(). It is true when they do; its text is that of `lumo-import diff`."""

    __module__ = "lumo"

    def __init__(self, before, after, tolerance=None):
        self.before, self.after, self.tolerance = before, after, tolerance
        self._found = json.loads(_core.diff_json(before, after, tolerance))

    def __bool__(self):
        return not self._found["same"]

    def __str__(self):
        return _core.diff_text(self.before, self.after, self.tolerance, False)

    def __repr__(self):
        return f"<lumo.Diff: {str(self).splitlines()[-1]}>"

    def to_json(self):
        """All that differs, as the document of `lumo-import diff --json`."""
        return self._found

    def to_frame(self):
        """A pandas.DataFrame with a row for each thing that differs: the node (None: the net) as both nets call it,
        what of it, which state, field or group, and what it was and became; of tables how many numbers differ and by
        up to how much.

        Raises ImportError without pandas."""
        pandas = _package("to_frame", "pandas")
        rows = []
        for node in self._found["nodes"]:
            names = {"node": node["before"], "became": node["after"]}
            if node["before"] is None or node["after"] is None:
                rows.append({**names, "what": "added" if node["before"] is None else "removed"})
            rows += [{**names, **difference} for difference in node["differences"]]
        rows += self._found["net"]
        return pandas.DataFrame(rows, columns=["node", "became", "what", "of", "before", "after", "different", "largest"])

    def write(self, path):
        """Writes the page with both nets side by side, or, to a path that ends so, JSON."""
        path = pathlib.Path(path)
        is_json = path.suffix == ".json"
        write = _core.diff_json if is_json else _core.diff_page
        path.write_text(write(self.before, self.after, self.tolerance), encoding="utf-8")


def diff(before, after, *, tolerance=None):
    """How two nets differ, as nets: in whatever formats and order their files have them. Either may be a Net or the
    path of a file.

    tolerance: numbers are the same that differ by no more; None: by no more than they are rounded.

    Returns a Diff, which is true when the nets differ."""
    before, after = (net if isinstance(net, Net) else read(net) for net in (before, after))
    return Diff(before, after, tolerance)


def _files(paths):
    """A list of the paths, in the place of a folder the files below it that have the extension of a format."""
    endings = tuple(end for extensions in _core.formats.values() for end in extensions)
    endings += tuple(end + ".gz" for end in endings)
    files = []
    for path in [paths] if isinstance(paths, (str, bytes, os.PathLike)) else paths:
        folder = pathlib.Path(os.fsdecode(path))
        below = folder.rglob("*") if folder.is_dir() else ()
        found = sorted(file for file in below if file.name.lower().endswith(endings) and file.is_file())
        files += found if folder.is_dir() else [path]
    return files


def survey(paths, jobs=None, **options):
    """A pandas.DataFrame with a row for each file, as `lumo-import list` has it: its format and status, nodes, links,
    free parameters, numbers of the largest table, nodes of the largest clique of a min-fill order, links of the longest
    path, errors and warnings; `content` is the same text for the same net, `same` the first file that has it.

    paths: of files, or of folders, whose files are taken, also those in folders below; or one such path.
    The further options are those of read_many().

    Raises ImportError without pandas."""
    pandas = _package("survey", "pandas")
    paths = _files(paths)
    rows, first = [], {}
    for path, net in zip(paths, read_many(paths, jobs, **options)):
        row = _core.survey(net) if isinstance(net, Net) else {"file": os.fsdecode(path), "status": "failed"}
        content = row.get("content")
        seen = first.setdefault(content, row["file"]) if content else row["file"]
        rows.append({**row, "same": None if seen == row["file"] else seen})
    frame = pandas.DataFrame(rows, columns=[*COLUMNS, "same"])
    return frame.astype({column: "Int64" for column in NUMBERS})


def from_json(document, name="text"):
    """The net of a document of Net.to_json(), as text, bytes or dict: all that it holds comes back. Reports and the net
    are named after `name`.

    Raises ReadError when nothing could be read."""
    text = document if isinstance(document, (str, bytes)) else json.dumps(document)
    return reads(text, "json", name)
