"""Reports as rows of a table: pandas.DataFrame(net.reports) has a column for each of their properties."""

import dataclasses

from lumo._core import Report

COLUMNS = ("number", "kind", "message", "file", "line", "column", "place", "context")
setattr(Report, "__dataclass_fields__", vars(dataclasses.make_dataclass("Report", COLUMNS))["__dataclass_fields__"])
