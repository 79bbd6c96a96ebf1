"""Real servers that take line protocol, and what they have then."""

import json
import pathlib
import signal
import socket
import subprocess
import time
import unittest
import urllib.parse
import urllib.request


def find_free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


class Server:
    """A server's program in a directory of its own, which a restart keeps; its log lies beside it."""

    def __init__(self, fetch_server, directory):
        found = subprocess.run([fetch_server, *self.PACKAGE], capture_output=True, text=True)
        if found.returncode != 0:
            raise unittest.SkipTest(f"no {self.PACKAGE[1]} to be had here: {found.stderr[-200:]}")
        self.program = found.stdout.splitlines()[0]
        self.directory = directory
        self.port = find_free_port()
        self.url = f"http://127.0.0.1:{self.port}"
        self.start()

    def start(self):
        log = pathlib.Path(f"{self.directory}.log")
        with log.open("ab") as file:
            self.process = subprocess.Popen([self.program, *self.get_options()], stdout=file, stderr=file)
        for _ in range(600):
            try:
                self.get(self.PING)
                return
            except OSError:
                time.sleep(0.1)
        self.end()
        raise RuntimeError(log.read_text()[-2000:])

    def end(self):
        self.process.send_signal(self.END)
        self.process.wait()

    def get(self, path, data=None):
        with urllib.request.urlopen(self.url + path, data, timeout=600) as answer:
            return answer.read().decode()


class VictoriaMetrics(Server):
    PACKAGE = "victoria-metrics", "victoria-metrics"
    PING = "/health"
    WRITE = "/write"
    END = signal.SIGTERM  # it confirms what it has not yet written

    def get_options(self):
        return ["-retentionPeriod=100y", f"-storageDataPath={self.directory}", f"-httpListenAddr={self.url[7:]}"]

    def count_writes(self):
        return sum(int(line.rsplit(" ", 1)[1]) for line in self.get("/metrics").splitlines()
                   if line.startswith("vm_http_requests_total{") and "write\"" in line)

    def read(self, name):
        """(series, time in seconds) to value, and how many values there are, also of the same time."""
        self.get("/internal/force_flush")
        rows, count = {}, 0
        for line in self.get(f"/api/v1/export?match[]={name}").splitlines():
            one = json.loads(line)
            labels = {name: value for name, value in one["metric"].items() if name not in ("__name__", "db")}
            series = ",".join(f"{name}={labels[name]}" for name in sorted(labels))
            count += len(one["values"])
            rows.update(((series, t // 1000), value) for t, value in zip(one["timestamps"], one["values"]))
        return rows, count


class InfluxDb(Server):
    PACKAGE = "influxd", "influxdb"
    PING = "/ping"
    WRITE = "/write?db=home"
    END = signal.SIGKILL

    def get_options(self):
        config = pathlib.Path(f"{self.directory}.conf")
        config.write_text(f"""
reporting-disabled = true
bind-address = "127.0.0.1:{find_free_port()}"
[meta]
dir = "{self.directory}/meta"
[data]
dir = "{self.directory}/data"
wal-dir = "{self.directory}/wal"
[http]
bind-address = "127.0.0.1:{self.port}"
""")
        return ["-config", config]

    def start(self):
        super().start()
        self.get("/query", urllib.parse.urlencode({"q": "CREATE DATABASE home"}).encode())

    def read(self, name):
        """The same of this server; the name is that of a measurement, "_" and that of its field."""
        measurement, field = name.split("_")
        query = {"db": "home", "epoch": "s", "q": f"SELECT {field} FROM {measurement} GROUP BY *"}
        answer = json.loads(self.get(f"/query?{urllib.parse.urlencode(query)}"))
        rows = {(",".join(f"{key}={tag}" for key, tag in sorted(one["tags"].items())), t): value
                for one in answer["results"][0]["series"] for t, value in one["values"]}
        return rows, len(rows)
