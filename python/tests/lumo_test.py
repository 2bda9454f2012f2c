"""The module lumo: lumo_test.py ROOT, with the built package on PYTHONPATH."""

import doctest
import gc
import multiprocessing
import os
import pathlib
import re
import shutil
import signal
import sys
import tempfile
import threading
import unittest
from concurrent.futures import ThreadPoolExecutor
from unittest import mock

import lumo
import numpy

ROOT = pathlib.Path(sys.argv.pop())
SAMPLES = ROOT / "samples"
ASIA = SAMPLES / "hugin/asia.net"
FILES = [path for path in sorted(SAMPLES.glob("*/*"))
         if any(path.suffix in extensions for extensions in lumo.formats.values())]


def chain(nodes):
    """A Hugin net of that many nodes in a chain."""
    text = ["net {}\n", "potential (n0) { data = (0.5 0.5); }\n"]
    text[1:1] = (f'node n{i} {{ states = ("a" "b"); }}\n' for i in range(nodes))
    text += (f"potential (n{i} | n{i - 1}) {{ data = ((0.5 0.5)(0.25 0.75)); }}\n" for i in range(1, nodes))
    return "".join(text)


class AgainstJson(unittest.TestCase):
    """Everything that the objects say is what the JSON says."""

    def compare_node(self, node, wanted, net):
        for key in ("name", "title", "comment", "kind", "discrete", "groups"):
            self.assertEqual(wanted[key], getattr(node, key), key)
        self.assertEqual(wanted["userFields"], node.user_fields)
        self.assertEqual(wanted["position"], list(node.position))
        self.assertEqual(wanted["parents"], [parent.name for parent in node.parents])
        states = [{key: getattr(state, key) for key in ("name", "title", "comment", "value")}
                  for state in node.states]
        self.assertEqual(wanted["states"], states)
        self.assertEqual(wanted["levels"], None if node.levels is None else node.levels.tolist())
        for child in node.children:
            self.assertIn(node, child.parents)
        self.assertEqual(len(node.children), sum(node in other.parents for other in net.nodes))
        relation = wanted["relation"]
        self.assertEqual(relation["kind"], node.relation)
        rows = tuple(len(parent.states) for parent in node.parents)
        columns = (len(node.states),) if len(node.states) > 0 else ()
        for key, shape in (("table", rows + columns), ("experience", rows), ("parameters", None)):
            array = getattr(node, key)
            self.assertEqual(relation[key] is None, array is None, key)
            if array is not None:
                self.assertEqual(shape or array.shape, array.shape)
                numpy.testing.assert_array_equal(numpy.array(relation[key], array.dtype), array.ravel())

    def test_samples(self):
        self.assertGreater(len(FILES), 15)
        for path in FILES:
            with self.subTest(path=path.name):
                net = lumo.read(path)
                document = net.to_json()
                self.assertEqual((document["format"], document["status"]), (net.format, net.status))
                wanted = document["net"]
                for key in ("name", "title", "comment", "drawing"):
                    self.assertEqual(wanted[key], getattr(net, key), key)
                self.assertEqual(wanted["groups"], [{"name": g.name, "color": g.color} for g in net.groups])
                for group in net.groups:
                    self.assertEqual(group.nodes, tuple(n for n in net.nodes if group.name in n.groups))
                self.assertEqual(len(wanted["nodes"]), len(net.nodes))
                for node, expected in zip(net.nodes, wanted["nodes"]):
                    self.compare_node(node, expected, net)
                for report, expected in zip(net.reports, document["reports"], strict=True):
                    for key in ("number", "severity", "kind", "message", "line", "column"):
                        self.assertEqual(expected[key], getattr(report, key), key)
                    context = tuple(expected[key] for key in ("structKind", "structName", "fieldName"))
                    self.assertEqual(context, report.context)


