"""The stubs: complete by mypy --strict, and as the package is by stubtest."""

import os
import subprocess
import sys

import pytest

FOLDER = os.path.dirname(os.path.abspath(__file__))


def run(tmp_path, *command):
    environment = {**os.environ, "MYPYPATH": os.environ["PYTHONPATH"]}
    result = subprocess.run(command, capture_output=True, text=True, cwd=tmp_path, env=environment)
    assert result.returncode == 0, result.stdout + result.stderr
    return result.stdout


def test_uses_are_typed(tmp_path):
    # What is told to be ignored has to be an error, or that is one.
    told = run(tmp_path, sys.executable, "-m", "mypy", "--strict", "--cache-dir", str(tmp_path), os.path.join(FOLDER, "typed.py"))
    assert told.startswith("Success")


def test_stubs_are_as_the_package(tmp_path):
    pytest.importorskip("dask.array", reason="python3-dask is missing, and so plx.dask cannot be imported")
    # NamedTuple is a function, and a class to the type checker.
    (tmp_path / "allowed").write_text("plx\\..*\\.NamedTuple\n")
    told = run(
        tmp_path, sys.executable, "-m", "mypy.stubtest", "plx", "--ignore-missing-stub", "--allowlist", "allowed"
    )
    assert told.startswith("Success")
