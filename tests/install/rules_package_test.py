#!/usr/bin/env python3
"""The package plx keeps the time-zone rules current: in a root of its own, with Debian's essential packages, it is
installed, tzdata is upgraded to a made release and to a damaged one, and plx is purged.

    rules_package_test.py CPACK BUILD-FOLDER

Takes minutes, and packages of the network: runs in whole runs alone (PLX_WHOLE_TESTS), and as root.
"""

import importlib.machinery
import importlib.util
import os
import re
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent.parent
RULES = "/var/lib/plx/rules"


def skip(reason):
    print(f"skipped: {reason}")
    sys.exit(77)


if "PLX_WHOLE_TESTS" not in os.environ:
    skip("asked for by PLX_WHOLE_TESTS alone")
if os.geteuid() != 0:
    skip("a root of its own needs root's rights")
if shutil.which("debootstrap") is None:
    skip("there is no debootstrap")

# How bare roots are made is known there.
loader = importlib.machinery.SourceFileLoader("releases", str(TOP / "scripts/releases"))
releases = importlib.util.module_from_spec(importlib.util.spec_from_loader("releases", loader))
sys.dont_write_bytecode = True
loader.exec_module(releases)

cpack, build = sys.argv[1:]
release = re.search(r'^VERSION_ID="(\d+)"', Path("/etc/os-release").read_text(), re.M)[1]
checks = 0


def expect(got, expected):
    global checks
    checks += 1
    if got != expected:
        sys.exit(f"expected: {expected!r}\ngot:      {got!r}")


def made_tzdata(root, version, change):
    """Puts a package of tzdata of that version into the root, made of the one that is installed there."""
    content = root / "tzdata"
    shutil.rmtree(content, ignore_errors=True)
    for name in map(Path, inside(root, "dpkg", "-L", "tzdata").splitlines()):
        there = root / name.relative_to("/")
        if there.is_dir() and not there.is_symlink():
            (content / name.relative_to("/")).mkdir(parents=True, exist_ok=True)
        else:
            shutil.copy2(there, content / name.relative_to("/"), follow_symlinks=False)
    change(content / "usr/share/zoneinfo")
    (content / "DEBIAN").mkdir()
    (content / "DEBIAN/control").write_text(
        f"Package: tzdata\nVersion: {version}-0made1\nArchitecture: all\nMaintainer: nobody <nobody@plx.invalid>\n"
        "Description: made time-zone rules\n")
    inside(root, "dpkg-deb", "--build", "/tzdata", "/tzdata.deb")


def newer(zones):
    lines = (zones / "tzdata.zi").read_text().splitlines(keepends=True)
    (zones / "tzdata.zi").write_text("# version 2099z\n" + "".join(lines[1:]))
    (zones / "Africa/Abidjan").unlink()
    shutil.copy(zones / "Asia/Tokyo", zones / "Africa/Abidjan")


def damaged(zones):
    newer(zones)
    (zones / "tzdata.zi").write_text("# version 2099za\n")
    (zones / "Asia/Tokyo").write_bytes((zones / "Asia/Tokyo").read_bytes()[:100])


def inside(root, *command, status=0):
    """The output of a command in the root, with what it says beside that."""
    done = subprocess.run(["chroot", root, "/usr/bin/env", "-i", *releases.ENVIRONMENT, "DEBIAN_FRONTEND=noninteractive",
                           *command], stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if done.returncode != status:
        sys.exit(f"{' '.join(command)}: {done.returncode}\n{done.stdout}")
    return done.stdout


def main():
    folder = Path(tempfile.mkdtemp())
    try:
        releases.WORK.mkdir(parents=True, exist_ok=True)
        subprocess.run([cpack, "--config", f"{build}/CPackConfig.cmake", "-B", folder / "packed"], check=True,
                       stdout=subprocess.DEVNULL)
        root = folder / "root"
        root.mkdir()
        subprocess.run(["tar", "-C", root, "-xf", releases.bare_root(release)], check=True)
        # Without what depends on plx: that would have to be removed with it.
        packages = [path for path in (folder / "packed").glob("*.deb")
                    if path.name.startswith(("plx_", "libplx-host1_"))]
        for path in packages:
            shutil.copy(path, root)

        inside(root, "apt-get", "update", "-qq")
        inside(root, "apt-get", "install", "-y", "-qq", "--no-install-recommends", "tzdata",
               *(f"/{path.name}" for path in packages))
        system = re.search(r"^# version (\w+)", (root / "usr/share/zoneinfo/tzdata.zi").read_text())[1]
        state = f"in use  {system}, {RULES}, from /usr/share/zoneinfo\nsystem  {system}, /usr/share/zoneinfo\n"
        expect(inside(root, "plx", "rules"), state + "They do not differ.\n")
        expect(inside(root, "plx", "get", "hour", "2024-06-01T12:00Z", "--zone", "America/Mexico_City"), "6\n")

        made_tzdata(root, "2099z", newer)
        said = inside(root, "dpkg", "-i", "/tzdata.deb")
        expect("Processing triggers for plx" in said, True)
        expect(inside(root, "plx", "zones", "abidjan", "--at", "2050-01-01"),
               f"plx: time-zone rules of 2099z, {RULES}, from /usr/share/zoneinfo\nAfrica/Abidjan  +09:00     -\n")
        before = (root / RULES[1:] / "zoneinfo64.res").read_bytes()

        made_tzdata(root, "2099za", damaged)
        said = inside(root, "dpkg", "-i", "/tzdata.deb")
        expect("plx: /usr/share/zoneinfo: Asia/Tokyo: cut short; accepted:" in said, True)
        expect("plx: the time-zone rules stay as they were" in said, True)
        expect((root / RULES[1:] / "zoneinfo64.res").read_bytes() == before, True)
        expect(inside(root, "dpkg-query", "-W", "-f", "${Status}", "plx"), "install ok installed")

        # Removed and installed again, and purged.
        inside(root, "dpkg", "--remove", "plx")
        expect((root / "var/lib/plx").exists(), False)
        inside(root, "dpkg", "-i", *(f"/{path.name}" for path in packages if path.name.startswith("plx_")))
        expect((root / RULES[1:] / "zoneinfo64.res").exists(), False)  # the system's are still damaged
        inside(root, "apt-get", "install", "-y", "-qq", "--allow-downgrades", f"tzdata={system}*")
        expect(inside(root, "plx", "rules"), state + "They do not differ.\n")
        inside(root, "dpkg", "--purge", "plx")
        expect((root / "var/lib/plx").exists(), False)
        print(f"{checks} checks in a root of Debian {release}, whose rules are of {system}")
    finally:
        shutil.rmtree(folder, ignore_errors=True)


main()