class Access(unittest.TestCase):
    def test_lookup(self):
        net = lumo.read(ASIA)
        self.assertEqual(net["smoke"].name, "smoke")
        self.assertTrue("smoke" in net and net["smoke"] in net.nodes and "nobody" not in net.nodes)
        self.assertEqual((list(net), len(net), net.nodes["smoke"]), (list(net.nodes), 8, net["smoke"]))
        self.assertEqual(net.nodes[-1], net.nodes[len(net.nodes) - 1])
        self.assertEqual(net.nodes[1:6:2], (net.nodes[1], net.nodes[3], net.nodes[5]))
        self.assertEqual(len({net["smoke"], net["smoke"], net.nodes[0]} | set(net.nodes)), len(net.nodes))
        self.assertTrue(net["smoke"] != lumo.read(ASIA)["smoke"] not in net)
        self.assertNotEqual(net["smoke"], "smoke")
        self.assertRaises(KeyError, lambda: net.nodes["nobody"])
        for key in ("nobody", "smoke\0", "\ud800", 3, None):
            self.assertRaises(KeyError, lambda: net[key])
            self.assertNotIn(key, net)
        self.assertRaises(IndexError, lambda: net.nodes[len(net.nodes)])
        self.assertRaises(IndexError, lambda: net.nodes[-len(net.nodes) - 1])

    def test_texts_are_unicode(self):
        for bytes in (b"\xf6\xdf", "öß".encode()):
            net = lumo.reads(b'net {} node Gr%be { label = "Gr%be"; states = ("%b" "b"); }' % ((bytes,) * 3), "hugin")
            self.assertEqual((net["Größe"].title, str(net["Größe"].states[0])), ("Größe", "öß"))

    def test_objects_come_from_reading_alone(self):
        for name in lumo.__all__:
            kind = getattr(lumo, name)
            if isinstance(kind, type) and not issubclass(kind, (Exception, lumo.Diff, lumo.Net)):
                class Own(kind):
                    pass
                for make in (kind, Own, lambda: kind.__new__(kind), lambda: Own.__new__(Own), lambda: object.__new__(kind)):
                    self.assertRaises(TypeError, make)
        self.assertEqual(len(lumo.Net()), 0)
        self.assertRaises(TypeError, lambda: object.__new__(lumo.Net))
        self.assertRaises(TypeError, type("Own", (lumo.Net,), {}))

    def test_documentation(self):
        folder = os.getcwd()
        os.chdir(ROOT)
        self.addCleanup(os.chdir, folder)
        result = doctest.testfile(str(ROOT / "docs/python.md"), module_relative=False)
        self.assertEqual(result.failed, 0)
        self.assertGreater(result.attempted, 10)

    def test_readme(self):
        code = re.search(r"^```python$(.*?)^```$", (ROOT / "README.md").read_text(), re.M | re.S)[1]
        folder = os.getcwd()
        self.addCleanup(os.chdir, folder)
        with tempfile.TemporaryDirectory() as place:
            os.chdir(place)
            os.mkdir("old")
            shutil.copy(ASIA, ".")
            shutil.copy(SAMPLES / "hugin/umbrella.net", "old")
            names = {}
            exec(code, names)
            os.chdir(folder)
            garden = lumo.read(pathlib.Path(place, "garden.xdsl"))
        self.assertFalse(lumo.diff(garden, names["garden"]))
        self.assertEqual([node.title for node in garden], ["Rain at night", None])


class Tables(unittest.TestCase):
    def test_no_copy(self):
        net = lumo.read(ASIA)
        first, again = net["dysp"].table, net["dysp"].table
        self.assertTrue(numpy.shares_memory(first, again))
        self.assertIs(first.base, net)
        self.assertRaises(ValueError, first.setflags, write=True)
        with self.assertRaises(ValueError):
            first[0, 0, 0] = 1

    def test_array_keeps_the_net(self):
        array = lumo.read(ASIA)["dysp"].table
        wanted = array.copy()
        gc.collect()
        others = [lumo.read(ASIA) for _ in range(20)]  # would take the memory if it were free
        numpy.testing.assert_array_equal(wanted, array)
        self.assertFalse(any(numpy.shares_memory(array, net["dysp"].table) for net in others))

    def test_many_parents(self):
        for parents, shape in ((31, (1,) * 31 + (2,)), (32, (1, 2)), (40, (1, 2))):
            names = " ".join(f"p{i}" for i in range(parents))
            nodes = "".join(f'node p{i} {{ states = ("a"); }}\n' for i in range(parents))
            net = lumo.reads(f'net {{}}\n{nodes}node c {{ states = ("a" "b"); }}\n'
                             f"potential (c | {names}) {{ data = (0.25 0.75); }}\n")
            self.assertEqual(net["c"].table.shape, shape)
            self.assertEqual(net["c"].table.ravel().tolist(), [0.25, 0.75])

    def test_condense_is_answered_by_each_call(self):
        path = next(path for path in FILES if any(n.relation == "noisy-max" for n in lumo.read(path).nodes))
        for condense in (False, True, False, True):
            nodes = [n for n in lumo.read(path, condense=condense).nodes if n.relation == "noisy-max"]
            self.assertTrue(all((n.table is None) == condense for n in nodes))
            self.assertTrue(all(n.parameters is not None for n in nodes))
        full = [n.table.tolist() for n in lumo.read(path).nodes if n.relation == "noisy-max"]
        self.assertEqual(full, [n.table.tolist() for n in lumo.read(path).nodes if n.relation == "noisy-max"])


def _name_of(path):
    return lumo.read(path).name


