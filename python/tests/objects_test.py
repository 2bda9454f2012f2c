"""What the module's objects become elsewhere: pickles, copies, objects of other packages, types.
objects_test.py ROOT, with the built package on PYTHONPATH."""

import ast
import copy
import copyreg
import os
import pathlib
import pickle
import random
import re
import subprocess
import sys
import tempfile
import threading
import types
import unittest
import warnings
from unittest import mock
from xml.etree import ElementTree

import lumo
import numpy
import pgmpy_standin

ROOT = pathlib.Path(sys.argv.pop())
SAMPLES = ROOT / "samples"
ASIA = SAMPLES / "hugin/asia.net"
FILES = [path for path in sorted(SAMPLES.glob("*/*"))
         if any(path.suffix in extensions for extensions in lumo.formats.values())]
ODD = (b'net { node_size = (9 9); label = "\xe4\xc3\xa4"; }\n'
       b'node \xf6 { label = "\xf6"; states = ("<b>" "\xdf"); cost = "a\\"\xe4"; }\n'
       b'node A { label = "\xc3\xb6?"; states = ("a" "b" "c"); }\n'
       b"potential (A) { data = (-0.0 1e-45 0.3333333); }")


def written(net):
    """The net in every format that is a text, and what is lost in it."""
    with tempfile.TemporaryDirectory() as folder:
        path = pathlib.Path(folder, "out")
        return [(net.write(path, name), path.read_bytes()) for name in lumo.writers if name not in ("png", "pdf")]


def written_as(net, name):
    with tempfile.TemporaryDirectory() as folder:
        net.write(pathlib.Path(folder, "out"), name)


class Pickling(unittest.TestCase):
    def compare(self, net, again):
        self.assertIsNot(net, again)
        self.assertEqual(net.to_json(), again.to_json())
        self.assertEqual(written(net), written(again))
        for key in ("skipped", "notes", "file", "format", "status"):
            self.assertEqual(getattr(net, key), getattr(again, key))
        self.assertEqual(net.reports, again.reports)
        for one, two in zip(net.groups, again.groups, strict=True):
            self.assertEqual([node.name for node in one.nodes], [node.name for node in two.nodes])
        self.assertEqual(net.groups, net.groups)
        for one, two in zip(net, again, strict=True):
            self.assertEqual(one.states, two.states)
            for key in ("table", "experience", "parameters", "levels"):
                first, second = getattr(one, key), getattr(two, key)
                self.assertEqual(first is None, second is None)
                if first is not None:
                    self.assertEqual((first.shape, first.tobytes()), (second.shape, second.tobytes()))

    def test_nets(self):
        for path in FILES:
            for condense in (False, True):
                with self.subTest(path=path.name):
                    net = lumo.read(path, condense=condense)
                    self.compare(net, pickle.loads(pickle.dumps(net)))
        odd = lumo.reads(ODD, "hugin")
        again = copy.deepcopy(odd)
        self.compare(odd, again)
        self.assertEqual((again["ö"].name, again["A"].title), (odd["ö"].name, "ö?"))
        path = pathlib.Path(lumo.read(ASIA).file)
        with self.assertRaises(FileExistsError):
            copy.copy(lumo.read(path)).write(path)

    def test_parts_take_their_net_along(self):
        net = lumo.read(SAMPLES / "hugin/press_groups.net")
        node, other, nodes, group, state, again = pickle.loads(pickle.dumps(
            [net.nodes[0], net.nodes[-1], net.nodes, net.groups[0], net.nodes[0].states[0], net]))
        self.assertTrue(node.net is again and other in again and node == nodes[0] and node not in net)
        self.assertEqual(group.nodes[0].net, again)
        self.assertTrue(state in net.nodes[0].states and state != net.nodes[0].states[1])
        self.assertIn(state, set(net.nodes[0].states))
        try:
            lumo.reads("net {", "hugin", name="x.net")
        except lumo.ReadError as error:
            copied = pickle.loads(pickle.dumps(error))
            self.assertEqual((str(copied), copied.filename, copied.lineno), (str(error), "x.net", 1))
            self.assertEqual(copied.reports, error.reports)

    def test_other_bytes_are_refused(self):
        restore, (state,) = copyreg.dispatch_table[lumo.Net](lumo.read(ASIA))
        for bytes in (b"", state[:5], b"x" + state[1:], state[:-1], state[:200], state[:10] + b"9" + state[11:]):
            self.assertRaises(ValueError, restore, bytes)

    def test_nothing_is_laid_out_before_somebody_asks(self):
        path = SAMPLES / "bif/classic.bif"
        net = lumo.read(path)
        restore, (state,) = copyreg.dispatch_table[lumo.Net](net)
        again = restore(state)
        repr([net, net.nodes, [(node.table, node.parents, node.states) for node in net]])
        self.assertEqual(net, again)
        self.assertEqual(net, pickle.loads(pickle.dumps(copy.deepcopy(net))))
        written_as(net, "bif"), written_as(net, "svg")
        self.assertTrue(lumo._core.awaits_layout(net) and lumo._core.awaits_layout(again))
        places = [node.position for node in net]
        self.assertEqual(len(set(places)), len(net))
        self.assertFalse(lumo._core.awaits_layout(net))
        self.assertEqual([node.position for node in again], places)
        again[net.nodes[1].name].position = (1, 2)
        self.assertEqual([node.position for node in again], [places[0], (1, 2), *places[2:]])
        self.assertNotEqual(net, again)

    def test_changed_bytes_harm_nothing(self):
        random_ = random.Random(7)
        refused = 0
        for path in ("hugin/press_groups.net", "dxpress/copier.dxp", "xdsl/features.xdsl", "bif/classic.bif"):
            restore, (state,) = copyreg.dispatch_table[lumo.Net](lumo.read(SAMPLES / path))
            for _ in range(int(os.environ.get("LUMO_MUTANTS", "1000"))):
                mutant = bytearray(state)
                for _ in range(random_.randint(1, 3)):
                    mutant[random_.randrange(len(mutant))] = random_.choice((0, 1, 2, 127, 128, 255, random_.randrange(256)))
                try:
                    net = restore(bytes(mutant))
                except (ValueError, MemoryError):
                    refused += 1
                    continue
                net.to_json()
                repr([net, net.groups, net.reports, net.drawing, *net])
                for node in net:
                    repr([node.states, node.levels, node.table, node.experience, node.parameters, node.parents,
                          node.groups, node.user_fields, node.position])
                for name in ("hugin", "xmlbif", "svg", "html"):
                    written_as(net, name)
        self.assertGreater(refused, 500)


