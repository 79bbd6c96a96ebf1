"""Points of random files with random archives, beside what is added up exactly of their dumps.

Usage: span_proof_test.py NVX_TIMESERIES RRDTOOL. NVX_TEST_SEED is another seed.
"""

import collections
import csv
import datetime
import io
import math
import os
import random
import re
import struct
import subprocess
import sys
import tempfile
import zoneinfo

PROGRAM, RRDTOOL = sys.argv[1:3]
SEED = os.environ.get("NVX_TEST_SEED", "20")
SCALE = 1 << 140  # of values, which are integers then
FILES = 60
LEAST_POINTS = 20_000
FUNCTIONS = {"average": "AVERAGE", "minimum": "MIN", "maximum": "MAX", "sum": "AVERAGE", "count": "AVERAGE",
             "integral": "AVERAGE"}
# A zone, and a time shortly before its clocks change.
ZONES = [("UTC", 1_700_000_000), ("Europe/Paris", 1_711_700_000), ("America/New_York", 1_699_000_000),
         ("America/Sao_Paulo", 1_541_150_000), ("Australia/Lord_Howe", 1_712_300_000),
         ("Asia/Kolkata", 1_650_000_000)]

Archive = collections.namedtuple("Archive", "function length rows begin end")


def run(*arguments, **options):
    return subprocess.run(arguments, capture_output=True, text=True, check=True, **options).stdout


def make(path, choose, begin):
    """A file whose rows have any values that the eleven digits of a dump tell."""
    step = choose.choice([7, 10, 30, 60, 300, 900])
    sources = choose.sample(["rx", "tx", "load"], choose.randint(1, 3))
    archives = [("AVERAGE", 1, choose.randint(30, 400))]
    for function in choose.choice([["AVERAGE"], ["AVERAGE", "MAX"], ["AVERAGE", "MIN", "MAX", "LAST"]]):
        for _ in range(choose.randint(1, 3)):
            archives.append((function, choose.choice([1, 2, 3, 5, 7, 12, 24, 50]), choose.randint(2, 300)))
    choose.shuffle(archives)
    last = begin + step * choose.randint(1, 4000) + choose.randint(0, step - 1)
    run(RRDTOOL, "create", path, "--step", str(step), "--start", str(last - 1),
        *(f"DS:{name}:GAUGE:{2 * step}:U:U" for name in sources),
        *(f"RRA:{function}:0.5:{steps}:{rows}" for function, steps, rows in archives))
    run(RRDTOOL, "update", path, f"{last}:" + ":".join("1" for _ in sources))
    gap = choose.choice([0, 0.02, 0.3])
    largest = choose.choice([1, 100, 10**9, 10**10])
    count = len(sources) * sum(rows for _, _, rows in archives)
    values = [math.nan if choose.random() < gap else
              choose.randint(-largest, largest) / choose.choice([1, 16] if largest < 10**6 else [1])
              for _ in range(count)]
    with open(path, "r+b") as file:
        file.seek(-8 * count, os.SEEK_END)
        file.write(struct.pack(f"={count}d", *values))


def read(path):
    text = run(RRDTOOL, "dump", path)
    step = int(re.search(r"<step>\s*(\d+)", text)[1])
    names = re.findall(r"<name>\s*(\S+)", text)
    archives = []
    for part in text.split("<rra>")[1:]:
        length = step * int(re.search(r"<pdp_per_row>\s*(\d+)", part)[1])
        rows = {int(time): [float(value) for value in re.findall(r"<v>\s*([^<\s]+)", values)]
                for time, values in re.findall(r"/ (-?\d+) --> <row>(.*?)</row>", part)}
        archives.append(Archive(re.search(r"<cf>\s*(\w+)", part)[1], length, rows, min(rows) - length, max(rows)))
    return step, names, archives


def choose_pool(archives, function):
    own = [archive for archive in archives if archive.function == function]
    return sorted(own or choose_pool(archives, "AVERAGE"), key=lambda archive: archive.length)


def take(pool, begin, end):
    """The parts of a time with the archive that has each, and what no archive has."""
    parts, rest = [], [(begin, end)]
    for archive in pool:
        left = []
        for first, last in rest:
            low, high = max(first, archive.begin), min(last, archive.end)
            if low >= high:
                left.append((first, last))
                continue
            parts.append((low, high, archive.length, archive.rows))
            left += [part for part in ((first, low), (high, last)) if part[0] < part[1]]
        rest = left
    return parts


