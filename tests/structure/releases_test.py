#!/usr/bin/env python3
"""What scripts/releases makes of releases that pass and fail: which are tried, when results are compared, and how it
ends. Nothing is built here.

    releases_test.py SCRIPT
"""
import contextlib
import importlib.machinery
import importlib.util
import io
import subprocess
import sys

# Those that are named, that fail, and that have a result of an earlier run at the same commit; whether the bits of
# both are the same. Then: those that are tried, whether they are compared, the status.
CASES = [
    ([], [], [], True, ["12", "13"], True, 0),
    ([], [], [], False, ["12", "13"], True, 1),
    ([], ["12"], [], True, ["12", "13"], False, 1),
    ([], ["12"], ["12"], True, ["12", "13"], False, 1),
    ([], ["13"], [], True, ["12", "13"], False, 1),
    ([], ["12", "13"], [], True, ["12", "13"], False, 1),
    (["13"], [], [], True, ["13"], False, 0),
    (["13"], [], ["12"], True, ["13"], True, 0),
    (["13"], [], ["12"], False, ["13"], True, 1),
    (["13"], ["13"], ["12"], True, ["13"], False, 1),
    (["12", "13"], ["12"], [], True, ["12", "13"], False, 1),
]


def load(path):
    loader = importlib.machinery.SourceFileLoader("releases", path)
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader("releases", loader))
    sys.dont_write_bytecode = True
    loader.exec_module(module)
    return module


def run(script, named, failing, earlier, same, error):
    """The releases that are tried, whether results are compared, the status, and what is printed."""
    tried, compared, results = [], [], set(earlier)

    def build_and_test(release):
        tried.append(release)
        if release in failing:
            raise error(release)
        results.add(release)

    def compare(older, newer):
        compared.append((older, newer))
        return same

    script.build_and_test, script.compare = build_and_test, compare
    script.tested_at_this_commit, script.table = results.__contains__, lambda releases: None
    printed = io.StringIO()
    with contextlib.redirect_stdout(printed), contextlib.redirect_stderr(printed):
        status = script.test_and_compare(named)
    return tried, compared == [("12", "13")], status, printed.getvalue()


def main():
    script = load(sys.argv[1])
    errors = (script.Failed, lambda release: subprocess.CalledProcessError(1, ["debootstrap", release]))
    visited = failures = 0
    for named, failing, earlier, same, *expected in CASES:
        for error in errors if failing else errors[:1]:
            *found, printed = run(script, named, failing, earlier, same, error)
            visited += 1
            # What failed is named, and so is it that nothing was compared.
            told = (all(f"Debian {release}: " in printed for release in failing)
                    and ("not compared" in printed) != expected[1])
            if found != expected or not told:
                failures += 1
                print(f"{named} named, {failing} failing, {earlier} before: {found}, not {expected}; {printed!r}",
                      file=sys.stderr)
    print(f"{visited} runs, {failures} otherwise than expected")
    return 0 if visited == 17 and failures == 0 else 1


if __name__ == "__main__":
    sys.exit(main())
