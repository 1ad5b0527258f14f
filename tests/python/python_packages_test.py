"""The wheel and what is installed: each imported from a place of its own, after it was moved."""

import os
import pathlib
import subprocess
import sys
import zipfile


from support import Cases

BUILD = os.environ["PLX_BUILD"]
SOURCE = pathlib.Path(os.environ["PLX_SOURCE_DIR"])
CMAKE = os.environ["CMAKE_COMMAND"]
SESSION = """
import importlib.metadata, numpy as np, plx, plx.pandas, plx.xarray
t = np.array(['2014-05-31T08:30'], 'M8[m]')
print(plx.__file__)
print(plx.versions().module)
print(plx.set(t, 'hour', 9, zone='Europe/Paris')[0], importlib.metadata.version('plx'))
"""


def environment(**more):
    hidden = ("PYTHONPATH", "LD_LIBRARY_PATH", "PLX_MODULE")
    return {**{name: value for name, value in os.environ.items() if name not in hidden}, **more}


def check(python, folder, **more):
    result = subprocess.run([python, "-W", "ignore", "-c", SESSION], capture_output=True, text=True, env=environment(**more))
    assert result.returncode == 0, result.stderr
    package, module, answer = result.stdout.splitlines()
    # Nothing comes from the build folder.
    assert package.startswith(str(folder)) and module.startswith(str(folder)), result.stdout
    assert answer.startswith("2014-05-31T07:30 0.1.0")
    return answer


def test_an_installation(tmp_path):
    made = tmp_path / "made"
    for component in ("library", "tool", "python"):
        subprocess.run(
            [CMAKE, "--install", BUILD, "--component", component, "--prefix", made], check=True, stdout=subprocess.DEVNULL
        )
    moved = tmp_path / "moved"
    made.rename(moved)
    (packages,) = moved.rglob("dist-packages")
    check(sys.executable, moved, PYTHONPATH=str(packages))


def test_a_wheel(tmp_path):
    wheels = tmp_path / "wheels"
    make = [sys.executable, SOURCE / "python" / "make_wheel", BUILD, wheels]
    subprocess.run(make, check=True, stdout=subprocess.DEVNULL, env=environment())
    (wheel,) = wheels.iterdir()
    first = wheel.read_bytes()
    subprocess.run(make, check=True, stdout=subprocess.DEVNULL, env=environment())
    assert wheel.read_bytes() == first
    assert "+debian" in wheel.name and wheel.name.endswith("-cp311-abi3-linux_x86_64.whl")
    with Cases(12) as cases, zipfile.ZipFile(wheel) as archive:
        names = archive.namelist()
        (record,) = (name for name in names if name.endswith("/RECORD"))
        assert [line.split(",")[0] for line in archive.read(record).decode().splitlines()] == names
        for name in names:
            assert name.startswith(("plx/", "plx-0.1.0")), name
            cases.add()
    # In an environment of its own, beside the system's NumPy; by the form of a wheel itself, for which no tool is needed.
    home = tmp_path / "home"
    subprocess.run([sys.executable, "-m", "venv", "--without-pip", "--system-site-packages", home], check=True)
    (folder,) = home.glob("lib/python3*/site-packages")
    with zipfile.ZipFile(wheel) as archive:
        archive.extractall(folder)
    assert "+debian" in check(home / "bin" / "python", folder)
    moved = home.rename(tmp_path / "moved")
    assert "+debian" in check(moved / "bin" / "python", moved / folder.relative_to(home))
