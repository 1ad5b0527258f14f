"""Writes the time-zone rules that this system's ICU has built in into a folder that ICU_TIMEZONE_FILES_DIR can
name, so that another ICU can be asked with the same rules:  rules_of_icu.py FOLDER

ICU's data are one symbol of its data library: a header, a number of entries, for each entry where its name and its
data lie, sorted by name (source/common/ucmndata.h in ICU's sources)."""

import ctypes
import ctypes.util
import re
import struct
import sys
from pathlib import Path

FILES = ["zoneinfo64.res", "timezoneTypes.res", "metaZones.res", "windowsZones.res"]

library = ctypes.util.find_library("icudata")
version = re.search(r"\.so\.(\d+)", library)[1]
start = ctypes.addressof(ctypes.c_char.in_dll(ctypes.CDLL(library), f"icudt{version}_dat"))


def read(kind, offset):
    return struct.unpack(f"={kind}", ctypes.string_at(start + offset, struct.calcsize(f"={kind}")))


contents = read("H", 0)[0]
entries = [read("II", contents + 4 + 8 * i) for i in range(read("I", contents)[0])]
found = 0
for (name, data), (_, following) in zip(entries, entries[1:]):
    path = ctypes.string_at(start + contents + name).decode()
    if Path(path).name in FILES:
        (Path(sys.argv[1]) / Path(path).name).write_bytes(ctypes.string_at(start + contents + data, following - data))
        found += 1
if found != len(FILES):
    sys.exit(f"rules_of_icu.py: {found} of {len(FILES)} files found in {library}")