class Conversions(unittest.TestCase):
    def test_frames_and_arrays(self):
        net = lumo.read(ASIA)
        frame = net["dysp"].to_frame()
        self.assertEqual((frame.index.names, frame.columns.name), (["either", "bronc"], "dysp"))
        self.assertEqual(frame.loc[("yes", "no"), "yes"], 0.7)
        self.assertIn("0.7", frame.to_csv())
        third = lumo.reads("net {} node a { states = (\"x\" \"y\"); } potential (a) { data = (0.3333333333333333 "
                           "0.6666666666666667); }", "hugin")["a"]
        self.assertEqual(third.to_frame().to_numpy().ravel().tolist(), [0.3333333333333333, 0.6666666666666667])
        self.assertEqual(third.probabilities.tolist(), third.to_xarray().to_numpy().tolist())
        self.assertEqual(third.table.dtype, numpy.float32)
        array = net["dysp"].to_xarray()
        self.assertEqual((array.dims, array.dtype), (("either", "bronc", "dysp"), numpy.float64))
        self.assertEqual(array.sel(either="yes", bronc="no", dysp="yes"), frame.loc[("yes", "no"), "yes"])
        self.assertEqual(net["asia"].to_frame().shape, (1, 2))
        nodes = net.to_frame()
        self.assertEqual((nodes.loc["dysp", "parents"], nodes.loc["dysp", "numbers"]), (("either", "bronc"), 8))
        self.assertEqual(nodes.numbers.sum(), 36)
        alike = lumo.reads("<BIF><NETWORK><VARIABLE><NAME>a</NAME><OUTCOME>1</OUTCOME><OUTCOME>1</OUTCOME></VARIABLE>"
                           "<DEFINITION><FOR>a</FOR><TABLE>1 3</TABLE></DEFINITION></NETWORK></BIF>")["a"]
        self.assertEqual(alike.to_frame(normalize=True).to_dict("list"), {"1 #0": [0.25], "1 #1": [0.75]})
        few = "BAYES 1 2 1 1 0 2 0.03125 0.09375"  # rows whose sum is far below 1
        self.assertEqual(lumo.reads(few)["V0"].to_frame(normalize=True).to_numpy().tolist(), [[0.25, 0.75]])
        self.assertEqual(lumo.reads(few)["V0"].to_frame().to_numpy().tolist(), [[0.03125, 0.09375]])
        self.assertEqual(lumo.reads(few, normalize=True)["V0"].to_frame().to_numpy().tolist(), [[0.25, 0.75]])
        odd = lumo.reads(ODD, "hugin")
        self.assertRaisesRegex(ValueError, "has no table", odd["ö"].to_xarray)

    def test_all_samples(self):
        for path in FILES:
            for node in lumo.read(path):
                if node.table is not None:
                    frame = node.to_frame(normalize=True)
                    numpy.testing.assert_array_equal(frame.to_numpy().ravel(),
                                                     node.to_xarray(normalize=True).to_numpy().ravel())
                    if node.relation != "real":
                        sums = frame.sum(axis=1)
                        self.assertTrue(((abs(sums - 1) < 1e-14) | (sums == 0)).all())

    def test_pgmpy(self):
        with mock.patch.dict(sys.modules, pgmpy_standin.modules()):
            net = lumo.read(ASIA)
            model = net.to_pgmpy(normalize=True)
            self.assertTrue(model.check_model())
            self.assertEqual((list(model.nodes), model.name), ([node.name for node in net], "asia"))
            self.assertAlmostEqual(model.get_cpds("dysp").get_value(dysp="no", either="yes", bronc="no"), 0.3)
            umbrella = lumo.read(SAMPLES / "hugin/umbrella.net")
            self.assertRaisesRegex(ValueError, "is a (decision|utility) node.*skip=True", umbrella.to_pgmpy)
            kept = umbrella.to_pgmpy(skip=True)
            self.assertTrue(kept.check_model())
            self.assertEqual(set(kept.nodes), {node.name for node in umbrella if node.kind == "nature"})
            for path in FILES:
                with self.subTest(path=path.name):
                    model = lumo.read(path).to_pgmpy(normalize=True, skip=True)
                    self.assertTrue(set(model.nodes) == {cpd.variable for cpd in model.cpds})
        with mock.patch.dict(sys.modules, pgmpy_standin.modules("BayesianNetwork")):
            self.assertTrue(net.to_pgmpy().check_model())

    def test_a_missing_package_is_named(self):
        net = lumo.read(ASIA)
        for package, convert in (("pandas", net.to_frame), ("pandas", net.nodes[0].to_frame), ("pgmpy", net.to_pgmpy),
                                 ("xarray", net.nodes[0].to_xarray), ("networkx", net.to_networkx)):
            gone = {name: None for name in (package, "pgmpy.models")}
            with mock.patch.dict(sys.modules, gone), self.assertRaisesRegex(ImportError, f"needs the package {package}"):
                convert()

    def test_notebooks(self):
        net = lumo.read(ASIA)
        self.assertIn("</svg>", net._repr_svg_())
        self.assertIn("data:image/svg+xml", net._repr_html_())
        html = net["dysp"]._repr_html_()
        rows = ElementTree.fromstring(html[html.index("<table>"):]).findall("tbody/tr")
        self.assertEqual(["".join(cell.itertext()) for cell in rows[1]], ["yes", "no", "0.7", "0.3"])
        odd = lumo.reads(ODD, "hugin")
        self.assertIn("&lt;b&gt;, ß", odd["ö"]._repr_html_())
        many = lumo.reads("net {}" + "".join(f'node n{i} {{ states = ("a" "b"); }}' for i in range(501)), "hugin")
        self.assertIsNone(many._repr_svg_())
        self.assertIn("Too many nodes", many._repr_html_())


