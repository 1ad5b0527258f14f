#!/usr/bin/env python3
"""Makes instants in chunks, sets the hour of each in a time zone, and writes them to a file: more of them than memory
holds, if need be.

    examples/dask_instants.py instants.npy                    200 million instants, 1.6 GB, by the threads of this process
    examples/dask_instants.py instants.zarr                   a folder of compressed chunks (python3-zarr)
    examples/dask_instants.py instants.npy --workers 2        by two processes of Dask's distributed scheduler
    examples/dask_instants.py --help                          how many, in which chunks, where, and to which hour

Needs python3-plx and python3-dask, and for --workers python3-distributed. From a build of the project, set
PYTHONPATH=build/release/python.
"""

import argparse
import os
import time

import dask.array as da
import numpy as np

import plx.dask

FIRST, LAST = np.array(["1970-01-01", "2038-01-01"], "M8[s]").astype("i8")


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("output", help="a file .npy or a folder .zarr; what it holds is lost")
    parser.add_argument("--count", type=float, default=200e6, help="how many instants (200e6)")
    parser.add_argument("--chunk", type=float, default=1e6, help="how many of them in a chunk (1e6)")
    parser.add_argument("--hour", default="9", help="the hour to set (9)")
    parser.add_argument("--zone", default="America/New_York", help="where that hour is meant (America/New_York)")
    parser.add_argument("--workers", type=int, help="how many processes; threads of this one without it")
    given = parser.parse_args()
    if not given.output.endswith((".npy", ".zarr")):
        parser.error(f"{given.output}: neither .npy nor .zarr")
    return given


def instants(count, chunk):
    """From 1970 to 2037, equally far from each other."""
    places = da.arange(count, chunks=chunk, dtype="i8")
    return (FIRST + places * ((LAST - FIRST) // max(count, 1))).astype("M8[s]")


def written(output, results):
    """What writes the results as it is computed."""
    if output.endswith(".npy"):
        return plx.dask.to_npy(output, results, compute=False)
    import zarr

    # As counts, which every version of zarr has, with their unit beside them.
    counts = zarr.open(output, mode="w", shape=results.shape, chunks=results.chunksize, dtype="i8")
    counts.attrs["units"] = "seconds since 1970-01-01T00:00:00Z"
    return da.store(results.view("i8"), counts, lock=False, compute=False)


def main():
    given = arguments()
    count, chunk = int(given.count), int(given.chunk)
    if given.workers:
        # Loaded here alone: a second, and a package more.
        from distributed import Client, LocalCluster, progress

        with LocalCluster(
            n_workers=given.workers, threads_per_worker=1, host="127.0.0.1", dashboard_address=None
        ) as cluster, Client(cluster) as client:
            results = plx.dask.set(instants(count, chunk), "hour", given.hour, zone=given.zone)
            began = time.perf_counter()
            future = client.compute(written(given.output, results))
            progress(future, notebook=False)
            future.result()
            seconds = time.perf_counter() - began
    else:
        from dask.diagnostics import ProgressBar

        results = plx.dask.set(instants(count, chunk), "hour", given.hour, zone=given.zone)
        began = time.perf_counter()
        with ProgressBar():
            written(given.output, results).compute(scheduler="threads")
        seconds = time.perf_counter() - began
    print(f"\n{count} instants in {seconds:.1f} s: {count / seconds / 1e6:.0f} million a second, {os.path.abspath(given.output)}")


# Worker processes import this file as well.
if __name__ == "__main__":
    main()
