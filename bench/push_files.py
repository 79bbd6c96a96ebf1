#!/usr/bin/env python3
"""A row of the table of scripts/bench: push of 10,000 files into a VictoriaMetrics, beside curl, which sends the
same lines to another one in one request. Usage: push_files.py NVX_TIMESERIES FETCH_SERVER"""

import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time
from unittest import SkipTest

PROGRAM, FETCH_SERVER = sys.argv[1:]
sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests/support"))
from servers import VictoriaMetrics  # noqa: E402

FILES, SAMPLES, ROWS, BEGIN, STEP = 10000, 60, 1440, 1700000040, 60


def make_files(directory):
    samples = "".join(f"{BEGIN + i * STEP},{i / 7:.6f}\n" for i in range(SAMPLES))
    first = directory / "topo_00000.rrd"
    subprocess.run([PROGRAM, "-d", directory, "create", "topo:00000", "--step", str(STEP), "--rows", str(ROWS), "--csv", "-"],
                   check=True, input="timestamp,value\n" + samples, text=True, stdout=subprocess.DEVNULL)
    for number in range(1, FILES):
        shutil.copy(first, directory / f"topo_{number:05}.rrd")


def measure(arguments):
    """Its seconds, and its peak memory in MiB."""
    begin = time.monotonic()
    process = subprocess.Popen(arguments, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    assert process.returncode == 0, arguments
    return time.monotonic() - begin, usage.ru_maxrss / 1024


def send(data, make_command):
    """What measure() tells of the command for a fresh server, again with nothing new, and the requests."""
    server = VictoriaMetrics(FETCH_SERVER, data)
    try:
        command = make_command(server.url + "/write")
        first = measure(command)
        requests = server.count_writes()
        assert server.read("topo_value")[1] == FILES * SAMPLES
        return first, requests, measure(command)[0]
    finally:
        server.end()


def main():
    with tempfile.TemporaryDirectory() as home:
        directory = pathlib.Path(home) / "rrd"
        directory.mkdir()
        make_files(directory)
        lines = f"{home}/lines"
        subprocess.run([PROGRAM, "-d", directory, "export", "*", "--format", "line-protocol", "--output", lines],
                       check=True, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        ours, requests, again = send(f"{home}/ours", lambda url: [
            PROGRAM, "-d", directory, "push", url, "--state", f"{home}/state"])
        theirs, _, _ = send(f"{home}/theirs", lambda url: [
            "curl", "--fail", "--silent", "--data-binary", f"@{lines}", f"{url}?precision=s"])
        print(f"| `nvx-timeseries push` of {FILES:,} files, {FILES * SAMPLES:,} samples, in {requests} requests into "
              f"VictoriaMetrics; again without a new sample: {again:.2f} s | `curl` of all lines, already made, in one "
              f"request | {ours[0]:.2f} s | {theirs[0]:.2f} s | {ours[0] / theirs[0]:.2f} | | {ours[1]:.1f} MiB | "
              f"{theirs[1]:.1f} MiB |")


try:
    main()
except SkipTest as reason:  # without the server
    print(f"scripts/bench: push is not measured: {reason}", file=sys.stderr)