class Many(unittest.TestCase):
    def test_order_and_errors(self):
        paths = [ASIA, "none.net", *FILES * 3, ROOT, str(ASIA), ROOT / "LICENSE"]
        for jobs in (None, 1, 3):
            results = list(lumo.read_many(iter(paths), jobs))
            for path, result in zip(paths, results, strict=True):
                if isinstance(result, lumo.Net):
                    self.assertEqual(result.file, str(path))
            self.assertEqual([type(result) for result in results if isinstance(result, Exception)],
                             [FileNotFoundError, IsADirectoryError, lumo.ReadError])
        self.assertRaises(ValueError, lambda: next(lumo.read_many(paths, format="nothing")))
        taken = []
        next(lumo.read_many((taken.append(path) or path for path in FILES * 100), 2))
        self.assertLess(len(taken), 100)  # the rest of the paths was not asked for

    def test_large_files_are_read_side_by_side(self):
        both = threading.Barrier(2, timeout=30)  # broken when one thread reads all
        with tempfile.TemporaryDirectory() as folder, mock.patch("lumo._read.read", lambda path: both.wait()):
            paths = [pathlib.Path(folder, name) for name in ("a.net", "b.net")]
            for path in paths:
                path.write_bytes(b"%" * (1 << 18))
            self.assertEqual(set(lumo.read_many(paths, 2)), {0, 1})

    def test_progress(self):
        shown = []
        bar = types.SimpleNamespace(tqdm=lambda paths, unit: (shown.append(path) or path for path in paths))
        with mock.patch.dict(sys.modules, {"tqdm": bar, "tqdm.auto": bar}):
            self.assertEqual(len(list(lumo.read_many(FILES, progress=True))), len(FILES))
        self.assertEqual(shown, FILES)
        with mock.patch.dict(sys.modules, {"tqdm": None, "tqdm.auto": None}):
            self.assertRaisesRegex(ImportError, "tqdm", next, lumo.read_many(FILES, progress=True))

    def test_warnings(self):
        damaged = SAMPLES / "hugin/damaged.net"
        for read in (lambda: lumo.read(damaged, warn=True), lambda: list(lumo.read_many([damaged], warn=True)),
                     lambda: lumo.reads(damaged.read_bytes(), name=damaged, warn=True)):
            with warnings.catch_warnings(record=True) as caught:
                warnings.simplefilter("always")
                read()
            wanted = [str(report) for report in lumo.read(damaged).reports if report.severity >= 4]
            self.assertEqual([str(warning.message) for warning in caught], wanted)
            self.assertEqual({(w.filename, w.category) for w in caught}, {(__file__, lumo.LumoWarning)})
            self.assertRegex(wanted[0], r"damaged.net:5:\d+: error")
            self.assertEqual(caught[0].message.report.line, 5)

    def test_what_cannot_be_opened(self):
        with tempfile.TemporaryDirectory() as folder:
            locked = pathlib.Path(folder, "locked.net")
            locked.write_bytes(ASIA.read_bytes())
            locked.chmod(0)
            os.chmod(folder, 0o755)
            program = (f"import os, lumo\nif os.getuid() == 0: os.setuid(65534)\n"
                       f"try: lumo.read({str(locked)!r})\nexcept PermissionError as e: print(e.errno, e.filename)")
            run = subprocess.run([sys.executable, "-c", program], capture_output=True, text=True)
            self.assertEqual(run.stdout, f"13 {locked}\n", run.stderr)
            for path, kind, number in ((locked / "x.net", NotADirectoryError, 20), (folder, IsADirectoryError, 21),
                                       (pathlib.Path(folder, "no.net"), FileNotFoundError, 2)):
                with self.assertRaises(kind) as caught:
                    lumo.read(path)
                self.assertEqual((caught.exception.errno, caught.exception.filename), (number, str(path)))


