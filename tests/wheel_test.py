#!/usr/bin/env python3
"""The Python package as pip makes and installs it: wheel_test.py BUILD SOURCE.
A source distribution becomes a wheel, and that is installed in a new virtual environment. The compiled part is
taken from BUILD; so that it could be built from the source distribution alone, this must have all that the build
read, and CMake must configure it."""

import os
import pathlib
import re
import shutil
import subprocess
import sys
import tarfile
import tempfile
import zipfile

BUILD, SOURCE = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
ENVIRONMENT = {key: value for key, value in os.environ.items() if key != "PYTHONPATH"} | {"LUMO_BUILD_DIR": str(BUILD)}


def run(*command, cwd):
    done = subprocess.run(list(map(str, command)), cwd=cwd, env=ENVIRONMENT, capture_output=True, text=True)
    if done.returncode != 0:
        sys.exit(f"{' '.join(map(str, command))}\n{done.stdout}{done.stderr}")
    return done.stdout


def the_only(folder, pattern):
    found = list(folder.glob(pattern))
    assert len(found) == 1, (pattern, found)
    return found[0]


def make_source_distribution(place):
    checkout = place / "checkout"
    ignored = shutil.ignore_patterns("build", ".git", "*.egg-info", "__pycache__")
    shutil.copytree(SOURCE, checkout, ignore=ignored)
    run(sys.executable, "setup.py", "-q", "sdist", "--dist-dir", place, cwd=checkout)
    with tarfile.open(the_only(place, "lumo-*.tar.gz")) as archive:
        archive.extractall(place / "sdist")
    return the_only(place / "sdist", "lumo-*")


def check_complete(unpacked, place):
    read = set()
    for folder, target in ((BUILD, "lumo_import"), (BUILD, "lumo_export"), (BUILD, "lumo_app"), (BUILD / "python", "lumo_python")):
        for rules in (folder / "CMakeFiles" / f"{target}.dir").rglob("*.o.d"):
            read.update((folder / file).resolve() for file in re.findall(r"[^\s:\\]+", rules.read_text()))
    read = {path.relative_to(SOURCE) for path in read if SOURCE in path.parents and BUILD not in path.parents}
    assert len(read) > 100, read
    missing = [path for path in read if not (unpacked / path).exists()]
    assert not missing, missing
    run("cmake", "-S", unpacked, "-B", place / "build", "-DLUMO_BUILD_PYTHON=ON", "-DLUMO_BUILD_APP=AUTO",
        "-DLUMO_BUILD_TESTS=OFF", cwd=place)


def check_installed(python, place):
    said = run(python, "-c", f"""if True:
        import lumo, subprocess
        net = lumo.read({str(SOURCE / 'samples/hugin/asia.net')!r})
        assert net["dysp"].to_frame().shape == (4, 2)
        print(lumo.__file__, lumo.__version__, len(net))
        print(subprocess.run(["ldd", lumo._core.__file__], capture_output=True, text=True).stdout)""", cwd=place)
    file, version, count = said.split()[:3]
    assert file.startswith(str(place / "env")) and count == "8", said
    assert version in run(python, "-m", "pip", "show", "lumo", cwd=place)
    assert "liblumo" not in said, said
    sample = SOURCE / "samples/hugin/asia.net"
    for command in ((place / "env/bin/lumo-import",), (place / "env/bin/lumo",), (python, "-m", "lumo")):
        assert "8 nature" in run(*command, sample, cwd=place)
        assert run(*command, "--version", cwd=place).startswith(f"lumo-import {version}")


with tempfile.TemporaryDirectory() as folder:
    place = pathlib.Path(folder)
    unpacked = make_source_distribution(place)
    check_complete(unpacked, place)
    run(sys.executable, "-m", "venv", "--system-site-packages", "--without-pip", place / "env", cwd=place)
    python = place / "env/bin/python"
    pip = (python, "-m", "pip", "--disable-pip-version-check")
    run(*pip, "wheel", "--no-build-isolation", "--no-index", "--no-deps", "-w", place, unpacked, cwd=place)
    wheel = the_only(place, "*.whl")
    held = {name for name in zipfile.ZipFile(wheel).namelist() if name.startswith("lumo/")}
    sources = {f"lumo/{path.name}" for path in (SOURCE / "python/lumo").glob("*.*")}
    assert len(held - sources) == 2 and "lumo/lumo-import" in held and sources <= held, held ^ sources
    run(*pip, "install", "--no-index", wheel, cwd=place)
    check_installed(python, place)
