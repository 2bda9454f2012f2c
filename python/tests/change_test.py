"""Making and changing nets. change_test.py ROOT, with the built package on PYTHONPATH."""

import pathlib
import pickle
import random
import sys
import tempfile
import unittest
import warnings
from unittest import mock

import lumo
import numpy
import pandas
import pgmpy_standin

ROOT = pathlib.Path(sys.argv.pop())
SAMPLES = ROOT / "samples"
ASIA = SAMPLES / "hugin/asia.net"


def garden():
    net = lumo.Net("garden")
    rain = net.add_node("rain", ["yes", "no"], table=[0.2, 0.8])
    net.add_node("wet grass", ["yes", "no"], [rain], [[0.9, 0.1], [0.05, 0.95]], position=(40, 200))
    return net


class Making(unittest.TestCase):
    def test_doubles_stay_when_they_are_set(self):
        net = lumo.Net()
        node = net.add_node("a", ["x", "y"], table=[0.3333333333333333, 0.6666666666666667])
        self.assertEqual(node.probabilities.tolist(), [0.3333333333333333, 0.6666666666666667])
        self.assertEqual(net.to_json()["net"]["nodes"][0]["relation"]["table"], node.probabilities.tolist())
        node.table = numpy.array([0.1, 0.9], numpy.float32)
        self.assertEqual(node.probabilities.tolist(), [0.1, 0.9])
        node.table = [1e-50, 1]
        self.assertEqual(node.probabilities[0], 1e-50)
        self.assertGreater(node.table[0], 0)

    def test_what_is_no_array_says_which_is_wanted(self):
        net = garden()
        rain, grass = net
        for table in ([[0.1, 0.9], [1]], "abc", [["x", "y"], ["z", "w"]], [0.1, 0.9], numpy.zeros((2, 3)), 5, object()):
            with self.assertRaisesRegex(ValueError, r"'wet_grass' needs an array .*\(2, 2\)"):
                grass.table = table
            with self.assertRaisesRegex(ValueError, r"'d' needs an array .*\(2, 2\)"):
                net.add_node("d", ["yes", "no"], [rain], table)
        for experience in ([[1], [2, 3]], "x", [1]):
            with self.assertRaisesRegex(ValueError, r"needs an array .*\(2,\)"):
                grass.experience = experience
        for position in ((1,), "ab", (1e20, 2), 5):
            with self.assertRaisesRegex(ValueError, r"two whole numbers"):
                grass.position = position
            with self.assertRaisesRegex(ValueError, r"two whole numbers"):
                net.add_node("d", position=position)
        with self.assertRaisesRegex(TypeError, "title"):
            grass.title = 5
        self.assertEqual(net, garden())

    def test_what_is_made_has_no_format(self):
        self.assertEqual(repr(garden()), "<lumo.Net garden: 2 nodes, 1 link, ok>")
        self.assertIn("<small>2 nodes, 1 link, ok</small>", garden()._repr_html_())

    def test_what_is_made_is_its_json(self):
        self.assertEqual(lumo.from_json(garden().to_json()), garden())

    def test_what_is_made_is_read_again(self):
        net = garden()
        with tempfile.TemporaryDirectory() as folder:
            for name in ("hugin", "xmlbif", "dsc", "bif", "xdsl", "uai"):
                path = pathlib.Path(folder, "garden" + lumo.writers[name])
                net.save(path, name)
                again = lumo.read(path, name)
                self.assertEqual([report.kind for report in again.reports if report.kind != "notice"], [], name)
                self.assertEqual([node.table.tolist() for node in again], [node.table.tolist() for node in net], name)
                self.assertEqual([len(node.parents) for node in again], [0, 1])
            self.assertIn("not kept by BIF", lumo.convert(ASIA, pathlib.Path(folder, "asia.bif"))[0])
        self.assertEqual((net["wet grass"].name, net["wet grass"].title), ("wet_grass", "wet grass"))
        utility = net.add_node("U", parents=["rain"], table=[1.5, -2], kind="utility")
        self.assertEqual((utility.relation, utility.table.tolist()), ("real", [1.5, -2]))

    def test_less_is_written_than_the_net_has(self):
        net = lumo.read(SAMPLES / "hugin/umbrella.net")
        before = pickle.dumps(net)
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "umbrella.dsc")
            told = net.write(path, plain=True, only_nature=True)
            self.assertEqual(told[0], "1 decision node and 2 utility nodes are left out")
            self.assertNotIn("position", path.read_text())
            nature = [node.name for node in net if node.kind == "nature"]
            self.assertEqual([node.name for node in lumo.read(path)], nature)
            lumo.convert(ASIA, path, plain=True)
            self.assertNotIn("name :", path.read_text())
        self.assertEqual(pickle.dumps(net), before)

    def test_what_is_refused_changes_nothing(self):
        net = garden()
        before = pickle.dumps(net)
        rain, grass = net
        for wrong, error, text in (
                (lambda: net.add_node("rain", ["a"]), ValueError, "already"),
                (lambda: net.add_node("x", ["a", "a"]), ValueError, "two states are 'a'"),
                (lambda: net.add_node("x", ["a", "b"], ["none"]), KeyError, "none"),
                (lambda: net.add_node("x", ["a", "b"], ["rain"], [0.5, 0.5]), ValueError, r"\(2, 2\), not \(2,\)"),
                (lambda: net.add_node("x", ["a", "b"], kind="chance"), ValueError, "nature"),
                (lambda: setattr(rain, "parents", [grass]), ValueError, "cycle"),
                (lambda: setattr(grass, "parents", [rain, rain]), ValueError, "twice"),
                (lambda: setattr(grass, "table", [[1, -1], [0, 1]]), ValueError, "-1"),
                (lambda: setattr(grass, "table", [[1, float("nan")], [0, 1]]), ValueError, "nan"),
                (lambda: setattr(grass, "table", "no numbers"), (ValueError, TypeError), ""),
                (lambda: setattr(rain, "states", "yes"), TypeError, "list of texts"),
                (lambda: setattr(rain, "name", "wet_grass"), ValueError, "already"),
                (lambda: setattr(rain, "name", "a b"), ValueError, "no name"),
                (lambda: setattr(rain, "experience", [1, 2]), ValueError, r"\(\), not \(2,\)"),
                (lambda: net["Rain"], KeyError, "is it 'rain'"),
                (lambda: net.remove("rain", "none"), KeyError, "none")):
            self.assertRaisesRegex(error, text, wrong)
        self.assertEqual(pickle.dumps(net), before)
        with self.assertWarnsRegex(UserWarning, "row 1 of node 'wet_grass' sums to 0.9"):
            grass.table = [[1, 0], [0.5, 0.4]]