class Reading(unittest.TestCase):
    def test_formats(self):
        data = ASIA.read_bytes()
        for net in (lumo.reads(data), lumo.reads(data.decode()), lumo.reads(data, format="hugin", name="x/asia.net"),
                    lumo.read(str(ASIA)), lumo.read(os.fsencode(ASIA), "hugin")):
            self.assertEqual((net.format, len(net.nodes)), ("hugin", 8))
        self.assertEqual(lumo.reads(data, name="x/clinic.net").name, "clinic")
        with self.assertRaisesRegex(ValueError, "unknown format 'nets'; there are hugin, dsc"):
            lumo.read(ASIA, "nets")

    def test_options(self):
        text = ('<BIF VERSION="0.3"><NETWORK><VARIABLE><NAME>a</NAME><OUTCOME>x y</OUTCOME><OUTCOME>z</OUTCOME>'
                "</VARIABLE><DEFINITION><FOR>a</FOR><TABLE>25 75</TABLE></DEFINITION></NETWORK></BIF>")
        net = lumo.reads(text, normalize=True, create_state_names=True)
        self.assertEqual((net["a"].table.tolist(), net["a"].states[0].name), ([0.25, 0.75], "x_y"))
        self.assertEqual(net.reports[-1].number, -5420)
        self.assertIn("--normalize", net.reports[-1].explain())
        self.assertEqual(lumo.reads(text)["a"].table.tolist(), [25, 75])
        with self.assertRaises(lumo.ReadError):
            lumo.reads("", "xmlbif", strict=True)

    def test_nothing_read(self):
        with tempfile.TemporaryDirectory() as folder:
            plain = pathlib.Path(folder, "plain.txt")
            plain.write_text("nothing of the kind")
            with self.assertRaisesRegex(lumo.ReadError, "cannot tell the format of .*format=") as caught:
                lumo.read(plain)
            self.assertEqual(caught.exception.reports[-1].kind, "error")
            for report in caught.exception.reports:
                self.assertIn(str(report), str(caught.exception))
        self.assertTrue(issubclass(lumo.ReadError, Exception) and not issubclass(lumo.ReadError, ImportError))

    def test_errors_are_kept_and_nothing_is_printed(self):
        program = f"import lumo; net = lumo.read({str(SAMPLES / 'hugin/damaged.net')!r}); assert net.status == 'errors'"
        with tempfile.TemporaryFile() as out:
            pid = os.posix_spawn(sys.executable, [sys.executable, "-c", program], os.environ, file_actions=[
                (os.POSIX_SPAWN_DUP2, out.fileno(), 1), (os.POSIX_SPAWN_DUP2, out.fileno(), 2)])
            self.assertEqual(os.waitpid(pid, 0)[1], 0)
            out.seek(0)
            self.assertEqual(out.read(), b"")
        net = lumo.reads("net { Moon = 1; Moon = 2; } node a { states = (\"x\" \"y\"); }", "hugin")
        self.assertIn(("Moon", 2), net.skipped)

    def test_pipe(self):
        with tempfile.TemporaryDirectory() as folder:
            path = f"{folder}/pipe.net"
            os.mkfifo(path)
            writer = threading.Thread(target=lambda: pathlib.Path(path).write_bytes(ASIA.read_bytes()))
            writer.start()
            self.assertEqual(len(lumo.read(path).nodes), 8)
            writer.join()

    def test_threads(self):
        wanted = {path: lumo.read(path).to_json() for path in FILES}
        with ThreadPoolExecutor(8) as pool:
            for path, document in pool.map(lambda path: (path, lumo.read(path).to_json()), FILES * 8):
                self.assertEqual(wanted[path], document)

    def test_others_run_and_signals_come_through(self):
        """Another thread acts while a file is read: it sends a signal, whose handler raises."""
        class Stop(Exception):
            pass

        def stop(*_):
            raise Stop

        data = chain(300_000)
        self.assertEqual(lumo.reads(chain(10)).status, "ok")
        former = signal.signal(signal.SIGUSR1, stop)
        self.addCleanup(signal.signal, signal.SIGUSR1, former)
        main = threading.get_ident()
        timer = threading.Timer(0.02, signal.pthread_kill, (main, signal.SIGUSR1))
        net = None
        with self.assertRaises(Stop):
            timer.start()
            net = lumo.reads(data, "hugin")
            timer.join()
        self.assertIsNone(net, "the import went on to its end")
        self.assertEqual(len(lumo.read(ASIA).nodes), 8)

    def test_a_signal_handler_may_read(self):
        inner = []

        def read(*_):
            inner.append(lumo.reads("net {} node a { states = (\"x\" 1; }", "hugin"))

        former = signal.signal(signal.SIGUSR1, read)
        self.addCleanup(signal.signal, signal.SIGUSR1, former)
        timer = threading.Timer(0.02, signal.pthread_kill, (threading.get_ident(), signal.SIGUSR1))
        timer.start()
        net = lumo.reads(chain(300_000), "hugin", name="outer.net")
        timer.join()
        self.assertEqual((len(net.nodes), net.status), (300_000, "ok"))
        self.assertTrue(inner and inner[0].reports)
        self.assertEqual({report.file for report in inner[0].reports}, {"text"})

    def test_forked_children_read_while_threads_do(self):
        """No lock is left locked in a child that is forked while another thread reads."""
        data = chain(100_000)
        stop = threading.Event()

        def read_on():
            while not stop.is_set():
                lumo.reads(data, "hugin")

        reader = threading.Thread(target=read_on)
        reader.start()
        try:
            with multiprocessing.get_context("fork").Pool(2) as pool:
                names = pool.map_async(_name_of, FILES * 3).get(timeout=300)
        finally:
            stop.set()
            reader.join()
        self.assertEqual(names, [lumo.read(path).name for path in FILES * 3])


