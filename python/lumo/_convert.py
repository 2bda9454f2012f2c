"""Nets and nodes as the objects of other packages, which are imported when they are asked for."""

import importlib
import importlib.util
import pathlib
import tempfile

import numpy

from lumo._core import Net, Node
from lumo._methods import method_of
from lumo._read import read


def _package(method, name):
    try:
        return importlib.import_module(name)
    except ImportError as error:
        package = name.partition(".")[0]
        raise ImportError(f"{method}() needs the package {package}", name=package) from error


def _labels(node):
    """The states' names, or what people call those without; all distinct."""
    labels = [state.name or str(state) for state in node.states]
    if len(set(labels)) == len(labels):
        return labels
    return [f"{label} #{place}" for place, label in enumerate(labels)]


def _table(node, normalize):
    """The table as float64, its rows scaled to sum 1 on request; rows of zeros stay."""
    if node.table is None:
        condensed = "; read it with condense=False" if node.parameters is not None else ""
        raise ValueError(f"node {node.name!r} has no table{condensed}")
    table = node.probabilities
    if normalize and node.relation != "real":
        sums = table.sum(axis=-1, keepdims=True)
        numpy.divide(table, sums, out=table, where=sums > 0)
    return table


@method_of(Node, "to_frame")
def node_to_frame(self, *, normalize=False):
    """The table as a pandas.DataFrame of float64: a row for each combination of the parents' states, which
    are a MultiIndex, and a column for each state; a node without states has one column of its own name.
    States go by their names, or by what people call them where they have none.

    normalize: rows of probabilities are scaled to sum 1; else the numbers are the file's own.

    Raises ValueError for a node without a table and ImportError without pandas."""
    pandas = _package("to_frame", "pandas")
    table = _table(self, normalize)
    if self.states:
        columns = pandas.Index(_labels(self), name=self.name)
    else:
        columns = pandas.Index([self.name])
    index = None
    if self.parents:
        index = pandas.MultiIndex.from_product([_labels(parent) for parent in self.parents],
                                               names=[parent.name for parent in self.parents])
    return pandas.DataFrame(table.reshape(-1, len(columns)), index=index, columns=columns)


@method_of(Node, "to_xarray")
def node_to_xarray(self, *, normalize=False):
    """The table as an xarray.DataArray of float64, with the dimensions of `table`: they have the names of the
    parents and of the node, and the states as coordinates.

    normalize: as in to_frame().

    Raises ValueError for a node without a table or with more than 31 parents, and ImportError without
    xarray."""
    xarray = _package("to_xarray", "xarray")
    table = _table(self, normalize)
    family = [*self.parents, self] if self.states else list(self.parents)
    if table.ndim != len(family):
        raise ValueError(f"node {self.name!r} has more parents than an array has dimensions")
    given = ", ".join(parent.name for parent in self.parents)
    name = f"{self.name}({given})" if self.relation == "real" else f"P({self.name}{' | ' * bool(given)}{given})"
    return xarray.DataArray(table, dims=[node.name for node in family], name=name,
                            coords={node.name: _labels(node) for node in family},
                            attrs={"title": self.title or self.name, "kind": self.kind, "relation": self.relation})


@method_of(Net, "to_frame")
def net_to_frame(self):
    """The nodes as a pandas.DataFrame, a row each, by name: title, kind, discrete, states (their number), parents
    (a tuple of names), relation, numbers (in the table), x, y, groups (a tuple of names). The tables themselves
    are in Node.to_frame().

    Raises ImportError without pandas."""
    pandas = _package("to_frame", "pandas")
    columns = ["title", "kind", "discrete", "states", "parents", "relation", "numbers", "x", "y", "groups"]
    rows = [(node.title, node.kind, node.discrete, len(node.states), tuple(parent.name for parent in node.parents),
             node.relation, 0 if node.table is None else node.table.size, *node.position, tuple(node.groups))
            for node in self]
    index = pandas.Index([node.name for node in self], name="node", dtype=object)
    return pandas.DataFrame(rows, index=index, columns=columns)


@method_of(Net, "to_networkx")
def net_to_networkx(self):
    """The net as a networkx.DiGraph, with the attributes `name` and `title`. Nodes have the attributes title,
    kind, discrete, states (what people call them), pos, groups, user_fields and relation; links have `place`,
    the parent's place in the table. The tables stay here.

    Raises ImportError without networkx."""
    networkx = _package("to_networkx", "networkx")
    graph = networkx.DiGraph(name=self.name, title=self.title)
    for node in self:
        graph.add_node(node.name, title=node.title, kind=node.kind, discrete=node.discrete,
                       states=[str(state) for state in node.states], pos=node.position, groups=node.groups,
                       user_fields=node.user_fields, relation=node.relation)
    for node in self:
        for place, parent in enumerate(node.parents):
            graph.add_edge(parent.name, node.name, place=place)
    return graph