class Changing(unittest.TestCase):
    def test_arrays_stay_what_they_were(self):
        for path in ("hugin/asia.net", "dxpress/copier.dxp", "xdsl/classic.xdsl", "hugin/umbrella.net"):
            net = lumo.read(SAMPLES / path)
            arrays = [array for node in net
                      for array in (node.table, node.experience, node.parameters, node.levels) if array is not None]
            before = [array.copy() for array in arrays]
            for node in net:
                if node.table is not None:
                    node.table = numpy.flip(node.table)
            for node in net:
                node.parents = ()
                node.states = ["a", "b", "c"]
                node.table = None
            net.remove(*net)
            self.assertEqual(len(net), 0)
            for array, copy in zip(arrays, before, strict=True):
                numpy.testing.assert_array_equal(array, copy)

    def test_states_names_and_parents(self):
        net = lumo.read(ASIA)
        either, dysp = net["either"], net["dysp"]
        either.states = ["high", "low"]
        self.assertEqual((str(either.states[0]), dysp.table.shape), ("high", (2, 2, 2)))
        either.states = ["high", "mid", "low"]
        self.assertEqual((either.table, dysp.table), (None, None))
        other = lumo.read(SAMPLES / "xmlbif/intervals.xml")
        for node in other:
            states = node.states
            node.states = states
            self.assertEqual(node.states, states)
        dysp.name, dysp.title, dysp.comment, dysp.position = "D", "Short of breath?", "x", (3, 4)
        self.assertEqual((net["D"].title, net["D"].comment, net["D"].position), ("Short of breath?", "x", (3, 4)))
        self.assertNotIn("dysp", net)
        dysp.parents = ["smoke", net["bronc"]]
        self.assertIn(dysp, net["smoke"].children)
        dysp.kind = "decision"
        self.assertEqual((dysp.kind, dysp.relation), ("decision", "none"))

    def test_removed_nodes(self):
        net = lumo.read(ASIA)
        either = net["either"]
        net.remove(either, "smoke")
        self.assertEqual([node.name for node in net if node in net], ["asia", "tub", "lung", "bronc", "xray", "dysp"])
        self.assertEqual((either in net, net["xray"].parents, net["xray"].table), (False, (), None))
        self.assertEqual([parent.name for parent in net["dysp"].parents], ["bronc"])
        self.assertRaisesRegex(ValueError, "was removed", setattr, either, "title", "x")
        self.assertRaises(KeyError, net.remove, either)
        net.add_node("either", ["a", "b"])
        self.assertEqual(len(pickle.loads(pickle.dumps(net))), 7)

    def test_other_types_are_named(self):
        net = lumo.read(ASIA)
        for wrong, make in (("str|one text", lambda: net.add_node("n", "yes")), ("int", lambda: net.add_node("n", 2)),
                            ("one text", lambda: net.add_node("n", ["a"], "smoke")),
                            ("int", lambda: setattr(net["dysp"], "parents", 2)),
                            ("pgmpy.* not int", lambda: lumo.from_pgmpy(5))):
            self.assertRaisesRegex(TypeError, f"not ({wrong})|{wrong}", make)
        self.assertEqual(net, lumo.read(ASIA))

    def test_any_changes(self):
        rng = random.Random(5)
        net = lumo.Net()
        for step in range(400):
            nodes = list(net)
            what = rng.randrange(5)
            if what < 2 or not nodes:
                net.add_node(f"n{step}", [f"s{i}" for i in range(rng.randint(1, 4))],
                             rng.sample(nodes, min(len(nodes), rng.randint(0, 3))))
            elif what == 2:
                net.remove(*rng.sample(nodes, min(len(nodes), rng.randint(1, 2))))
            else:
                node = rng.choice(nodes)
                try:
                    node.parents = rng.sample(nodes, min(len(nodes), 2))
                except ValueError:
                    pass
                shape = [*(len(parent.states) for parent in node.parents), len(node.states)]
                node.table = numpy.full(shape, 1 / shape[-1])
            self.assertEqual(net, pickle.loads(pickle.dumps(net)))
            for node in net:
                self.assertTrue(all(node in parent.children for parent in node.parents))