def compute(pool, column, begin, end):
    """Integral in 1 / SCALE, seconds known, least, greatest and the longest straddling row."""
    integral, size, known, values, straddling = 0, 0, 0, [], 0
    for low, high, length, rows in take(pool, begin, end):
        row = -(-(low + 1) // length) * length
        while row - length < high:
            value = rows[row][column]
            seconds = min(row, high) - max(row - length, low)
            if not math.isnan(value):
                numerator, denominator = value.as_integer_ratio()
                exact = numerator * (SCALE // denominator) * seconds
                integral += exact
                size += abs(exact)
                known += seconds
                values.append(value)
                if row - length < begin or row > end:
                    straddling = max(straddling, length)
            row += length
    return integral, size, known, values, straddling


def list_bounds(interval, zone, begin, end):
    if interval[-1] in "mh":
        seconds = int(interval[:-1]) * (60 if interval[-1] == "m" else 3600)
        return list(range(begin, end + 1, seconds))
    day = datetime.datetime.fromtimestamp(begin, zone).replace(tzinfo=None)
    bounds = []
    while not bounds or bounds[-1] < end:
        bounds.append(int(day.replace(tzinfo=zone).timestamp()))
        day = day.replace(hour=0) + datetime.timedelta(days=1)
    return bounds


def expect(function, step, sums):
    """The value, and how far a double computed without loss may lie from it."""
    integral, size, known, values, _ = sums
    if function == "count":
        return known / step, 0
    if not known:
        return math.nan, 0
    if function in ("minimum", "maximum"):
        return min(values) if function == "minimum" else max(values), 0
    divisor = SCALE * {"average": known, "sum": step, "integral": 1}[function]
    return integral / divisor, abs(integral / divisor) * 2**-52 + size / divisor * 2**-62


def check_points(path, choose, zone_name):
    step, names, archives = read(path)
    hour = "30m" if zone_name == "Australia/Lord_Howe" else "1h"  # whose clocks change by half an hour
    interval = choose.choice(["10m", hour, hour, "1d"] if step < 100 else [hour, "1d", "1d"])
    answer = subprocess.run([PROGRAM, "query", path, "--interval", interval, "--zone", zone_name, "--format", "csv",
                             "--function", ",".join(FUNCTIONS)], capture_output=True, text=True)
    if "no complete" in answer.stderr:  # the rows are younger than one
        return 0
    assert answer.returncode == 0, answer
    lines = list(csv.DictReader(io.StringIO(answer.stdout)))
    count = 0
    pools = {function: choose_pool(archives, function) for function in set(FUNCTIONS.values())}
    for column, name in enumerate(names):
        own = [line for line in lines if line.get("source", name) == name]
        times = [int(line["timestamp"]) for line in own]
        zone = zoneinfo.ZoneInfo(zone_name)
        end = times[-1] + (1 if interval == "1d" else 3600 if interval == "1h" else 60 * int(interval[:-1]))
        bounds = list_bounds(interval, zone, times[0], end)
        assert times == bounds[:-1], (times[:3], times[-3:], bounds[:3], bounds[-3:])
        for line, begin, after in zip(own, bounds, bounds[1:]):
            sums = {function: compute(pool, column, begin, after) for function, pool in pools.items()}
            is_good = True
            for function, consolidation in FUNCTIONS.items():
                expected, tolerance = expect(function, step, sums[consolidation])
                actual = float(line[function])
                assert (math.isnan(expected) and math.isnan(actual)) or abs(actual - expected) <= tolerance, \
                    (function, begin, after, actual, expected)
                known, straddling = sums[consolidation][2], sums[consolidation][4]
                is_good &= known == after - begin and 10 * straddling <= after - begin
                count += 1
            assert (line["quality"] == "good") == is_good, (begin, after, line)
    return count


def stitch(pool, column):
    """Behind a row comes that row of the finest archive that stands for the next second."""
    end = max(archive.end for archive in pool)
    reached, rows_taken = min(archive.begin for archive in pool), []
    while reached < end:
        has = [archive for archive in pool if archive.begin <= reached < archive.end]
        if not has:
            reached = min(archive.begin for archive in pool if archive.begin > reached)
            continue
        reached = (reached // has[0].length + 1) * has[0].length
        rows_taken.append((reached, has[0].rows[reached][column]))
    while rows_taken and math.isnan(rows_taken[0][1]):
        rows_taken.pop(0)
    return rows_taken


def check_rows(path):
    _, names, archives = read(path)
    result = subprocess.run([PROGRAM, "export", path, "--format", "csv"], capture_output=True, text=True, check=True)
    lines = list(csv.DictReader(io.StringIO(result.stdout)))
    count = 0
    for column, name in enumerate(names):
        for function in {archive.function for archive in archives}:
            own = [(int(line["timestamp"]), float(line["value"] or "nan")) for line in lines
                   if line.get("source", name) == name
                   and line["consolidation"] == ("" if function == "LAST" else function)]
            expected = stitch(choose_pool(archives, function), column)
            assert repr(own) == repr(expected), (function, own[:3], expected[:3], len(own), len(expected))
            count += len(own)
    told = re.search(r"(\d+) rows with a value: (.*); and (\d+) without", result.stderr)
    parts = [int(number) for number in re.findall(r"(\d+) of ", told[2])]
    assert sum(parts) == int(told[1]) == sum(line["value"] != "" for line in lines)
    assert int(told[1]) + int(told[3]) == len(lines)
    return count


def main():
    print(f"NVX_TEST_SEED={SEED}")
    choose = random.Random(SEED)
    points = rows = 0
    with tempfile.TemporaryDirectory() as directory:
        for number in range(FILES):
            zone, begin = choose.choice(ZONES)
            path = f"{directory}/file {number}.rrd"
            make(path, choose, begin)
            try:
                points += check_points(path, choose, zone)
                rows += check_rows(path)
            except subprocess.CalledProcessError as error:
                raise AssertionError(f"{number}: {error.cmd}: {error.stderr}") from error
    print(f"{points} points and {rows} rows as the dumps have them")
    assert points >= LEAST_POINTS, points


main()
