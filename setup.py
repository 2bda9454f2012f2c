"""The compiled part of the Python package, which CMake builds with the library in it, and the command line where CLI11 is
found. The rest is in pyproject.toml.

LUMO_BUILD_DIR: a build folder of CMake to build it in, configured with -DLUMO_BUILD_PYTHON=ON already."""

import os
import pathlib
import re
import shutil
import subprocess
import sys

from setuptools import Extension, setup
from setuptools.command.build_ext import build_ext

SOURCE = pathlib.Path(__file__).resolve().parent
VERSION = re.search(r"project\(Lumo VERSION ([0-9.]+)", (SOURCE / "CMakeLists.txt").read_text())[1]


class BuildWithCMake(build_ext):
    def build_extension(self, extension):
        build = pathlib.Path(os.environ.get("LUMO_BUILD_DIR") or self.configure()).resolve()
        jobs = str(self.parallel or os.cpu_count() or 1)
        subprocess.run(["cmake", "--build", build, "--target", "lumo_module", "--parallel", jobs], check=True)
        target = pathlib.Path(self.get_ext_fullpath(extension.name))
        target.parent.mkdir(parents=True, exist_ok=True)
        subprocess.run(["cmake", "--install", build, "--component", "module", "--strip", "--prefix", target.parent],
                       check=True)

    def configure(self):
        options = {"CMAKE_BUILD_TYPE": "Release", "Python_EXECUTABLE": sys.executable, "LUMO_BUILD_PYTHON": "ON",
                   "LUMO_BUILD_APP": "AUTO", "LUMO_BUILD_TESTS": "OFF"}
        try:
            import pybind11
            options["pybind11_DIR"] = pybind11.get_cmake_dir()
        except ImportError:
            pass  # CMake finds one that the system has
        subprocess.run(["cmake", "-S", SOURCE, "-B", self.build_temp, *(f"-D{key}={value}" for key, value in options.items())],
                       check=True)
        return self.build_temp


setup(
    version=VERSION,
    ext_modules=[Extension("lumo._core", sources=[])],
    cmdclass={"build_ext": BuildWithCMake},
    setup_requires=[] if shutil.which("cmake") else ["cmake>=3.25"],
)