class Onwards(unittest.TestCase):
    def test_equal_nets(self):
        one, two = lumo.read(ASIA), lumo.reads(ASIA.read_bytes(), name="asia.net")
        self.assertEqual(one, two)
        two["dysp"].table = numpy.flip(two["dysp"].table)
        self.assertNotEqual(one, two)
        self.assertNotEqual(one, "asia")

    def test_pgmpy_and_back(self):
        with mock.patch.dict(sys.modules, pgmpy_standin.modules()):
            net = lumo.read(ASIA)
            again = lumo.from_pgmpy(net.to_pgmpy())
        self.assertEqual(again.name, "asia")
        for node in net:
            self.assertEqual([str(state) for state in again[node.name].states], [state.name for state in node.states])
            numpy.testing.assert_array_equal(again[node.name].table, node.table)
            self.assertEqual([p.name for p in again[node.name].parents], [p.name for p in node.parents])

    def test_pyagrum_reads_the_bif(self):
        gum = mock.Mock()
        gum.loadBN = lambda path: pathlib.Path(path).read_text(encoding="utf-8")
        with mock.patch.dict(sys.modules, pyagrum=gum), mock.patch("importlib.util.find_spec", return_value=True):
            self.assertIn("variable dysp", lumo.read(ASIA).to_pyagrum())

    def test_what_people_hand_over(self):
        with open(ASIA, "rb") as file:
            self.assertEqual(lumo.read(file).file, str(ASIA))
        self.assertEqual([net.name for net in lumo.read_many(str(ASIA))], ["asia"])
        self.assertEqual(lumo.read(ASIA, "net").format, "hugin")
        damaged = lumo.read(SAMPLES / "hugin/damaged.net")
        frame = pandas.DataFrame(damaged.reports)
        self.assertEqual((len(frame), frame.loc[0, "number"]), (len(damaged.reports), damaged.reports[0].number))
        self.assertIn("message", frame.columns)


if __name__ == "__main__":
    unittest.main()
