#!/usr/bin/env python3
"""Measures plx on Dask's workers: two processes beside one, chunks of many sizes, and what scheduling costs:

    PYTHONPATH=build/release/python python/benchmarks/dask_chunks.py [ELEMENTS] [--scaling CHUNK]

With --scaling it measures two processes beside one, in chunks of that size, and nothing else. Prints the tables of docs/dask.md. The datetimes are random, datetime64[ns], and stay with the workers, as do the
results, of which some are compared with those of one call first; each number is the median of five runs. Wants a
machine with nothing else to do, and says how busy it was; the processor's time depends on that the least.
"""

import argparse
import os
import statistics
import time
import warnings
from typing import NamedTuple

import dask
import dask.array as da
import numpy as np
from distributed import Client, LocalCluster, wait

import plx
import plx.dask

ZONES = [None, "America/New_York"]
CHUNKS = [10_000, 30_000, 100_000, 300_000, 1_000_000, 4_000_000, 16_000_000]
RUNS = 5


def random_block(number, count, total):
    first, last = np.array(["1970-01-01", "2038-01-01"], "M8[ns]").astype("i8")
    size = min(count, total - number * count)
    return np.random.default_rng(number).integers(first, last, size).view("M8[ns]")


def moments(total, chunk):
    chunks = da.core.normalize_chunks(chunk, shape=(total,), dtype="M8[ns]")
    numbers = da.arange(len(chunks[0]), chunks=1)
    block = lambda one: random_block(int(one[0]), chunk, total)  # noqa: E731
    return numbers.map_blocks(block, chunks=chunks, dtype="M8[ns]", meta=np.empty(0, "M8[ns]"))


class Taken(NamedTuple):
    """Seconds: of the clock, of the processor in this process, in which the scheduler is, and in the workers."""

    clock: float
    here: float
    workers: float = 0.0


def median(runs):
    return Taken(*(statistics.median(column) for column in zip(*runs)))


def one_call(x, zone):
    runs = []
    for number in range(RUNS):
        began = time.perf_counter(), time.process_time()
        results = plx.set(x, "minute", number, zone=zone)
        runs.append(Taken(time.perf_counter() - began[0], time.process_time() - began[1]))
        del results
    return median(runs)


def on_workers(client, x, zone):
    def worked():
        return sum(client.run(time.process_time).values())

    runs = []
    for number in range(RUNS + 1):
        there, began = worked(), (time.perf_counter(), time.process_time())
        results = plx.dask.set(x, "minute", number, zone=zone).persist()
        wait(results)
        taken = time.perf_counter() - began[0], time.process_time() - began[1]
        runs.append(Taken(*taken, worked() - there))
        del results
    # In the first one the workers loaded what they need.
    return median(runs[1:])


def cluster(workers):
    # Nothing is spilled to disk, and nobody is killed.
    return LocalCluster(
        n_workers=workers, threads_per_worker=1, host="127.0.0.1", dashboard_address=None, memory_limit=0
    )


def main():
    warnings.simplefilter("ignore")
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("elements", type=float, nargs="?", default=64e6)
    parser.add_argument("--scaling", type=float, metavar="CHUNK")
    given = parser.parse_args()
    total, chunk = int(given.elements), int(given.scaling or 1_000_000)
    print(f"{total} elements; {os.cpu_count()} processors, load {os.getloadavg()[0]:.1f} at the beginning")

    small = moments(min(total, 3_000_000), 400_000)
    whole = small.compute(scheduler="synchronous")
    with cluster(2) as own, Client(own):
        for zone in ZONES:
            expected = plx.set(whole, "minute", 3, zone=zone)
            assert (plx.dask.set(small, "minute", 3, zone=zone).compute() == expected).all()

    x = moments(total, chunk).compute(scheduler="synchronous")
    plain = {zone: one_call(x, zone) for zone in ZONES}
    del x
    taken = {}
    for workers in (1, 2):
        with cluster(workers) as own, Client(own) as client:
            x = moments(total, chunk).persist()
            wait(x)
            for zone in ZONES:
                taken[workers, zone] = on_workers(client, x, zone)
            tasks = x.npartitions
            del x
    print(f"\nChunks of {chunk:,}, {tasks} tasks; seconds of the clock, and of the processor: workers, scheduler and client")
    print("\n| zone | one call | one worker | two workers | two beside one |\n|---|---|---|---|---|")
    for zone in ZONES:
        one, two = taken[1, zone], taken[2, zone]
        print(
            f"| {zone} | {plain[zone].clock:.2f}; {plain[zone].here:.2f} "
            f"| {one.clock:.2f}; {one.workers:.2f}, {one.here:.2f} "
            f"| {two.clock:.2f}; {two.workers:.2f}, {two.here:.2f} | {one.clock / two.clock:.2f} |"
        )
    if not given.scaling:
        of_many_chunks(total, plain)
    print(f"\nload {os.getloadavg()[0]:.1f} at the end; dask {dask.__version__}")


def of_many_chunks(total, plain):
    print(
        "\n| chunk | tasks | million a second: no zone | New York | scheduler and client, ms a task | worker beside plx, ms a task |"
        "\n|---|---|---|---|---|---|"
    )
    with cluster(2) as own, Client(own) as client:
        for chunk in CHUNKS:
            some = min(total, chunk * 2000)
            x = moments(some, chunk).persist()
            wait(x)
            none, zoned = (on_workers(client, x, zone) for zone in ZONES)
            beside = max(0.0, none.workers - plain[None].here * some / total)
            print(
                f"| {chunk:,} | {x.npartitions} | {some / none.clock / 1e6:.0f} | {some / zoned.clock / 1e6:.0f} "
                f"| {none.here / x.npartitions * 1000:.2f} | {beside / x.npartitions * 1000:.2f} |",
                flush=True,
            )
            del x


if __name__ == "__main__":
    main()
