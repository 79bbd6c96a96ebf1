"""The command push, on real servers of Debian and on one that misbehaves.

Usage: push_test.py NVX_TIMESERIES FETCH_SERVER DATA, then the options of unittest.
"""

import base64
import csv
import gzip
import http.server
import io
import json
import os
import pathlib
import shutil
import signal
import socket
import ssl
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import urllib.parse
import urllib.request

PROGRAM, FETCH_SERVER, DATA = sys.argv[1:4]
SOURCES = {"Temperature": "temperature", "Pressure": "pressure", "Wind": "wind"}


def find_free_port():
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def fetch(program, package):
    found = subprocess.run([FETCH_SERVER, program, package], capture_output=True, text=True)
    if found.returncode != 0:
        raise unittest.SkipTest(f"no {package} to be had here: {found.stderr[-200:]}")
    return found.stdout.splitlines()[0]


def get(url):
    with urllib.request.urlopen(url, timeout=30) as answer:
        return answer.read().decode()


class Server:
    """A server's program in a directory of its own, which a restart keeps."""

    def __init__(self, directory):
        self.directory = directory
        self.port = find_free_port()
        self.url = f"http://127.0.0.1:{self.port}"
        self.start()

    def start(self):
        log = open(f"{self.directory}/log", "ab")
        self.process = subprocess.Popen(self.get_command(), stdout=log, stderr=log,
                                        start_new_session=True)
        log.close()
        for _ in range(600):
            try:
                get(self.url + self.PING)
                return
            except OSError:
                time.sleep(0.05)
        raise RuntimeError(pathlib.Path(f"{self.directory}/log").read_text()[-2000:])

    def stop(self, number=signal.SIGKILL):
        os.killpg(self.process.pid, number)
        self.process.wait()


