#!/usr/bin/env python3
"""The forge's pipeline names what there is: a fuzzer for each corpus, scripts, and presets.

    pipeline_file_test.py SOURCE-FOLDER
"""
import json
import re
import sys
from pathlib import Path


def main():
    root = Path(sys.argv[1])
    pipeline = (root / ".gitlab-ci.yml").read_text()
    failures = 0

    def expect(what, found, wanted):
        nonlocal failures
        if found != wanted:
            failures += 1
            print(f"{what}: {sorted(found)}, not {sorted(wanted)}", file=sys.stderr)

    fuzzers = re.search(r"- FUZZER: \[([^\]]*)\]", pipeline)
    expect("fuzzers", set(re.findall(r"\w+", fuzzers[1]) if fuzzers else []),
           {folder.name for folder in (root / "tests/fuzz/corpus").iterdir() if folder.is_dir()})

    # A job that extends .preset without naming one has the name of its preset.
    jobs = re.findall(r"^(\w[\w ]*):\n((?: .*\n)+)", pipeline, re.M)
    own = {(re.search(r"PRESET: (\w+)", body) or [0, name])[1] for name, body in jobs if "extends: .preset" in body}
    expect("presets", own, {"release", "sanitize", "clang", "debug"})
    presets = json.loads((root / "CMakePresets.json").read_text())["testPresets"]
    expect("presets without tests", own - {preset["name"] for preset in presets}, set())

    scripts = set(re.findall(r"scripts/([\w-]+)", pipeline))
    expect("scripts that are missing", {name for name in scripts if not (root / "scripts" / name).is_file()}, set())
    print(f"{len(own)} presets, {len(scripts)} scripts, {failures} failures")
    return 0 if failures == 0 and len(scripts) >= 5 else 1


if __name__ == "__main__":
    sys.exit(main())