class Exports(unittest.TestCase):
    def test_networkx(self):
        net = lumo.read(ASIA)
        graph = net.to_networkx()
        self.assertEqual(graph.name, net.name)
        self.assertEqual(list(graph.nodes), [node.name for node in net.nodes])
        for node in net.nodes:
            for place, parent in enumerate(node.parents):
                self.assertEqual(graph.edges[parent.name, node.name]["place"], place)
        self.assertEqual(graph.number_of_edges(), sum(len(node.parents) for node in net.nodes))
        attributes = graph.nodes["smoke"]
        self.assertEqual((attributes["states"], attributes["pos"]), (["yes", "no"], net["smoke"].position))
        with mock.patch.dict(sys.modules, networkx=None), self.assertRaisesRegex(ImportError, "needs .* networkx"):
            net.to_networkx()

    def test_write(self):
        net = lumo.read(ASIA)
        with tempfile.TemporaryDirectory() as folder:
            for name, extension in lumo.writers.items():
                path = pathlib.Path(folder, "asia" + extension)
                lost = net.write(path)
                self.assertEqual(lost, net.write(path.with_suffix(".same"), name))
                if extension == ".bif":
                    self.assertIn("comments of 1 node are not kept by BIF", lost)
                if name in lumo.formats:
                    again = lumo.read(path).nodes[list(net.nodes).index(net["dysp"])]  # some formats have no names
                    self.assertEqual(net["dysp"].table.tolist(), again.table.tolist())
                self.assertEqual(path.read_bytes(), path.with_suffix(".same").read_bytes())
                self.assertGreater(path.stat().st_size, 100)
            target = pathlib.Path(folder, "asia.json")
            link = pathlib.Path(folder, "link.json")
            link.symlink_to(target)
            target.write_text("old")
            target.chmod(0o640)
            net.write(link)
            self.assertTrue(link.is_symlink() and target.stat().st_size > 100)
            self.assertEqual(target.stat().st_mode & 0o777, 0o640)
            entries = set(os.listdir(folder))
            for path, format, error in ((f"{folder}/x.unknown", None, ValueError), (f"{folder}/x", "nothing", ValueError),
                                        (f"{folder}/no/x.json", None, FileNotFoundError), (folder, "json", IsADirectoryError),
                                        ("/dev/full", "json", OSError)):
                with self.subTest(path=path), self.assertRaises(error):
                    net.write(path, format)
            self.assertEqual(entries, set(os.listdir(folder)))


    def test_the_source_is_not_written_over(self):
        with tempfile.TemporaryDirectory() as folder:
            path, bad = pathlib.Path(folder, "asia.net"), pathlib.Path(folder, "bad.net")
            for target, sample in ((path, "asia"), (bad, "damaged")):
                target.write_bytes((SAMPLES / f"hugin/{sample}.net").read_bytes())
                pathlib.Path(folder, f"{sample}-link.net").hardlink_to(target)
            for source, target, force in ((path, "asia.net", False), (path, "asia-link.net", False),
                                          (bad, "damaged-link.net", True)):
                before = source.read_bytes()
                with self.assertRaisesRegex(FileExistsError, "the net was read from"):
                    lumo.read(source).write(pathlib.Path(folder, target), force=force)
                self.assertEqual(source.read_bytes(), before)
            lumo.read(path).write(path, force=True)
            self.assertNotEqual(path.read_bytes(), ASIA.read_bytes())
            self.assertEqual(len(lumo.read(path).nodes), 8)


if __name__ == "__main__":
    unittest.main()