class Types(unittest.TestCase):
    def test_stub(self):
        package = pathlib.Path(lumo.__file__).parent
        with tempfile.TemporaryDirectory() as folder:
            config, user = pathlib.Path(folder, "mypy.ini"), pathlib.Path(folder, "user.py")
            config.write_text("[mypy]\nstrict = True\nignore_missing_imports = True\n"
                              f"cache_dir = {folder}\n"
                              "[mypy-numpy.*,pandas.*,xarray.*,networkx.*]\nfollow_imports = skip\n")
            user.write_text("import lumo\n"
                            "for net in lumo.read_many(['a.net'], 2, strict=True):\n"
                            "    if isinstance(net, lumo.Net):\n"
                            "        tables = {node.name: node.table for node in net if node in net.nodes}\n"
                            "net.write('a.bif')\n"
                            "lumo.read('a.net').nodes['a'] + 1\n"
                            "lumo.Report()\n"
                            "lumo.Report(1)\n")

            def run(*command):
                return subprocess.run([sys.executable, "-m", *map(str, command)], capture_output=True, text=True,
                                      cwd=package.parent)

            stubtest = run("mypy.stubtest", "lumo", "--mypy-config-file", config)
            self.assertEqual(stubtest.returncode, 0, stubtest.stdout + stubtest.stderr)
            lines = re.findall(r":(\d+): error", run("mypy", "--config-file", config, package / "__init__.pyi", user).stdout)
            self.assertEqual(lines, ["5", "5", "6", "8"])

    def test_compiled_functions_are_as_in_the_stub(self):
        """Those have no signature that stubtest could see, but a line in their documentation."""
        compiled = type(lumo.explain)

        def check(body, owner):
            for item in body:
                if isinstance(item, ast.ClassDef) and hasattr(owner, item.name):
                    check(item.body, getattr(owner, item.name))
                elif isinstance(item, ast.FunctionDef) and not item.name.startswith("__"):
                    doc = getattr(owner, item.name).__doc__
                    self.assertGreater(len(doc), 8, item.name)
                    arguments = item.args.args + item.args.kwonlyargs
                    if isinstance(getattr(owner, item.name), compiled):
                        self.assertEqual([a.arg for a in arguments if f"{a.arg}:" not in doc], [], item.name)

        check(ast.parse(pathlib.Path(lumo.__file__).with_suffix(".pyi").read_text()).body, lumo)
        for name in lumo.__all__:
            if callable(getattr(lumo, name)):
                self.assertGreater(len(getattr(lumo, name).__doc__), 10, name)


if __name__ == "__main__":
    unittest.main()
