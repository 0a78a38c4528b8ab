"""Installs the package as users do, into a temporary folder, and imports it from there."""

import atexit
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

SOURCES = pathlib.Path(__file__).resolve().parents[2]

_folder = pathlib.Path(tempfile.mkdtemp())
atexit.register(shutil.rmtree, _folder)
shutil.copytree(SOURCES / "python", _folder / "source", ignore=shutil.ignore_patterns("build", "*.egg-info"))
subprocess.run([sys.executable, "-m", "pip", "install", "--quiet", "--no-build-isolation", "--no-deps", "--no-index",
                "--disable-pip-version-check", "--root-user-action=ignore", "--target", _folder / "installed",
                _folder / "source"], check=True)
signal.signal(signal.SIGINT, signal.default_int_handler)  # what a shell runs in the background ignores it
sys.path.insert(0, str(_folder / "installed"))
