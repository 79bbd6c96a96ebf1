"""Files as twelve programs make them, through every command that reads other programs' files.

Usage: programs_test.py NVX_TIMESERIES RRDTOOL DATA
"""

import csv
import io
import json
import os
import re
import subprocess
import sys
import tempfile

PROGRAM, RRDTOOL, DATA = sys.argv[1:4]
sys.path.insert(0, f"{DATA}/../support")
from recorder import Recorder  # noqa: E402

BEGIN = 1_711_000_200


def cross(functions, archives, factor="0.5"):
    return [f"RRA:{function}:{factor}:{archive}" for function in functions for archive in archives]


COLLECTD = [f"RRA:{function}:0.1:{steps}:{rows}" for steps, rows in
            ((1, 1200), (7, 1235), (50, 1210), (223, 1202), (2635, 1201)) for function in ("AVERAGE", "MIN", "MAX")]

# The path of a file in the program's directory, the labels that are in it, the step, and what the
# program gives to "rrdtool create".
PROGRAMS = {
    "collectd": ("host-a/interface-eth0/if_octets.rrd", "host/plugin-instance/type", 10,
                 ["DS:rx:DERIVE:20:0:U", "DS:tx:DERIVE:20:0:U", *COLLECTD]),
    "munin": ("example.org/host.example.org-load-load-g.rrd", "group/host-plugin-field-kind", 300,
              ["DS:42:GAUGE:600:U:U",
               *cross(("AVERAGE", "MIN", "MAX"), ("1:576", "6:432", "24:540", "288:450"), "0.99")]),
    "LibreNMS": ("router1/port-id5.rrd", "device/kind-number", 300,
                 ["DS:INOCTETS:DERIVE:600:0:12500000000", "DS:OUTOCTETS:DERIVE:600:0:12500000000",
                  "DS:INERRORS:DERIVE:600:0:12500000000",
                  *cross(("AVERAGE",), ("1:2016", "6:1440", "24:1440", "288:1440")),
                  *cross(("MIN", "MAX"), ("1:720", "6:1440", "24:775", "288:797")), "RRA:LAST:0.5:1:1440"]),
    "Cacti": ("local_host_mem_7.rrd", "file", 300,
              ["DS:mem_swap:GAUGE:600:0:U",
               *cross(("AVERAGE", "MIN", "MAX", "LAST"), ("1:500", "6:600", "24:700", "288:775"))]),
    "ntopng": ("0/rrd/bytes.rrd", "interface/folder/metric", 60,
               ["DS:bytes_sent:DERIVE:120:U:U", "DS:bytes_rcvd:DERIVE:120:U:U",
                "RRA:AVERAGE:0.5:1:1440", "RRA:AVERAGE:0.5:60:2400", "RRA:AVERAGE:0.5:1440:365",
                "RRA:HWPREDICT:1440:0.1:0.0035:20"]),
    "SmokePing": ("World/Europe/server.rrd", "world/region/target", 300,
                  ["DS:uptime:GAUGE:600:0:U", "DS:loss:GAUGE:600:0:20", "DS:median:GAUGE:600:0:180",
                   *(f"DS:ping{i}:GAUGE:600:0:180" for i in range(1, 4)), "RRA:AVERAGE:0.5:1:1008",
                   *cross(("AVERAGE", "MIN", "MAX"), ("12:4320", "144:720"))]),
    "Proxmox": ("pve2-node/pve1.rrd", "kind/node", 60,
                ["DS:loadavg:GAUGE:120:0:U", "DS:cpu:GAUGE:120:0:U", "DS:netin:DERIVE:120:0:U",
                 *cross(("AVERAGE", "MAX"), ("1:70", "30:70", "180:70", "720:70", "10080:70"))]),
    "RPi-Monitor": ("stat/soc_temp.rrd", "folder/name", 10,
                    ["DS:soc_temp:GAUGE:600:U:U",
                     *cross(("AVERAGE", "MIN", "MAX"), ("1:2880", "60:2880", "180:8760"))]),
    "MRTG": ("router_1.rrd", "target", 300,
             ["DS:ds0:COUNTER:600:0:125000000", "DS:ds1:COUNTER:600:0:125000000",
              *cross(("AVERAGE", "MAX"), ("1:800", "6:800", "24:800", "288:800"))]),
    "graphs1090": ("localhost/dump1090-rtl/dump1090_messages-local_accepted.rrd", "host/plugin-instance/type-name", 60,
                   ["DS:value:DERIVE:120:0:U", *cross(("AVERAGE", "MIN", "MAX"), ("1:1440", "5:2016", "60:8784"))]),
    # Of RRDtool 1.0 on MIPS, written by collectd.
    "OpenWrt, low byte first": ("OpenWrt/cpu-0/cpu.rrd", "host/plugin-instance/type", "mipsel-time64", None),
    "OpenWrt, high byte first": ("OpenWrt/cpu-0/cpu.rrd", "host/plugin-instance/type", "mips-time32", None),
}


