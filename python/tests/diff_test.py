"""Comparing nets, tables of many, and JSON read back."""

import json
import pathlib
import sys
import tempfile
import unittest

import lumo

SAMPLES = pathlib.Path(sys.argv.pop()) / "samples"
ASIA = SAMPLES / "hugin/asia.net"

try:
    import pandas
except ImportError:
    pandas = None


class Diff(unittest.TestCase):
    def test_same(self):
        diff = lumo.diff(ASIA, lumo.read(ASIA))
        self.assertFalse(diff)
        self.assertIn("the nets are the same: 8 nodes, 36 numbers", str(diff))

    def test_different(self):
        changed = lumo.read(ASIA)
        changed["tub"].table = [[0.5, 0.5], [0.01, 0.99]]
        changed["xray"].title = "X-ray"
        changed.title = "Chest"
        diff = lumo.diff(ASIA, changed)
        self.assertTrue(diff)
        self.assertIn("@@ node tub @@", str(diff))
        self.assertFalse(lumo.diff(changed, changed))
        by_node = {node["before"]: node for node in diff.to_json()["nodes"]}
        self.assertEqual(set(by_node), {"tub", "xray"})
        with tempfile.TemporaryDirectory() as folder:
            page = pathlib.Path(folder, "x.html")
            diff.write(page)
            self.assertTrue(page.read_text().startswith("<!DOCTYPE html>"))
            diff.write(page.with_suffix(".json"))
            self.assertEqual(json.loads(page.with_suffix(".json").read_text()), diff.to_json())

    def test_tolerance(self):
        changed = lumo.read(ASIA)
        table = changed["smoke"].table.copy()
        changed["smoke"].table = table + [0.001, -0.001]
        self.assertTrue(lumo.diff(ASIA, changed))
        self.assertFalse(lumo.diff(ASIA, changed, tolerance=0.01))

    @unittest.skipIf(pandas is None, "no pandas")
    def test_frame(self):
        changed = lumo.read(ASIA)
        changed.remove("dysp")
        changed["xray"].title = "X-ray"
        frame = lumo.diff(ASIA, changed).to_frame()
        self.assertEqual(list(frame[frame.node == "dysp"].what), ["removed"])
        self.assertEqual(list(frame[frame.node == "xray"].after), ["X-ray"])
        self.assertEqual(len(lumo.diff(ASIA, ASIA).to_frame()), 0)


@unittest.skipIf(pandas is None, "no pandas")
class Survey(unittest.TestCase):
    def test_folder(self):
        frame = lumo.survey(SAMPLES / "hugin").set_index("file")
        asia = frame.loc[str(ASIA)]
        self.assertEqual((asia.format, asia.nodes, asia.links, asia.parameters), ("hugin", 8, 8, 18))
        self.assertEqual((asia.largest, asia.clique, asia.depth), (8, 3, 3))

    def test_duplicates_and_failures(self):
        with tempfile.TemporaryDirectory() as folder:
            copy = pathlib.Path(folder, "copy.xml")
            lumo.read(ASIA).write(copy)
            broken = pathlib.Path(folder, "broken.net")
            broken.write_text("Enet { }")
            frame = lumo.survey([ASIA, copy, broken])
            self.assertEqual(frame.same[1], str(ASIA))
            self.assertEqual(frame.content[0], frame.content[1])
            self.assertEqual(frame.status[2], "failed")
            self.assertEqual(list(lumo.survey([ASIA, folder]).file), [str(ASIA), str(broken), str(copy)])


class Json(unittest.TestCase):
    def test_every_sample(self):
        for path in sorted(SAMPLES.glob("*/*")):
            if path.suffix == ".expected":
                continue
            net = lumo.read(path)
            with self.subTest(path=path):
                for document in (net.to_json(), json.dumps(net.to_json())):
                    again = lumo.from_json(document)
                    self.assertEqual(net.to_json()["net"]["nodes"], again.to_json()["net"]["nodes"])
                    self.assertFalse(lumo.diff(net, again, tolerance=0))

    def test_refused(self):
        with self.assertRaises(lumo.ReadError) as caught:
            lumo.from_json({"schema": "lumo-import/2", "net": {}})
        self.assertIn("lumo-import/2", str(caught.exception))


if __name__ == "__main__":
    unittest.main()
