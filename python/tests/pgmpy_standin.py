"""Stands in for pgmpy where that is not installed: what to_pgmpy() calls, with the checks that pgmpy makes."""

import sys
import types

import networkx
import numpy


class TabularCPD:
    def __init__(self, variable, variable_card, values, evidence=None, evidence_card=None, state_names={}):
        evidence, evidence_card = list(evidence or []), list(evidence_card or [])
        values = numpy.array(values)
        if values.ndim != 2:
            raise TypeError("values must be a 2D list/array")
        if len(evidence) != len(evidence_card):
            raise ValueError("length of evidence_card doesn't match length of evidence")
        if values.shape != (variable_card, numpy.prod(evidence_card, dtype=int)):
            raise ValueError(f"values must be of shape {(variable_card, numpy.prod(evidence_card))}")
        self.variable, self.variables = variable, [variable, *evidence]
        self.cardinality = [variable_card, *evidence_card]
        self.values = values.reshape(self.cardinality)
        self.state_names = state_names
        for name, count in zip(self.variables, self.cardinality, strict=True):
            if len(set(state_names[name])) != count:
                raise ValueError(f"state names of {name} are not {count} different ones")

    def get_value(self, **states):
        return self.values[tuple(self.state_names[name].index(states[name]) for name in self.variables)]


class DiscreteBayesianNetwork(networkx.DiGraph):
    def __init__(self):
        super().__init__()
        self.cpds = []

    def add_cpds(self, *cpds):
        for cpd in cpds:
            if not set(cpd.variables) <= set(self.nodes):
                raise ValueError("CPD defined on variable not in the model")
            self.cpds.append(cpd)

    def get_cpds(self, name):
        return next(cpd for cpd in self.cpds if cpd.variable == name)

    def check_model(self):
        for node in self.nodes:
            cpd = self.get_cpds(node)
            if set(cpd.variables[1:]) != set(self.predecessors(node)):
                raise ValueError(f"CPD of {node} doesn't have proper parents")
            if not numpy.allclose(cpd.values.sum(axis=0), 1, atol=0.01):
                raise ValueError(f"sum of probabilities of {node} is not 1")
            for parent, count in zip(cpd.variables[1:], cpd.cardinality[1:]):
                other = self.get_cpds(parent)
                if other.cardinality[0] != count or other.state_names[parent] != cpd.state_names[parent]:
                    raise ValueError(f"states of {parent} differ")
        return networkx.is_directed_acyclic_graph(self)


def modules(name="DiscreteBayesianNetwork"):
    """The entries of sys.modules; the class of the net by that name."""
    found = {path: types.ModuleType(path)
             for path in ("pgmpy", "pgmpy.models", "pgmpy.factors", "pgmpy.factors.discrete")}
    setattr(found["pgmpy.models"], name, DiscreteBayesianNetwork)
    found["pgmpy.factors.discrete"].TabularCPD = TabularCPD
    return found
