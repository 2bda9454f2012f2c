"""Man page and shell completions against what --help says: completion_test.py PROGRAM MAN_PAGE.

Bash is run; zsh and fish too where they are installed.
"""

import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

PROGRAM, MAN_PAGE = map(pathlib.Path, sys.argv[1:])
ROOT = pathlib.Path(__file__).resolve().parent.parent
HELP = subprocess.run([PROGRAM, "--help"], check=True, capture_output=True, text=True).stdout
# Groups: short name, long name, argument, description.
LINES = re.findall(r"^ +(?:(-\w), )?(--[a-z-]+)(?: ([A-Za-z|]+))? {2,}(.+)$", HELP, re.M)
OPTIONS = {name for line in LINES for name in line[:2] if name}
COMMANDS = set(re.findall(r"^  lumo-import ([a-z]+)(?= |$)", HELP, re.M))
FORMATS = subprocess.run([PROGRAM, "formats"], check=True, capture_output=True, text=True).stdout
EXTENSIONS = re.findall(r"\.\w+", " ".join(re.findall(r" yes +(?:yes|-) +(\..*)", FORMATS)))


def values(argument, text):
    """The words that the option takes, as its line of the help lists them."""
    if "|" in argument:
        return argument.split("|")
    listed = re.search(r": ([a-z]+(?:, [a-z]+)+)$", text)
    return listed.group(1).split(", ") if argument and listed else []


VALUES = {long: values(argument, text) for _, long, argument, text in LINES if values(argument, text)}


def run(*command):
    path = f"{PROGRAM.parent}:{os.environ['PATH']}"
    done = subprocess.run(command, check=True, capture_output=True, text=True, timeout=60,
                          env={**os.environ, "PATH": path})
    return set(done.stdout.split("\n")) - {""}


def bash(*words):
    script = f"source {ROOT}/packaging/completion.bash; COMP_WORDS=({shlex.join(words)}); " \
             f"COMP_CWORD={len(words) - 1}; _lumo_import lumo-import; printf '%s\\n' \"${{COMPREPLY[@]}}\""
    return run("bash", "-uc", script)


def fish(*words):
    script = f"source {ROOT}/packaging/completion.fish; complete -C {shlex.quote(' '.join(words))}"
    return {line.split("\t")[0] for line in run("fish", "--no-config", "-c", script)}


def zsh(*words):
    """Zsh completes on a terminal only: it is given one, and lists the choices with marks."""
    script = f"""
        zmodload zsh/zpty; zpty z zsh -f -i
        zpty -w z 'PS1=; fpath=({ROOT}/packaging $fpath); autoload -Uz compinit completion.zsh; compinit -D'
        zpty -w z 'compdef completion.zsh lumo-import; stty columns 1000'
        zpty -w z 'tell() {{ zle list-choices; zle -R; print EN""D }}; zle -N tell; bindkey "^X" tell'
        zpty -w z 'zstyle ":completion:*" list-colors "lc=<" "rc=>" "ec=|"; zstyle ":completion:*" verbose no'
        zpty -w z 'print BEG""IN'; zpty -r z text '*BEGIN*'
        zpty -w -n z {shlex.quote(' '.join(words))}$'\\x18'
        zpty -r z text '*END*'; print -r -- $text; zpty -d z"""
    text = "\n".join(run("zsh", "-fc", script))
    return {word for word in re.findall(r"<[\d;]*>([^\x1b<>|]+)\|", text) if word.strip()}


