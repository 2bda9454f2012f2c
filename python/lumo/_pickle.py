"""Pickling and copying, a net through its bytes, a node or group through its net; and comparing what is a value."""

import copyreg

from lumo import _core


def _net(state):
    return _core.net_of(state)


def _report(state):
    return _core.report_of(state)


def _state(fields):
    return _core.State._of(fields)


def _group(name, color, nodes):
    return _core.Group._of(name, color, nodes)


def _nodes(net):
    return net.nodes


def _node(net, place):
    return net.nodes[place]


def _group_fields(group):
    return group.name, group.color, group.nodes


def _is_value(kind, fields):
    """Two objects of the class are equal when all that they say is."""

    def equal(self, other):
        return fields(self) == fields(other) if isinstance(other, kind) else NotImplemented

    kind.__eq__ = equal
    kind.__hash__ = lambda self: hash(fields(self))


_is_value(_core.Report, _core.report_state)
_is_value(_core.State, _core.State._fields)
_is_value(_core.Group, _group_fields)
def _same_net(self, other):
    """Whether the nets are the same in all that they hold, whatever files they were read from."""
    return _core.same_net(self, other) if isinstance(other, _core.Net) else NotImplemented


_core.Net.__eq__ = _same_net
_core.Net.__hash__ = None  # nets change
copyreg.pickle(_core.Net, lambda net: (_net, (_core.net_state(net),)))
copyreg.pickle(_core.Report, lambda report: (_report, (_core.report_state(report),)))
copyreg.pickle(_core.State, lambda state: (_state, (state._fields(),)))
copyreg.pickle(_core.Group, lambda group: (_group, _group_fields(group)))
copyreg.pickle(_core.Nodes, lambda nodes: (_nodes, (nodes._net,)))
copyreg.pickle(_core.Node, lambda node: (_node, (node.net, _core.place_of(node))))