class VictoriaMetrics(Server):
    PING = "/health"
    WRITE = "/write"
    STOP = signal.SIGTERM  # it confirms what it has not yet written

    def get_command(self):
        return [fetch("victoria-metrics", "victoria-metrics"), "-retentionPeriod=100y",
                f"-storageDataPath={self.directory}/data", f"-httpListenAddr=127.0.0.1:{self.port}"]

    def read(self):
        get(self.url + "/internal/force_flush")
        answer = get(self.url + "/api/v1/export?match[]=topo_value")
        series = [json.loads(line) for line in answer.splitlines()]
        return {one["metric"]["id"]: dict(zip((t // 1000 for t in one["timestamps"]), one["values"]))
                for one in series}


class InfluxDb(Server):
    PING = "/ping"
    WRITE = "/write?db=home"
    STOP = signal.SIGKILL

    def get_command(self):
        config = f"{self.directory}/config"
        pathlib.Path(config).write_text(f"""
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
        return [fetch("influxd", "influxdb"), "-config", config]

    def start(self):
        super().start()
        query = urllib.parse.urlencode({"q": "CREATE DATABASE home"}).encode()
        urllib.request.urlopen(self.url + "/query", query, timeout=30).close()

    def read(self):
        query = {"db": "home", "epoch": "s", "q": "SELECT value FROM topo GROUP BY id"}
        answer = json.loads(get(f"{self.url}/query?{urllib.parse.urlencode(query)}"))
        return {one["tags"]["id"]: dict(map(tuple, one["values"]))
                for one in answer["results"][0]["series"]}


class Recorder(http.server.ThreadingHTTPServer):
    """Confirms what it is sent and keeps it, or answers what a test wants first."""

    daemon_threads = True

    def __init__(self):
        super().__init__(("127.0.0.1", 0), Handler)
        self.url = f"http://127.0.0.1:{self.server_port}/write"
        self.lines, self.requests, self.answers, self.pause = [], [], [], 0
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def handle_error(self, *unused):
        """A client that was killed or refuses the certificate is none of its own."""


class Handler(http.server.BaseHTTPRequestHandler):
    def log_message(self, *unused):
        pass

    def do_POST(self):
        body = self.rfile.read(int(self.headers["Content-Length"]))
        self.server.requests.append((self.path, dict(self.headers)))
        answer = self.server.answers.pop(0) if self.server.answers else 204
        if answer == "nothing":
            time.sleep(2)
        elif answer == "garbage":
            self.wfile.write(b"\x00\x01 not HTTP at all\n")
        else:
            status, words, *headers = answer if isinstance(answer, tuple) else (answer, "")
            if status == 204:
                time.sleep(self.server.pause)
                self.server.lines += gzip.decompress(body).decode().splitlines()
            self.send_response(status)
            for header in headers:
                self.send_header(*header)
            self.end_headers()
            self.wfile.write(words.encode())


class PushTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.data = tempfile.TemporaryDirectory()
        for name, column in SOURCES.items():
            cls.run_program("create", f"topo:{name}", "--step", "3600", "--csv",
                            f"{DATA}/seattle-weather-hourly.csv", "--column", column)

    def setUp(self):
        self.home = tempfile.TemporaryDirectory()
        self.addCleanup(self.home.cleanup)

    @classmethod
    def tearDownClass(cls):
        cls.data.cleanup()

    @classmethod
    def run_program(cls, *arguments, directory=None, status=0):
        result = subprocess.run([PROGRAM, "-d", directory or cls.data.name, *arguments],
                                capture_output=True, text=True)
        assert result.returncode == status, f"{arguments}: {result}"
        return result

    def push(self, url, *arguments, **options):
        return self.run_program("push", url, "--state", f"{self.home.name}/state", *arguments,
                                **options)

    def export(self, *arguments, directory=None):
        return self.run_program("export", "--format", *arguments, directory=directory).stdout

    def make_long_file(self):
        """A directory with 200,000 samples, several batches."""
        directory = f"{self.home.name}/long"
        os.mkdir(directory)
        lines = "".join(f"{1600000000 + i},{i % 1009 / 8}\n" for i in range(1, 200001))
        pathlib.Path(f"{directory}/csv").write_text(lines)
        self.run_program("create", "topo:long", "--step", "1", "--csv", f"{directory}/csv",
                         directory=directory)
        return directory

    def start_server(self, kind):
        server = kind(self.home.name)
        self.addCleanup(server.stop)
        return server

    def check_arrival(self, kind):
        server = self.start_server(kind)
        self.push(server.url + kind.WRITE, "--label", "device=d 1")
        sent = {}
        for row in csv.DictReader(io.StringIO(self.export("csv"))):
            if row["value"]:
                name = row["id"].partition(":")[2]
                sent.setdefault(name, {})[int(row["timestamp"])] = float(row["value"])
        self.assertEqual(server.read(), sent)
        self.assertEqual(sum(map(len, sent.values())), 26277)

    def test_a_year_arrives_at_victoria_metrics(self):
        self.check_arrival(VictoriaMetrics)

    def test_a_year_arrives_at_influxdb(self):
        self.check_arrival(InfluxDb)

    def check_restart(self, kind):
        directory = self.make_long_file()
        server = self.start_server(kind)
        command = [PROGRAM, "-d", directory, "push", server.url + kind.WRITE,
                   "--state", f"{self.home.name}/state"]
        with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as push:
            while not os.path.exists(f"{self.home.name}/state"):
                time.sleep(0.001)
            server.stop(kind.STOP)
            time.sleep(0.5)
            server.start()
            output, error = push.communicate(timeout=60)
        self.assertEqual(push.returncode, 0, error)
        self.assertIn(b"trying again", error)
        self.assertEqual(len(server.read()["long"]), 200000)

    def test_victoria_metrics_goes_away_and_comes_back(self):
        self.check_restart(VictoriaMetrics)

    def test_influxdb_is_killed_and_comes_back(self):
        self.check_restart(InfluxDb)

    def test_a_killed_push_loses_nothing(self):
        directory = self.make_long_file()
        recorder = Recorder()
        recorder.pause = 0.05
        command = [PROGRAM, "-d", directory, "push", recorder.url,
                   "--state", f"{self.home.name}/state"]
        for kill in range(10):
            # When a second request comes, the first is remembered, however slow the machine is.
            next_request = len(recorder.requests) + 1 + kill % 2
            with subprocess.Popen(command, stdout=subprocess.DEVNULL) as push:
                while len(recorder.requests) < next_request and push.poll() is None:
                    time.sleep(0.001)
                time.sleep(0.01 * kill)
                push.kill()
        rest = int(self.push(recorder.url, directory=directory).stdout.split()[0])
        self.assertLess(rest, 200000)
        expected = self.export("line-protocol", directory=directory).splitlines()
        self.assertEqual(sorted(set(recorder.lines)), sorted(expected))
        print(f"{len(recorder.lines) - len(expected)} of {len(expected)} lines sent twice")
        self.assertEqual(self.push(recorder.url, directory=directory).stdout[:13], "0 points sent")

    def test_what_fails_for_a_while_is_sent_again(self):
        recorder = Recorder()
        recorder.answers = [500, (429, "slow down", ("Retry-After", "1")), 503, "nothing"]
        begin = time.monotonic()
        result = self.push(recorder.url, "--timeout", "1")
        self.assertGreater(time.monotonic() - begin, 2)
        self.assertEqual(sorted(recorder.lines), sorted(self.export("line-protocol").splitlines()))
        self.assertIn("the server answers 500; trying again", result.stderr)

    def test_what_is_refused_is_told(self):
        for answer, words in (((400, "field type\nconflict"), "answers 400: field type?conflict"),
                              ((401, "no secret@ here"), "answers 401: no * here"),
                              ((401, "no Basic bWU6c2VjcmV0QA== *"), "answers 401: no Basic *== *"),
                              ((200, "log in first"), "answers 200: log in first"),
                              ((307, "", ("Location", "http://127.0.0.1:1/")), "answers 307"),
                              ("garbage", "HTTP/0.9")):
            recorder = Recorder()
            recorder.answers = [answer] * 9
            result = self.push(recorder.url.replace("//", "//me:secret%40@"),
                               "--retry-for", "0", status=1)
            self.assertIn(words, result.stderr)
            self.assertNotIn("secret", result.stderr)
            self.assertTrue(len(recorder.requests) == 1 or "400" in words)
            self.assertFalse(os.path.exists(f"{self.home.name}/state"))
        recorder = Recorder()
        recorder.answers = [(401, "no *")]
        self.assertIn("401: no *", self.push(recorder.url.replace("//", "//me:*@"), status=1).stderr)
        away = f"http://127.0.0.1:{find_free_port()}/write"
        self.assertIn("given up, since --retry-for is 1 s",
                      self.push(away, "--retry-for", "1", status=1).stderr)

    def test_one_refused_series_does_not_hold_up_the_others(self):
        recorder = Recorder()
        recorder.answers = [400, 204, (400, "conflict")]
        result = self.push(recorder.url, status=1)
        self.assertIn("topo:Temperature: the server answers 400: conflict", result.stderr)
        self.assertEqual(len(recorder.lines), 2 * 8759)
        self.push(recorder.url)
        self.assertEqual(sorted(recorder.lines), sorted(self.export("line-protocol").splitlines()))

    def test_what_a_server_keeps_no_more_is_not_sent_again(self):
        recorder = Recorder()
        recorder.answers = [(400, "partial write: points beyond retention policy dropped=5")] * 9
        self.assertEqual(self.push(recorder.url).stderr.count("dropped=5"), 1)
        self.assertIn("0 points sent", self.push(recorder.url).stdout)

    def test_points_do_not_depend_on_where_a_push_begins(self):
        directory = f"{self.home.name}/odd"
        os.mkdir(directory)
        at_once, bit_by_bit = Recorder(), Recorder()
        self.run_program("create", "topo:odd", "--step", "7", "--rows", "9000",
                         "--start", "700000000", directory=directory)
        for begin in range(2, 2000, 111):
            samples = (f"{700000000 + 7 * i}:{i}" for i in range(begin, begin + 111))
            self.run_program("update", "topo:odd", *samples, directory=directory)
            self.push(bit_by_bit.url, "--interval", "1m", directory=directory)
        self.push(at_once.url, "--interval", "1m", directory=directory)
        self.assertEqual(bit_by_bit.lines, at_once.lines)
        self.assertGreater(len(at_once.lines), 200)

    def test_who_pushes(self):
        secret = pathlib.Path(f"{self.home.name}/secret")
        basic = "Basic " + base64.b64encode(b"me:secret@").decode()
        for prefix, query, text, option, expected in (
                ("me:secret%40@", "", "", "", basic), ("", "?u=me&%70=secret%40", "", "", basic),
                ("", "", "me:secret@\n", "--user-file", basic),
                ("", "?db=home&key=secret", "secret@", "--token-file", "Token secret@"),
                ("", "", "Bearer secret@", "--token-file", "Bearer secret@")):
            recorder = Recorder()
            secret.write_text(text)
            url = recorder.url.replace("//", "//" + prefix) + query
            self.push(url, *([option, str(secret)] if option else []), "--from", "last")
            path, headers = recorder.requests[0]
            self.assertEqual(headers["Authorization"], expected)
            self.assertEqual(path, "/write?db=home&key=secret&precision=s" if "db" in query
                             else "/write?precision=s")
            self.assertNotIn("secret", pathlib.Path(f"{self.home.name}/state").read_text())

    def test_only_what_is_new_is_sent(self):
        directory = f"{self.home.name}/d1"
        os.mkdir(directory)
        recorder = Recorder()

        def push(*arguments, status=0):
            recorder.lines.clear()
            self.push(recorder.url, *arguments, directory=directory, status=status)
            return [line.removeprefix("topo,") for line in recorder.lines]

        def update(begin, end):
            self.run_program("update", "topo:new", *(f"{60 * i}:{i}" for i in range(begin, end)),
                             directory=directory)

        self.run_program("create", "topo:new", "--step", "60", "--rows", "10", "--start", "60",
                         directory=directory)
        self.assertEqual(push(), [])
        update(2, 4)
        self.assertEqual(push(), ["id=new value=2 120", "id=new value=3 180"])
        self.assertEqual(push("--interval", "2m", status=1), [])
        update(4, 6)
        self.assertEqual(push("--interval", "2m"), ["id=new value=3,quality=true 120"])
        self.assertEqual(push(), ["id=new value=4 240", "id=new value=5 300"])
        self.assertEqual(push("--label", "a=b", "--from", "last"), ["a=b,id=new value=5 300"])
        update(6, 30)
        self.assertEqual(push("--interval", "2m", status=3)[-1], "id=new value=27,quality=true 1560")
        self.assertEqual(push("--interval", "2m"), [])
        self.assertEqual(len(push(status=3)), 10)
        other = f"{self.home.name}/d2"
        shutil.copytree(directory, other)
        self.assertEqual(push("-d", other, "topo:n*", "--from", "last")[-1],
                         "directory=d2,id=new value=29 1740")
        self.run_program("create", "topo:new", "--step", "60", "--rows", "10", "--start", "60",
                         "--force", directory=directory)
        self.assertEqual(push(status=3), [])

    def test_one_push_at_a_time(self):
        recorder = Recorder()
        recorder.pause = 1
        command = [PROGRAM, "-d", self.data.name, "push", recorder.url,
                   "--state", f"{self.home.name}/state"]
        with subprocess.Popen(command, stdout=subprocess.DEVNULL) as first:
            while not recorder.requests:
                time.sleep(0.01)
            self.assertIn("another push uses it", self.push(recorder.url, status=1).stderr)
            self.assertEqual(first.wait(), 0)
        pathlib.Path(f"{self.home.name}/state").write_text("spoilt")
        self.assertIn("no file that push wrote", self.push(recorder.url, status=1).stderr)

    def test_certificates_are_checked(self):
        key = f"{self.home.name}/key"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1",
                        "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost",
                        "-keyout", key, "-out", key + ".pem"], check=True, capture_output=True)
        recorder = Recorder()
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(key + ".pem", key)
        recorder.socket = context.wrap_socket(recorder.socket, server_side=True)
        url = recorder.url.replace("http://127.0.0.1", "https://localhost")
        self.assertIn("certificate", self.push(url, status=1).stderr)
        self.push(url, "--ca-file", key + ".pem")
        self.assertEqual(len(recorder.lines), 26277)


if __name__ == "__main__":
    unittest.main(argv=["push_test.py", *sys.argv[4:]], verbosity=2)