class ManPage(unittest.TestCase):
    def test_options_and_values(self):
        source = MAN_PAGE.read_text().replace("\\-", "-")
        text = re.sub(r"\\f.", "", source)
        self.assertEqual(OPTIONS, set(re.findall(r"(?<![\w-])-(?:-[a-z][a-z-]+|\w)\b", text)))
        for option, words in VALUES.items():
            paragraph = next(part for part in text.split(".TP\n") if option in part.split("\n")[0])
            self.assertLessEqual(set(words), set(re.findall(r"\w+", paragraph)), option)

    def test_commands(self):
        text = re.sub(r"\\-", "-", MAN_PAGE.read_text())
        self.assertLess({"check", "convert"}, COMMANDS)
        self.assertEqual(COMMANDS, set(re.findall(r"^\.B lumo-import ([a-z]+)$", text, re.M)))

    def test_formats(self):
        text = MAN_PAGE.read_text()
        rows = subprocess.run([PROGRAM, "formats"], check=True, capture_output=True, text=True).stdout.split("\n")[1:]
        for row in filter(None, rows):
            title = row[10:20].strip()
            self.assertIn(title, text)

    def test_no_warnings(self):
        if not shutil.which("man"):
            self.skipTest("no man")
        done = subprocess.run(["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", MAN_PAGE], capture_output=True)
        self.assertEqual((done.returncode, done.stderr), (0, b""))


class Completion(unittest.TestCase):
    def setUp(self):
        self.shells = [bash] + [shell for shell in (fish, zsh) if shutil.which(shell.__name__)]
        self.assertGreater(len(OPTIONS), 10)
        self.assertIn("--from", VALUES)

    def check(self, expected, *words):
        for shell in self.shells:
            with self.subTest(shell=shell.__name__, words=words):
                self.assertEqual(set(expected), shell("lumo-import", *words))

    def test_options(self):
        for command in ("convert", "table", "check"):
            of = subprocess.run([PROGRAM, command, "--help"], check=True, capture_output=True, text=True).stdout
            names = set(re.findall(r"^ +(?:-\w, )?(--[a-z-]+)", of, re.M))
            self.assertLess(names, OPTIONS)
            for start in ("--", "--c"):
                self.check({name for name in names if name.startswith(start)}, command, start)

    def test_values(self):
        for option, words in VALUES.items():
            self.check(words, option, "")
        self.check({"dsc", "dxpress"}, "x.net", "--from", "d")
        self.assertEqual({"dsc", "dxpress"}, bash("lumo-import", "--from", "=", "d"))

    def test_files(self):
        with tempfile.TemporaryDirectory() as folder:
            readable = [f"{folder}/a b{extension}" for extension in EXTENSIONS] + [f"{folder}/UP.NET", f"{folder}/a.net.gz"]
            for name in [*readable, f"{folder}/notes.txt"]:
                pathlib.Path(name).touch()
            os.mkdir(f"{folder}/nets")
            self.assertGreater(len(readable), 10)
            self.assertEqual({*readable, f"{folder}/nets"}, bash("lumo-import", "check", f"{folder}/"))
            for shell in self.shells[1:]:  # which show the names alone, or all files where none fits
                shown = {word.replace("\\", "").rstrip("/").split("/")[-1] for word in shell("lumo-import", "check", f"{folder}/")}
                self.assertLessEqual({pathlib.Path(name).name for name in readable}, shown, shell.__name__)
            self.assertEqual({f"{folder}/notes.txt"}, bash("lumo-import", "-o", f"{folder}/no"))
            self.assertEqual({f"{folder}/notes.txt"}, bash("lumo-import", "check", "--baseline", f"{folder}/no"))

    def test_nodes(self):
        asia = str(ROOT / "samples/hugin/asia.net")
        self.check({"tub"}, "table", asia, "tu")
        self.check({"bronc"}, "table", "--csv", asia, "asia", "br")
        self.check({"bronc"}, "convert", asia, "--only", "br")

    def test_commands(self):
        self.check({"check"}, "che")
        self.assertEqual(COMMANDS, {word for word in bash("lumo-import", "") if word in COMMANDS})
        self.assertEqual(set(), bash("lumo-import", "check", "expl"))


class Types(unittest.TestCase):
    def test_desktops_know_every_extension(self):
        types = (ROOT / "packaging/lumo-import.xml").read_text()
        known = set(re.findall(r'pattern="\*(\.\w+)"', types))
        self.assertEqual(known, set(EXTENSIONS) - {".xml", ".json", ".html"})  # which are what they are


unittest.main(argv=sys.argv[:1])
