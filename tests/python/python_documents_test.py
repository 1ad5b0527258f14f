"""The sessions of docs/python.md and of the docstrings, and each row of the table of edge cases."""

import datetime
import doctest
import importlib
import inspect
import os
import re
import warnings

import dateutil.tz
import numpy as np
import pandas as pd
import pytest

import plx
import plx.pandas
import plx.xarray
from support import Cases

PAGE = os.path.join(os.environ["PLX_SOURCE_DIR"], "docs", "python.md")
FLAGS = doctest.ELLIPSIS | doctest.NORMALIZE_WHITESPACE

warnings.simplefilter("ignore", plx.RulesWarning)

# The documents print scalars as NumPy 1 does; NumPy 2 writes np.float64(1.5) where that wrote 1.5.
if int(np.__version__.split(".")[0]) >= 2:
    np.set_printoptions(legacy="1.25")


def test_the_page():
    failed, tried = doctest.testfile(PAGE, module_relative=False, optionflags=FLAGS)
    with Cases(45) as cases:
        cases.add(tried)
    assert failed == 0


@pytest.mark.parametrize("name, least", [("plx", 3), ("plx._functions", 25), ("plx.pandas", 8), ("plx.xarray", 3), ("plx.dask", 12)])
def test_docstrings(name, least):
    if name == "plx.dask":
        pytest.importorskip("dask.dataframe", reason="python3-dask is missing")
    failed, tried = doctest.testmod(importlib.import_module(name), optionflags=FLAGS)
    with Cases(least) as cases:
        cases.add(tried)
    assert failed == 0


def test_every_function_says_what_it_takes_and_gives():
    with Cases(8) as cases:
        for name in ("set", "get", "split", "join", "explain", "components", "zones", "versions"):
            text = inspect.getdoc(getattr(plx, name))
            assert "\nReturns\n-------\n" in text and "\nExamples\n--------\n" in text, name
            cases.add()


def edges():
    with open(PAGE, encoding="utf-8") as page:
        table = page.read().split("## Edge cases")[1].split("\n## ")[0]
    rows = re.findall(r"^\| (.+?) \| `(.+?)` \| `(.+?)` \|$", table, re.MULTILINE)
    assert len(rows) == len(re.findall(r"^\| ", table, re.MULTILINE)) - 1
    return rows


def test_the_table_has_its_rows():
    assert len(edges()) >= 36


@pytest.mark.parametrize("case, call, gives", edges())
def test_edge(case, call, gives):
    d = np.array(["2014-05-31", "NaT"], "M8[D]")
    names = {"np": np, "pd": pd, "plx": plx, "d": d, "datetime": datetime, "dateutil": dateutil}
    try:
        result = re.sub(r"\s+", " ", repr(eval(call, names)))
    except Exception as error:
        result = f"{type(error).__name__}: {error}"
        assert result.startswith(gives) and (result == gives or result[len(gives)] in ";. "), case
    else:
        assert result == gives, case
