"""What the tests of the package share."""

import os

import numpy as np

WHOLE = "PLX_WHOLE_TESTS" in os.environ
# As the other tests have it under the sanitizers: an eighth of what usual runs visit.
SHORT = not WHOLE and "PLX_SHORT_TESTS" in os.environ
# Programs take longer to start.
SANITIZED = "PLX_SANITIZED" in os.environ
COMPONENTS = {
    "year": range(1900, 2100),
    "quarter": range(-3, 9),
    "month": range(-12, 25),
    "week_of_year": range(-2, 56),
    "day": range(-40, 70),
    "day_of_year": range(-10, 400),
    "day_of_week": range(-8, 16),
    "hour": range(-30, 60),
    "minute": range(-90, 130),
    "second": range(-90, 130),
    "time_of_day": range(-1000, 90000),
}
UNITS = ["h", "m", "s", "ms", "us", "ns", "ps"]


class Cases:
    """Fails a test that visited fewer cases than it says; `with Cases(200) as cases: cases.add()`."""

    def __init__(self, least):
        self.least = least
        self.count = 0

    def add(self, count=1):
        self.count += count

    def __enter__(self):
        return self

    def __exit__(self, kind, *_):
        if kind is None:
            print(f"{self.count} cases")
            assert self.count >= self.least, f"{self.count} cases, fewer than {self.least}"


def random_datetimes(count, unit="ms", seed=1, first="1970-01-01", last="2037-12-31"):
    generator = np.random.default_rng(seed)
    low = np.datetime64(first, unit).astype(np.int64)
    high = np.datetime64(last, unit).astype(np.int64)
    return generator.integers(low, high, count).view(f"M8[{unit}]")


def same_bits(a, b):
    """Equal in dtype, shape and every bit."""
    a, b = np.asarray(a), np.asarray(b)
    return a.dtype == b.dtype and a.shape == b.shape and a.tobytes() == b.tobytes()