def _refusal(node):
    """Why the node cannot be in a Bayes net of discrete variables; None when it can."""
    if node.kind != "nature":
        return f"is a {node.kind} node"
    if not node.states:
        return "is continuous"
    if node.table is None:
        return "has no full table" if node.parameters is not None else "has no table"
    return None


def _discrete_part(net, skip):
    """The nodes that can be in a Bayes net of discrete variables, by name; a ValueError when that is not all
    of them, unless the others are to be left out."""
    left_out = {}
    for node in net:
        if reason := _refusal(node):
            left_out[node.name] = reason
    if left_out and not skip:
        name, reason = next(iter(left_out.items()))
        more = f", and so with {len(left_out) - 1} more" if len(left_out) > 1 else ""
        raise ValueError(f"node {name!r} {reason}{more}; skip=True leaves out such nodes and those whose tables "
                         "depend on them")
    waiting = [net.nodes[name] for name in left_out]
    while waiting:
        for child in waiting.pop().children:
            if child.name not in left_out:
                left_out[child.name] = "depends on one left out"
                waiting.append(child)
    return {node.name: node for node in net if node.name not in left_out}


@method_of(Net, "to_pgmpy")
def net_to_pgmpy(self, *, normalize=False, skip=False):
    """The net as a pgmpy DiscreteBayesianNetwork (in older versions BayesianNetwork), with a TabularCPD for each
    node: values of float64, the node's states by the combinations of its parents' states, the last parent's
    fastest. States go by their names, or by what people call them where they have none.

    normalize: rows are scaled to sum 1. skip: what such a net cannot hold - decisions, utilities, continuous nodes
    without intervals, nodes without a table - is left out, with the nodes whose tables depend on it; else it is
    a ValueError that names the node.

    Raises ImportError without pgmpy."""
    models = _package("to_pgmpy", "pgmpy.models")
    tabular = _package("to_pgmpy", "pgmpy.factors.discrete").TabularCPD
    nodes = _discrete_part(self, skip)
    kind = getattr(models, "DiscreteBayesianNetwork", None) or models.BayesianNetwork
    model = kind()
    model.name = self.name
    model.add_nodes_from(nodes)
    model.add_edges_from((parent.name, node.name) for node in nodes.values() for parent in node.parents)
    labels = {name: _labels(node) for name, node in nodes.items()}
    for node in nodes.values():
        evidence = [parent.name for parent in node.parents]
        count = len(node.states)
        model.add_cpds(tabular(node.name, count, _table(node, normalize).reshape(-1, count).T,
                               evidence=evidence or None,
                               evidence_card=[len(labels[name]) for name in evidence] or None,
                               state_names={name: labels[name] for name in (node.name, *evidence)}))
    return model


@method_of(Net, "to_pyagrum")
def net_to_pyagrum(self):
    """The net as a pyAgrum BayesNet, which pyAgrum reads from the BIF that is written of it: of nature nodes with
    states, without what BIF does not keep.

    Raises ImportError without pyAgrum."""
    gum = _package("to_pyagrum", "pyagrum" if importlib.util.find_spec("pyagrum") else "pyAgrum")
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder, f"{self.name}.bif")
        self.write(path)
        return gum.loadBN(str(path))


def from_pgmpy(model, name=None):
    """The net of a pgmpy model of discrete variables: a node for each of its nodes, in their order, with the states and
    the table of its TabularCPD. A node without one has states named after its cardinality, or none.

    name: of the net; None: the model's. Names that are no legal ones become titles.

    Raises TypeError for what is no model of tables."""
    if not (hasattr(model, "get_cpds") and hasattr(model, "predecessors")):
        raise TypeError(f"a model of pgmpy's with tables is wanted, not {type(model).__name__}")
    net = Net(str(name or getattr(model, "name", None) or "net"))
    made = {}
    for variable in model.nodes():
        cpd = model.get_cpds(variable)
        states = [str(state) for state in cpd.state_names[variable]] if cpd is not None else ()
        made[variable] = net.add_node(str(variable), states)
    for variable, node in made.items():
        cpd = model.get_cpds(variable)
        parents = list(model.predecessors(variable)) if cpd is None else cpd.variables[1:]
        node.parents = [made[parent] for parent in parents]
        if cpd is not None:
            node.table = numpy.moveaxis(numpy.asarray(cpd.values, float), 0, -1)
    return net


def convert(source, target, format=None, *, force=False, plain=False, only_nature=False, **options):
    """Reads a file and writes its net to another, in the format or in that of its extension; returns what that format
    does not keep, a line each. The options are those of read(), the others those of Net.write()."""
    net = read(source, **options)
    return net.write(target, format, force=force, plain=plain, only_nature=only_nature)
