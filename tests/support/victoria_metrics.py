"""A real server that takes line protocol, and what it has then."""

import json
import socket
import subprocess
import time
import urllib.request


class VictoriaMetrics:
    def __init__(self, fetch_server, directory):
        program = subprocess.run([fetch_server, "victoria-metrics", "victoria-metrics"], check=True,
                                 stdout=subprocess.PIPE, text=True).stdout.splitlines()[0]
        with socket.socket() as probe:
            probe.bind(("127.0.0.1", 0))
            self.url = f"http://127.0.0.1:{probe.getsockname()[1]}"
        self.process = subprocess.Popen([program, "-retentionPeriod=100y", f"-storageDataPath={directory}",
                                         f"-httpListenAddr={self.url[7:]}"], stderr=subprocess.DEVNULL)
        for _ in range(600):
            try:
                self.get("/health")
                return
            except OSError:
                time.sleep(0.1)
        self.end()
        raise RuntimeError("the server does not start")

    def end(self):
        self.process.terminate()
        self.process.wait()

    def get(self, path):
        with urllib.request.urlopen(self.url + path, timeout=600) as answer:
            return answer.read().decode()

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
