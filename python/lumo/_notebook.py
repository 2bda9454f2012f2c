"""How nets and nodes show themselves in notebooks."""

import base64
from html import escape

from lumo._core import Net, Node
from lumo._methods import method_of

MOST_ROWS = 20
MOST_COLUMNS = 12
MOST_REPORTS = 5


def _more(count, shown, what):
    return f"<div>and {count - shown} more {what}</div>" if count > shown else ""


def _counted(count, noun):
    return f"{count} {noun}{'' if count == 1 else 's'}"


def _head(thing, facts):
    """What it is called, then facts about it."""
    title = f" {escape(thing.title)}" if thing.title else ""
    return f"<div><b>{escape(thing.name)}</b>{title} <small>{escape(', '.join(filter(None, facts)))}</small></div>"


@method_of(Net, "_repr_html_")
def net_repr_html(self):
    """The picture of the net and its first reports, for notebooks."""
    links = sum(len(node.parents) for node in self)
    html = _head(self, [_counted(len(self), "node"), _counted(links, "link"), self.format, self.status])
    svg = self._repr_svg_()
    if svg is not None:  # as an image, so that its styles and names stay its own
        data = base64.b64encode(svg.encode()).decode()
        html += f'<img alt="{escape(self.name)}" style="max-width: 100%" src="data:image/svg+xml;base64,{data}">'
    else:
        html += "<div><small>Too many nodes for a picture here: net.write('net.svg') draws all of them.</small></div>"
    html += "".join(f"<div><small>{escape(str(report))}</small></div>" for report in self.reports[:MOST_REPORTS])
    return html + _more(len(self.reports), MOST_REPORTS, "reports")


def _table_rows(node):
    """The cells of the table's first rows: a state of each parent, then the numbers."""
    columns = max(len(node.states), 1)
    parents = [[str(state) for state in parent.states] for parent in node.parents]
    flat = node.probabilities.reshape(-1, columns)
    for place, numbers in enumerate(flat[:MOST_ROWS, :MOST_COLUMNS].tolist()):
        given = []
        for states in reversed(parents):
            place, state = divmod(place, len(states))
            given.append(states[state])
        yield given[::-1], numbers


@method_of(Node, "_repr_html_")
def node_repr_html(self):
    """The head of the node's table, for notebooks."""
    html = _head(self, [self.kind, self.relation])
    columns = [str(state) for state in self.states] or ["value"]
    if self.table is None:
        return html + f"<div>{escape(', '.join(map(str, self.states[:MOST_COLUMNS])))}</div>"
    names = [parent.name for parent in self.parents] + columns[:MOST_COLUMNS]
    cells = "".join(f"<th>{escape(name)}</th>" for name in names)
    rows = "".join("<tr>" + "".join(f"<th>{escape(state)}</th>" for state in given)
                   + "".join(f"<td>{number:.4g}</td>" for number in numbers) + "</tr>"
                   for given, numbers in _table_rows(self))
    html += f"<table><thead><tr>{cells}</tr></thead><tbody>{rows}</tbody></table>"
    html += _more(self.table.size // len(columns), MOST_ROWS, "rows")
    return html + _more(len(columns), MOST_COLUMNS, "states")
