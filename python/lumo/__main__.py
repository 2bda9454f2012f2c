"""The command line lumo-import, as the wheel carries it, or as it is installed."""

import os
import pathlib
import shutil
import subprocess
import sys


def program():
    """The path of lumo-import; None where there is none."""
    own = pathlib.Path(__file__).with_name("lumo-import.exe" if os.name == "nt" else "lumo-import")
    if own.exists():
        return str(own)
    called = os.path.realpath(sys.argv[0])
    for folder in os.get_exec_path():
        found = shutil.which("lumo-import", path=folder)
        if found and os.path.realpath(found) != called:  # the script that led here is not it
            return found
    return None


def main():
    """Runs lumo-import with the arguments of the process, in its place where the system can do that."""
    path = program()
    if path is None:
        sys.exit("lumo-import is not in this build of the package lumo, and is not installed")
    command = [path, *sys.argv[1:]]
    if os.name == "nt":
        sys.exit(subprocess.call(command))
    sys.stdout.flush()
    os.execv(path, command)


if __name__ == "__main__":
    main()
