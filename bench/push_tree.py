#!/usr/bin/env python3
"""Pushes a tree of 200 files of twelve programs, over 100 MiB, into a VictoriaMetrics, and compares all that it has
then with export; beside rrdtool xport of each archive.
Usage: push_tree.py NVX_TIMESERIES RRDTOOL TESTS_DATA FETCH_SERVER"""

import json
import math
import pathlib
import re
import sys
import tempfile
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "tests"))
from programs_test import PROGRAM, PROGRAMS, RRDTOOL, make, run  # noqa: E402
from servers import VictoriaMetrics  # noqa: E402


def make_tree(directory):
    """Files whose archives have more rows than the programs give them, so that they are larger."""
    for number in range(200):
        file, _, step, definitions = list(PROGRAMS.values())[number % len(PROGRAMS)]
        larger = definitions and [re.sub(r"(RRA:[A-Z]+:[0-9.]+:\d+):(\d+)$", lambda m: f"{m[1]}:{int(m[2]) * 3}", one)
                                  for one in definitions]
        path = make(directory, f"{number:03}/{file}", step, larger, 6000)
        if definitions is None:
            run(PROGRAM, "convert", "--in-place", path, "--to", "native")
    return sum(path.stat().st_size for path in pathlib.Path(directory).rglob("*.rrd"))


def run_xports(directory):
    """The same archives by rrdtool, which prints one of them at a time."""
    for path in pathlib.Path(directory).rglob("*.rrd"):
        information = json.loads(run(PROGRAM, "info", str(path), "--format", "json").stdout)
        names = [source["name"] for source in information["sources"]]
        for archive in information["archives"]:
            function = archive["consolidation"]
            if function in ("AVERAGE", "MIN", "MAX", "LAST"):
                run(RRDTOOL, "xport", "--step", str(archive["stepsPerRow"] * information["step"]),
                    "--start", str(archive["first"]["timestamp"]), "--end", str(archive["last"]["timestamp"]),
                    "--maxrows", str(archive["rows"] + 1),
                    *(f"DEF:v{i}={path}:{name}:{function}" for i, name in enumerate(names)),
                    *(f"XPORT:v{i}:{name}" for i, name in enumerate(names)))


def measure(work):
    begin = time.monotonic()
    return work(), time.monotonic() - begin


def main():
    with tempfile.TemporaryDirectory() as directory, tempfile.TemporaryDirectory() as data:
        size = make_tree(directory)
        server = VictoriaMetrics(sys.argv[4], f"{data}/server")
        try:
            push = [PROGRAM, "push", server.url + "/write", "--tree", directory, "--state", f"{data}/state"]
            sent, seconds = measure(lambda: run(*push))
            assert run(*push).stdout.startswith("0 points")
            rows, count = server.read("rrd_value")
        finally:
            server.end()
        expected = {}
        exported = run(PROGRAM, "export", "--tree", directory, "--format", "line-protocol").stdout.splitlines()
        for line in exported:
            series, value, when = line.rsplit(" ", 2)
            expected[series.removeprefix("rrd,"), int(when)] = float(value.removeprefix("value="))
        assert len(expected) == len(exported) == count == len(rows), (len(expected), len(exported), count, len(rows))
        # The server keeps ten decimal digits or more.
        assert rows.keys() == expected.keys()
        assert all(math.isclose(value, expected[key], rel_tol=1e-9) for key, value in rows.items())
        _, other = measure(lambda: run_xports(directory))
        print(f"200 files of {size >> 20} MiB: {sent.stdout.strip()}, {count} in the server, each once, "
              f"{count / seconds:.0f} rows a second; rrdtool xport of all in {other:.1f} s, push in {seconds:.1f} s")


main()