def run(*arguments, status=0, **options):
    result = subprocess.run(arguments, capture_output=True, text=True, **options)
    assert result.returncode == status, (arguments, result)
    return result


def make(directory, name, step, definitions, sample_count=1500):
    path = f"{directory}/{name}"
    os.makedirs(os.path.dirname(path), exist_ok=True)
    if definitions is None:
        run("tar", "-xJf", f"{DATA}/foreign/machines.tar.xz", "-C", directory, f"collectd.{step}.v1.rrd")
        os.rename(f"{directory}/collectd.{step}.v1.rrd", path)
        return path
    begin = BEGIN - BEGIN % step
    run(RRDTOOL, "create", path, "--step", str(step), "--start", str(begin - 1), *definitions)
    count = sum(definition.startswith("DS:") for definition in definitions)
    samples = [f"{begin + i * step}:" + ":".join(str(i * (j + 3) % 97 + i * (j + 1)) for j in range(count))
               for i in range(sample_count) if i % 400 < 390]
    for i in range(0, len(samples), 2000):
        run(RRDTOOL, "update", path, *samples[i:i + 2000])
    return path


def count_rows(path):
    """Rows with a value, of each consolidation function and source, as the command tells them."""
    lines = list(csv.DictReader(io.StringIO(run(PROGRAM, "export", path, "--format", "csv").stdout)))
    keys = [(line["consolidation"], line.get("source"), line["timestamp"]) for line in lines]
    assert len(keys) == len(set(keys))
    return sum(line["value"] != "" for line in lines)


def check_info(path):
    information = json.loads(run(PROGRAM, "info", path, "--format", "json").stdout)
    text = run(RRDTOOL, "info", path).stdout
    names = re.findall(r"ds\[(.*)\]\.index", text)
    assert [source["name"] for source in information["sources"]] == names
    assert len(information["archives"]) == text.count(".cf = ")


