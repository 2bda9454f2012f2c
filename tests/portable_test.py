#!/usr/bin/env python3
"""A program for another system, or with another standard library, does what the one of this system does.

usage: portable_test.py PROGRAM REFERENCE SAMPLES [--wine WINE | --chroot] [--files FOLDER]

With --wine it is Windows' and run by that; with --chroot it is run in a folder that has nothing but the program and the
samples. --files: the JSON of all files below that folder is compared as well.
"""
import argparse
import gzip
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

UMLAUTS = "Bäume und Wälder/größe ⚑ 漢.net"


def files_below(folder):
    """Lists of files, of one folder each, whose names differ by more than their extensions."""
    lists = []
    for place, _, names in sorted(os.walk(folder)):
        rounds = []  # of different stems
        for name in sorted(names):
            stem = pathlib.Path(name).stem
            free = next((r for r in rounds if stem not in r), None)
            if free is None:
                rounds.append(free := {})
            free[stem] = os.path.join(place, name)
        lists += [list(r.values()) for r in rounds]
    return lists


class Portable(unittest.TestCase):
    maxDiff = 3000

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.work = pathlib.Path(cls.folder.name)
        shutil.copytree(options.samples, cls.work / "samples")
        (cls.work / "all").mkdir()  # in one folder, so that a run has them all
        for path in sorted((cls.work / "samples").glob("*/*.*")):
            if path.suffix != ".expected":
                shutil.copy(path, cls.work / "all" / ("%s-%s" % (path.parent.name, path.name)))
        cls.reference = [os.path.abspath(options.reference)]
        program = os.path.abspath(options.program)
        if options.chroot:
            shutil.copy(program, cls.work / "lumo-import")
            cls.program = [*(["unshare", "--map-root-user"] if os.getuid() else []), "chroot", str(cls.work), "/lumo-import"]
        else:
            cls.program = [options.wine, program] if options.wine else [program]
        cls.environment = dict(os.environ, WINEDEBUG="-all", LC_ALL="C.UTF-8")
        cls.environment.setdefault("WINEPREFIX", os.path.join(tempfile.gettempdir(), "lumo-wine-%d" % os.getuid()))
        if options.wine:  # which prepares itself at its first start
            subprocess.run([*cls.program, "--version"], env=cls.environment, capture_output=True, check=True)

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def run_one(self, program, *arguments, **more):
        return subprocess.run([*program, *map(str, arguments)], cwd=self.work, env=self.environment,
                              **{"capture_output": True, "stdin": subprocess.DEVNULL, **more})

    def both(self, *arguments, **more):
        """What the program gives, which is what the reference gives, in every byte."""
        want = self.run_one(self.reference, *arguments, **more)
        got = self.run_one(self.program, *arguments, **more)
        self.assertEqual(got.stdout.decode(), want.stdout.decode(), arguments)
        self.assertEqual(got.stderr.decode(), want.stderr.decode(), arguments)
        self.assertEqual(got.returncode, want.returncode, arguments)
        return got

    def converted(self, program, files, writer, place):
        (self.work / place).mkdir(exist_ok=True)
        done = self.run_one(program, "convert", *files, "--to", writer, "-o", place)
        written = {path.name: path.read_bytes() for path in sorted((self.work / place).iterdir())}
        shutil.rmtree(self.work / place)
        return done.returncode, done.stderr.decode(), written

    def compare(self, files, writer):
        want = self.converted(self.reference, files, writer, "want")
        got = self.converted(self.program, files, writer, "got")
        self.assertEqual(got[0], want[0], files)
        self.assertEqual(got[1], want[1], files)
        self.assertEqual(list(got[2]), list(want[2]))
        for name, text in want[2].items():
            self.assertEqual(got[2][name], text, "%s as %s" % (name, writer))
        return len(want[2])

    def samples(self):
        return [[os.path.relpath(path, self.work) for path in files] for files in files_below(self.work / "all")]

    def test_writes_every_sample_as_the_reference_does(self):
        table = self.run_one(self.reference, "formats").stdout.decode()
        writers = [line.split()[0] for line in table.splitlines()[1:] if line.split()[3] == "yes"]
        writers = [name for name in writers if name not in ("png", "pdf")]  # with libraries of this system
        self.assertIn("json", writers)
        for writer in writers:
            for files in self.samples():
                self.assertGreater(self.compare(files, writer), 0)

    def test_says_the_same(self):
        files = sum(self.samples(), [])
        self.both("check", *files)
        self.both("check", "--diagnostics", "json", "--strict", *files)
        self.both(*files)
        self.both("--json", *files)
        for arguments in (["samples/hugin/asia.net"], ["table", "samples/hugin/asia.net", "dysp"], ["formats"],
                          ["--help"], ["explain", "4022"], ["missing.net"], ["samples"], ["convert"], ["--nothing"],
                          ["check", "samples/hugin/asia.net", "--from", "dsc"], ["nodes", "samples/hugin/asia.net"]):
            self.both(*arguments)

    def test_many_files_at_once(self):
        self.both("check", "-j", "4", *sum(self.samples(), []))

    def test_reads_standard_input_and_compressed_files(self):
        text = (self.work / "samples/hugin/asia.net").read_bytes()
        self.both("-", input=text, stdin=None)
        self.both("convert", "-", "--to", "json", "-o", "-", input=text, stdin=None)
        (self.work / "asia.net.gz").write_bytes(gzip.compress(text))
        self.assertEqual(self.both("asia.net.gz").returncode, 0)

    def test_paths_with_umlauts_and_spaces(self):
        path = self.work / UMLAUTS
        path.parent.mkdir()
        shutil.copy(self.work / "samples/hugin/asia.net", path)
        self.both(UMLAUTS)
        self.both("check", UMLAUTS, "Bäume und Wälder/fehlt.net")
        for output in ("Ausgabe für alle.json", "漢字.svg"):  # not beside it: JSON is read as well
            self.assertEqual(self.run_one(self.program, "convert", UMLAUTS, "-o", output).returncode, 0)
            written = (self.work / output).read_bytes()
            self.run_one(self.reference, "convert", UMLAUTS, "-o", output)
            self.assertEqual(written, (self.work / output).read_bytes())
        done = self.run_one(self.program, "convert", "-r", "Bäume und Wälder", "--to", "bif", "-o", "Ergebnis ä")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual([p.name for p in (self.work / "Ergebnis ä").iterdir()], ["größe ⚑ 漢.bif"])

    def test_outputs_onto_existing_files(self):
        target = self.work / "there.json"
        target.write_text("what was there")
        self.assertEqual(self.run_one(self.program, "convert", "samples/hugin/asia.net", "-o", "there.json",
                                      "--force").returncode, 0)
        self.assertTrue(target.read_text().startswith('{"schema"'))
        shutil.copy(self.work / "samples/hugin/asia.net", self.work / "own.net")
        refused = self.run_one(self.program, "convert", "own.net", "-o", "own.net")
        self.assertEqual(refused.returncode, 64)
        self.assertIn(b"--force", refused.stderr)
        self.assertEqual(self.run_one(self.program, "convert", "own.net", "-o", "own.net", "--force").returncode, 0)
        self.assertEqual(self.run_one(self.program, "own.net").returncode, 0)
        (self.work / "full").mkdir()
        self.assertEqual(self.run_one(self.program, "convert", "own.net", "--to", "json", "-o",
                                      "none/such.json").returncode, 74)
        left = [p for p in self.work.rglob(".lumo-*")]
        self.assertEqual(left, [])

    def test_line_ends_are_the_same_everywhere(self):
        for arguments in (["samples/hugin/asia.net"], ["check", "samples/hugin/damaged.net"], ["--help"],
                          ["convert", "samples/hugin/asia.net", "--to", "net", "-o", "-"]):
            done = self.run_one(self.program, *arguments)
            self.assertNotIn(b"\r", done.stdout + done.stderr, arguments)

    def test_a_closed_pipe_ends_it(self):
        # The program starts before the pipe is closed, and writes after: its input waits till then.
        for command in (["convert", "-", "--to", "json", "-o", "-"], ["table", "-", "dysp"]):
            running = subprocess.Popen([*self.program, *command], cwd=self.work, env=self.environment,
                                       stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            running.stdout.close()
            running.stdin.write((self.work / "samples/hugin/asia.net").read_bytes())
            running.stdin.close()
            said = running.stderr.read().decode()
            running.stderr.close()
            self.assertEqual(running.wait(), 74, said)
            self.assertEqual(said.count("\n"), 1)
            self.assertTrue(said.startswith("lumo-import: cannot write 'standard output'"), said)

    def test_absolute_paths(self):
        path = "/samples/hugin/asia.net" if options.chroot else str(self.work / "samples/hugin/asia.net")
        for command in ([path], ["check", path], ["nodes", path]):
            done = self.run_one(self.program, *command)
            self.assertEqual((done.returncode, done.stderr), (0, b""), command)

    @unittest.skipUnless("--wine" in sys.argv, "shells of other systems do this")
    def test_patterns_are_the_files(self):
        done = self.run_one(self.program, "check", "samples\\hugin\\*.net")
        names = {path.name for path in (self.work / "samples/hugin").glob("*.net")}
        several = self.run_one(self.program, "samples\\hugin\\*.net").stdout.decode()
        self.assertIn("%d files:" % len(names), several)
        self.assertIn(done.returncode, (0, 1, 2))

    def test_files_named_further(self):
        if not options.files:
            self.skipTest("--files names none")
        copied = self.work / "files"
        shutil.copytree(options.files, copied)
        count = 0
        for files in files_below(copied):
            for at in range(0, len(files), 40):
                count += self.compare([os.path.relpath(path, self.work) for path in files[at:at + 40]], "json")
        print("%d further files are the same as JSON" % count)
        shutil.rmtree(copied)


if __name__ == "__main__":
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    for name in ("program", "reference", "samples"):
        parser.add_argument(name)
    parser.add_argument("--wine")
    parser.add_argument("--chroot", action="store_true")
    parser.add_argument("--files")
    parser.add_argument("tests", nargs="*")
    options = parser.parse_intermixed_args()
    unittest.main(argv=[sys.argv[0], *options.tests])