def check_query(path):
    """An interval in the middle of the finest rows, beside what rrdtool fetches of them."""
    header = json.loads(run(PROGRAM, "info", path, "--format", "json").stdout)
    step = header["step"]
    finest = next(archive for archive in header["archives"]
                  if archive["consolidation"] == "AVERAGE" and archive["stepsPerRow"] == 1)
    length = 3600 if step >= 300 else 600
    begin = (finest["first"]["timestamp"] + finest["last"]["timestamp"]) // 2 // length * length
    end = begin + length
    rows = re.findall(r"^(\d+): (.*)$", run(RRDTOOL, "fetch", path, "AVERAGE", "-r", str(step), "-s", str(begin),
                                            "-e", str(end - 1)).stdout, re.M)
    columns = list(zip(*([float(value) for value in values.split()] for time, values in rows
                         if begin < int(time) <= end)))
    answer = run(PROGRAM, "query", path, "--interval", "10m" if length == 600 else "1h", "--from", str(begin),
                 "--to", str(end), "--function", "average,integral", "--format", "json").stdout
    for source, values, point in zip(header["sources"], columns, json.loads(answer), strict=True):
        known = [value for value in values if value == value]
        assert point.get("source", source["name"]) == source["name"] and point["timestamp"] == begin
        assert (point["quality"] == "good") == (len(known) == length // step), point
        if known:
            assert abs(point["average"] - sum(known) / len(known)) <= 1e-9 * max(map(abs, known)), (point, known[:3])
            assert abs(point["integral"] - sum(known) * step) <= 1e-9 * max(map(abs, known)) * (end - begin)


def check_push(directory, labels, count):
    recorder = Recorder()

    def push():
        recorder.lines.clear()
        run(PROGRAM, "push", recorder.url, "--tree", directory, "--path-labels", labels, "--state",
            f"{directory}/state")
        return recorder.lines

    lines = list(push())
    assert len(lines) == count and len({line.split(" value=")[0] + line.rsplit(" ", 1)[1] for line in lines}) == count
    exported = run(PROGRAM, "export", "--tree", directory, "--path-labels", labels, "--format", "line-protocol").stdout
    assert sorted(lines) == sorted(exported.splitlines())
    assert push() == []
    recorder.shutdown()


def check_later_push(directory):
    """What a finer archive has lost since the first push comes from a coarser one, and nothing twice."""
    path, recorder = f"{directory}/load.rrd", Recorder()
    run(RRDTOOL, "create", path, "--step", "10", "--start", str(BEGIN - 1), "DS:value:GAUGE:20:U:U",
        "RRA:AVERAGE:0.1:1:30", "RRA:AVERAGE:0.1:6:100", "RRA:AVERAGE:0.1:25:100")
    known, begin = {}, BEGIN
    for count in (20, 7, 31, 200, 3, 400, 0, 1):
        if count > 0:
            run(RRDTOOL, "update", path, *(f"{begin + 10 * i}:{i}" for i in range(count)))
        begin += 10 * count
        recorder.lines.clear()
        run(PROGRAM, "push", recorder.url, path, "--state", f"{directory}/state")
        exported = run(PROGRAM, "export", path, "--format", "csv").stdout.splitlines()[1:]
        rows = {int(line.split(",")[0]): line.rsplit(",", 1)[1] for line in exported}
        sent = {int(line.rsplit(" ", 1)[1]): line.split("value=")[1].split()[0] for line in recorder.lines}
        last = max(known, default=0)
        assert len(sent) == len(recorder.lines) and not sent.keys() & known.keys()
        assert min(sent, default=begin) > last
        # But for the seam behind what is confirmed, these are the rows that export has.
        seam = 250 if known else 0
        assert {when: value for when, value in sent.items() if when > last + seam} == {
            when: value for when, value in rows.items() if when > last + seam and value}
        times = [last, *sorted(sent)] if known else sorted(sent)
        assert all(after - before <= 250 for before, after in zip(times, times[1:])), times
        known.update(sent)
    recorder.shutdown()
    assert len(known) > 100


def check_told_gaps(directory):
    """A file without averages is pushed again, and each row that was lost meanwhile is told."""
    for step, interval, lost in ((1, [], True), (60, ["--interval", "10m", "--function", "minimum"], False)):
        path, recorder = f"{directory}/minutes{step}.rrd", Recorder()
        run(RRDTOOL, "create", path, "--step", str(step), "--start", str(BEGIN - 1), f"DS:value:GAUGE:{2 * step}:U:U",
            f"RRA:MIN:0.5:1:{10 if lost else 1000}")
        push = [PROGRAM, "push", recorder.url, path, "--state", f"{directory}/state{step}", *interval]
        run(RRDTOOL, "update", path, *(f"{BEGIN + step * i}:{i}" for i in range(50)))
        run(*push)
        sent = len(recorder.lines)
        run(RRDTOOL, "update", path, *(f"{BEGIN + step * (50 + i)}:{i}" for i in range(11 if lost else 60)))
        again = run(*push, status=3 if lost else 0)
        assert len(recorder.lines) > sent and ("no longer in its file" in again.stderr) == lost, again
        recorder.shutdown()


def find_layout(path):
    return re.search(r"^layout +([^ ,]+)", run(PROGRAM, "info", path).stdout, re.MULTILINE)[1]


def check(name, labels, definitions, path, directory, native):
    layout = find_layout(path)
    if definitions is None and layout != native:  # it is read when it is converted
        assert "convert" in run(PROGRAM, "info", path).stdout
        assert "convert" in run(PROGRAM, "query", path, "--interval", "1h", status=1).stderr
        run(PROGRAM, "convert", "--in-place", path, "--to", "native")
    else:
        other = "arm32-time64" if layout == "64bit" else "64bit"
        run(PROGRAM, "convert", path, f"{directory}/other", "--to", other)
        run(PROGRAM, "convert", f"{directory}/other", f"{directory}/native", "--to", "native")
        assert open(f"{directory}/native", "rb").read() == open(path, "rb").read()
    check_info(path)
    check_query(path)
    count = count_rows(path)
    assert count > 0
    check_push(directory, labels, count)
    print(f"{name}: {count} rows; convert, info, query, export and push")


def main():
    with tempfile.TemporaryDirectory() as directory:
        check_later_push(directory)
        check_told_gaps(directory)
    native = None  # the layout of the first files, which this machine has made
    for name, (file, labels, step, definitions) in PROGRAMS.items():
        with tempfile.TemporaryDirectory() as directory:
            path = make(directory, file, step, definitions)
            native = native or find_layout(path)
            check(name, labels, definitions, path, directory, native)
    assert len(PROGRAMS) == 12


if __name__ == "__main__":
    main()
