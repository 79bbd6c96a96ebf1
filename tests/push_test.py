"""The command push, on real servers of Debian and on one that misbehaves.

Usage: push_test.py NVX_TIMESERIES FETCH_SERVER DATA, then the options of unittest.
"""

import base64
import csv
import io
import json
import os
import pathlib
import resource
import shutil
import signal
import sqlite3
import ssl
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.parse
import zlib

PROGRAM, FETCH_SERVER, DATA = sys.argv[1:4]
sys.path.insert(0, f"{DATA}/../support")
import hostile_answers  # noqa: E402
from recorder import Recorder  # noqa: E402
from servers import InfluxDb, VictoriaMetrics, find_free_port  # noqa: E402

SOURCES = {"Temperature": "temperature", "Pressure": "pressure", "Wind": "wind"}


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
        self.recorder = Recorder()

    @classmethod
    def tearDownClass(cls):
        cls.data.cleanup()

    @classmethod
    def run_program(cls, *arguments, directory=None, status=0, **options):
        result = subprocess.run([PROGRAM, "-d", directory or cls.data.name, *arguments],
                                capture_output=True, text=True, errors="replace", **options)
        assert result.returncode == status, f"{arguments}: {result}"
        return result

    def push(self, *arguments, url=None, **options):
        return self.run_program("push", url or self.recorder.url, "--state", f"{self.home.name}/state", *arguments,
                                **options)

    def export(self, *arguments, directory=None):
        return self.run_program("export", "--format", *arguments, directory=directory).stdout

    def make_file(self, name, count=0, step=60, rows=9000, start=1699999980):
        """A directory with a file, whose samples are 0, 1, 2 and so on."""
        directory = f"{self.home.name}/{name}"
        os.mkdir(directory)
        self.run_program("create", "topo:a", "--step", str(step), "--rows", str(rows), "--start", f"@{start}",
                         directory=directory)
        self.store(directory, range(count), step, start)
        return directory

    def store(self, directory, values, step=60, start=1699999980):
        lines = "".join(f"@{start + step * (value + 1)},{value}\n" for value in values)
        if lines:
            self.run_program("update", "topo:a", "--csv", "-", directory=directory, input=lines)

    def make_long_file(self):
        """A directory with a file of several batches."""
        return self.make_file("long", 200000, 1, 200000)

    def check_server(self, kind):
        """A year arrives; and the server goes away during a push, and comes back."""
        server = kind(FETCH_SERVER, f"{self.home.name}/server")
        self.addCleanup(server.end)
        url = server.url + kind.WRITE
        self.push("--label", "device=d 1", url=url)
        sent = {(row["id"].replace("topo:", "device=d 1,id="), int(row["timestamp"])): float(row["value"])
                for row in csv.DictReader(io.StringIO(self.export("csv"))) if row["value"]}
        self.assertEqual(server.read("topo_value"), (sent, 26277))
        state = f"{self.home.name}/other"
        command = [PROGRAM, "-d", self.make_long_file(), "push", url, "--state", state]
        with subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as push:
            while not os.path.exists(state):
                time.sleep(0.001)
            server.end()
            time.sleep(0.5)
            server.start()
            error = push.communicate(timeout=60)[1]
        self.assertEqual(push.returncode, 0, error)
        self.assertIn(b"trying again", error)
        self.assertEqual(len(server.read("topo_value")[0]), 26277 + 200000)

    def test_victoria_metrics(self):
        self.check_server(VictoriaMetrics)

    def test_influxdb(self):
        self.check_server(InfluxDb)

    def test_a_request_that_fails_is_repeated(self):
        self.recorder.answers = [500, (429, "slow down", ("Retry-After", "1")), 408, "nothing"]
        begin = time.monotonic()
        result = self.push("--timeout", "1")
        self.assertGreater(time.monotonic() - begin, 2)
        self.assertEqual(sorted(self.recorder.lines), sorted(self.export("line-protocol").splitlines()))
        self.assertIn("the server answers 500; trying again", result.stderr)

    def test_only_a_whole_answer_confirms(self):
        directory = self.make_file("one", 1)
        state = pathlib.Path(f"{self.home.name}/state")
        for answers, status in ((hostile_answers.CONFIRMING, 0), (hostile_answers.REFUSING, 1)):
            for answer in answers:
                with self.subTest(answer=answer):
                    recorder = self.recorder = Recorder()
                    recorder.answers = [answer] * 9
                    state.unlink(missing_ok=True)
                    self.push("--retry-for", "0", "--timeout", "2", directory=directory, status=status)
                    recorder.answers.clear()
                    self.assertEqual(self.push(directory=directory).stdout[:13],
                                     f"{status} points sent")

    def test_no_message_shows_a_secret(self):
        pair = base64.b64encode(b"me:s3/cr et").decode()
        file = pathlib.Path(f"{self.home.name}/secret")
        file.touch(0o600)
        file.write_text("h7q2zk")
        url = "me:s3%2Fcr%20et@"
        for prefix, query, words, shown in (
                (url, "", "no s3/cr et here", ": no * here"), (url, "", "no s3%2Fcr%20et here", ": no * here"),
                (url, "", "no s3%2Fcr+et here", ": no * here"), (url, "", f"no Basic {pair} *", ": no Basic * *"),
                (url, "", "no s3\\/cr et", ""), (url, "", "no %73%33/cr et", ""), (url, "", "no \\u0073\\u0033/cr et", ""),
                (url, "", "no s3%252fcr%2520et", ""), (url, "", "field type\nconflict", ": field type?conflict"),
                (url, "", "no %zz %4\\", ": no %zz %4\\"), ("me:%C3%A9%E2%82%AC@", "", "no \\u00e9\\u20ac", ""),
                ("h7q2zk@", "", "no h7q2zk", ": no *"), (":h7q2zk@", "", "no h7q2zk", ": no *"), ("", "?u=h7q2zk", "no h7q2zk", ": no *"),
                ("", "?h7q2zk", "no h7q2zk", ": no *"), ("", "?token=h7q2zk&db=home", "no h7q2zk in home", ": no * in home"),
                ("", "?a=7q&token=h7q2zk&b=zk", "no h7q2zk, 7q2z", ": no *, *2z"), ("", "?a=abc&b=bcd", "abcd", ": *"),
                ("me:*@", "", "no *", ": no *"), ("", "token", "no h7q2zk", ": no *"), ("", "", ["no"], "")):
            self.recorder.answers = [(401, json.dumps({"error": words}))] * 9
            arguments = ["--token-file", str(file)] if query == "token" else []
            address = self.recorder.url.replace("//", "//" + prefix) + query.replace("token", "", not query.count("="))
            result = self.push(*arguments, "--retry-for", "0", url=address, status=1)
            self.assertIn(f"the server answers 401{shown}\n", result.stderr)
            for secret in ("h7q2zk", "s3/cr et", pair):
                self.assertNotIn(secret, result.stderr)
        self.recorder.answers.clear()
        self.run_program("push", self.recorder.url + "?token=h7q2zk&db=home", env={**os.environ, "XDG_STATE_HOME": self.home.name})
        state = next(pathlib.Path(f"{self.home.name}/nvx-timeseries").iterdir())
        self.assertTrue(state.name.endswith("%2Fwrite%3Ftoken%3D%2A%26db%3Dhome.db"), state)
        self.assertNotIn(b"h7q2zk", state.read_bytes())
        for bucket in ("a", "b"):  # names of any length, in the directory that is the default
            self.run_program("push", f"{self.recorder.url}?bucket={'x' * 300}{bucket}",
                             env={**os.environ, "XDG_STATE_HOME": "relative", "HOME": f"{self.home.name}/home"})
        self.assertEqual(len(os.listdir(f"{self.home.name}/home/.local/state/nvx-timeseries")), 2)
        self.assertIn("HOME names no directory", self.run_program(
            "push", self.recorder.url, env={**os.environ, "XDG_STATE_HOME": "", "HOME": "relative"}, status=1).stderr)

    def test_what_a_server_refuses_is_reported(self):
        for answer, words in (((400, "no JSON"), "answers 400\n"), ((200, "log in first"), "answers 200: a page"),
                              ((307, "", ("Location", "http://127.0.0.1:1/")), "answers 307\n"),
                              (b"garbage", "HTTP/0.9")):
            recorder = self.recorder = Recorder()
            recorder.answers = [answer] * 9
            self.assertIn(words, self.push("--retry-for", "0", status=1).stderr)
            self.assertTrue(len(recorder.requests) == 1 or "400" in words)
        away = f"http://127.0.0.1:{find_free_port()}/write"
        self.assertIn("given up, since --retry-for is 1 s",
                      self.push("--retry-for", "1", url=away, status=1).stderr)
        for url in ("http:/me:secret@h", "http:///me:secret@h", "me:secret@h", "ftp://h", "http://", "http://a b/", "//h"):
            self.assertIn("URL: it is not one of a server", self.push(url=url, status=2).stderr)
        for words, url, *arguments in (
                ("parameter u has no value", "?u"), ("%00 stands in", "?a=%00"), ("given by the command", "?precision=ms"),
                ("exclude each other", "me@h", "--user-file", "x"), ("exclude each other", ":me@h", "--token-file", "x"),
                ("--partial: what", "", "--interval", "1h", "--partial"), ("--no-adjust: what", "", "--interval", "1h", "--no-adjust"),
                ("is never complete", "", "--interval", "all")):
            self.assertIn(words, self.push(*arguments, url=f"http://{url}" if "@" in url else f"http://h/{url}", status=2).stderr)

    def test_a_proxy_of_the_environment_is_reported(self):
        proxy = Recorder()
        environment = {**os.environ, "http_proxy": proxy.url, "no_proxy": ""}
        seen = ", which sees the token or password"
        for secret, name, words in (("me:secret@", "h.invalid/1", seen), (":secret@", "h.invalid/2", seen),
                                    ("", "h.invalid/3?key=*", seen), ("", "h.invalid/4", "")):
            proxy.answers = [500]
            prefix = f"nvx-timeseries: http://{name}: "
            self.assertEqual(self.push("--from", "last", url=f"http://{secret}{name}", env=environment).stderr,
                             f"{prefix}sent over the proxy of the variable http_proxy{words}\n"
                             f"{prefix}the server answers 500; trying again\n")

    def test_files_of_secrets(self):
        file = pathlib.Path(f"{self.home.name}/secret")
        for mode, warning in ((0o600, ""), (0o640, ""), (0o644, "every user can read this secret")):
            file.write_text("a\n")
            file.chmod(mode)
            self.assertIn(warning, self.push("--token-file", str(file), "--from", "last").stderr)
        for content in (b"", b"\n", b"a\0b", b"a\rb\n", b"a\x7f"):
            file.write_bytes(content)
            self.assertIn("no secret", self.push("--token-file", str(file), status=1).stderr)
        file.write_text("user")
        for path, words in (("/dev/zero", "no secret"), ("/", "read: Is a dir"), ("/none", "opened: No"), (str(file), "not USER:PASS")):
            self.assertIn(words, self.push("--user-file", path, status=1).stderr)

    def test_one_refused_series_does_not_hold_up_the_others(self):
        self.recorder.answers = [400, 204, (400, '{"error":"conflict"}')]
        result = self.push(status=1)
        self.assertIn("topo:Temperature: the server answers 400: conflict", result.stderr)
        self.assertEqual(len(self.recorder.lines), 2 * 8759)
        self.push()
        self.assertEqual(sorted(self.recorder.lines), sorted(self.export("line-protocol").splitlines()))

    def test_points_that_a_server_drops_are_not_sent_again(self):
        self.recorder.answers = [hostile_answers.make_error(400, hostile_answers.DROPPED + "=5")] * 9
        self.assertEqual(self.push().stderr.count("dropped=5"), 1)
        self.assertIn("0 points sent", self.push().stdout)

    def test_users_and_tokens(self):
        secret = pathlib.Path(f"{self.home.name}/secret")
        basic = "Basic " + base64.b64encode(b"me:secret@").decode()
        for prefix, query, text, option, expected in (
                ("me:secret%40@", "", "", "", basic), ("", "?u=me&%70=secret%40", "", "", basic),
                ("", "", "me:secret@\r\n", "--user-file", basic),
                ("", "?db=home&&key=secret", "secret@", "--token-file", "Token secret@"),
                ("", "", "Bearer secret@", "--token-file", "Bearer secret@")):
            recorder = self.recorder = Recorder()
            secret.touch(0o600)
            secret.write_text(text)
            url = recorder.url.replace("//", "//" + prefix) + query
            self.push(*([option, str(secret)] if option else []), "--from", "last", url=url)
            path, headers = recorder.requests[0]
            self.assertEqual(headers["Authorization"], expected)
            self.assertEqual(path, "/write?db=home&key=secret&precision=s" if "db" in query
                             else "/write?precision=s")
            self.assertNotIn(b"secret", pathlib.Path(f"{self.home.name}/state").read_bytes())

    def test_only_what_is_new_is_sent(self):
        directory = self.make_file("d1", 0, 60, 10, 60)

        def push(*arguments, status=0):
            self.recorder.lines.clear()
            self.push(*arguments, directory=directory, status=status)
            return [line.removeprefix("topo,") for line in self.recorder.lines]

        def update(begin, end):
            self.store(directory, range(begin, end), 60, 60)

        self.assertEqual(push(), [])
        update(0, 2)
        self.assertEqual(push(), ["id=a value=0 120", "id=a value=1 180"])
        self.assertEqual(push("--interval", "2m", status=1), [])
        update(2, 4)
        self.assertEqual(push("--interval", "2m"), ["id=a value=1,quality=true 120"])
        self.assertEqual(push(), ["id=a value=2 240", "id=a value=3 300"])
        self.assertEqual(push("--label", "b=c", "--from", "last"), ["b=c,id=a value=3 300"])
        update(4, 28)
        self.assertEqual(push("--interval", "2m", status=3)[-1], "id=a value=25,quality=true 1560")
        self.assertEqual(push("--interval", "2m"), [])
        self.assertEqual(len(push(status=3)), 10)
        other = f"{self.home.name}/d2"
        shutil.copytree(directory, other)
        self.assertEqual(push("-d", other, "topo:*", "--from", "last")[-1], "directory=d2,id=a value=27 1740")
        self.run_program("create", "topo:a", "--step", "60", "--rows", "10", "--start", "@60", "--force", directory=directory)
        self.assertEqual(push(status=3), [])
        update(28, 30)  # the first one ends a gap
        self.assertEqual(push(), ["id=a value=29 1860"])

    def test_one_push_at_a_time(self):
        self.recorder.pause = 1
        command = [PROGRAM, "-d", self.data.name, "push", self.recorder.url,
                   "--state", f"{self.home.name}/state"]
        with subprocess.Popen(command, stdout=subprocess.DEVNULL) as first:
            while not self.recorder.requests:
                time.sleep(0.01)
            self.assertIn("another push uses it", self.push(status=1).stderr)
            self.assertEqual(first.wait(), 0)

    def test_a_damaged_state_does_not_stop_a_push(self):
        directory = self.make_file("one", 20)
        self.push("--to", "1700000640", directory=directory)
        state = pathlib.Path(f"{self.home.name}/state")
        good = state.read_bytes()
        damages = [lambda size=size: state.write_bytes(good[:size])
                   for size in (2, 15, 16, 100, 511, 512, 1023, 4095, 4096, 4097, 6000, len(good) - 1)]
        damages += [lambda text=text: state.write_text(text) for text in ("spoilt", "{}x", "[]", '{"a":1}', "x" * 9999, "\0" * 8192)]

        def run(statements):
            with sqlite3.connect(state) as database:
                database.executescript(statements)
            database.close()

        damages += [lambda text=text: run(text) for text in (
            "UPDATE confirmed SET time = time + 60", "UPDATE confirmed SET time = 9223372036854775807",
            "UPDATE confirmed SET id = 'x'", "ALTER TABLE confirmed RENAME TO other", "CREATE TABLE more (a)",
            "DROP TABLE confirmed; CREATE TABLE confirmed (a)")]
        damages += [lambda: (state.unlink(), run("CREATE TABLE song (title); INSERT INTO song VALUES ('a')")),
                    lambda: (state.unlink(), state.mkdir())]
        harmless = 0
        for number, damage in enumerate(damages):
            with self.subTest(number=number):
                state.rmdir() if state.is_dir() else state.write_bytes(good)
                damage()
                spoilt = state.read_bytes() if state.is_file() else None
                self.recorder.lines.clear()
                told = self.push(directory=directory).stderr
                if told:
                    aside = pathlib.Path(told.split("it is now ")[1].split(",")[0])
                    self.assertEqual((told.count("\n"), len(self.recorder.lines)), (1, 20))
                    self.assertEqual(aside.read_bytes() if aside.is_file() else None, spoilt)
                else:
                    harmless += 1
                    self.assertEqual(len(self.recorder.lines), 9)
                self.assertEqual(self.push(directory=directory).stdout[:13], "0 points sent")
        self.assertLess(harmless, len(damages) / 2)
        state.write_bytes(b"")
        self.assertEqual(self.push(directory=directory).stderr, "")

    def test_a_state_that_cannot_be_used_is_reported_at_the_end(self):
        directory = self.make_long_file()
        full = f"{self.home.name}/full"
        os.mkdir(full)
        pathlib.Path(f"{full}/x").touch()
        # The files of the coverage do not grow, either: they stay away.
        small = {"preexec_fn": lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (6000, 6000)),
                 "env": {**os.environ, "GCOV_PREFIX": self.home.name}}
        for state, options in ((full, {}), ("/dev/null", {}), (f"{full}/none/x", {}), (f"{full}/new", small)):
            recorder = self.recorder = Recorder()
            result = self.run_program("push", recorder.url, "--state", state, directory=directory, status=1, **options)
            self.assertEqual(len(set(recorder.lines)), 200000)
            self.assertEqual(result.stdout[:18], "200000 points sent")
            self.assertRegex(result.stderr, f"^nvx-timeseries: {state}: the state cannot be read or saved: [^\n]*\n$")
        with subprocess.Popen(["flock", "-s", full, "sleep", "60"], start_new_session=True) as other:
            self.run_program("push", recorder.url, "--state", f"{full}/locked", directory=directory)
            self.assertEqual(os.stat(f"{full}/locked").st_mode & 0o777, 0o600)
            os.killpg(other.pid, signal.SIGKILL)
        directory = self.make_file("few", 20)
        self.push("--label", "a=b", directory=directory)
        for lock in ("BEGIN EXCLUSIVE", "BEGIN; SELECT * FROM confirmed"):  # by a program that does not end
            other = sqlite3.connect(f"{self.home.name}/state")
            other.executescript(lock)
            result = self.push(directory=directory, status=1)
            self.assertRegex(result.stdout + result.stderr, "^20 points(.*\n)+.* cannot be read or saved: database is locked; what")
            other.close()
        self.assertEqual(self.push(directory=directory).stdout[:9], "20 points")

    def test_a_state_of_json_is_taken_over(self):
        directory = self.make_file("one", 20)
        directory_name = os.path.realpath(directory)
        home = pathlib.Path(f"{self.home.name}/nvx-timeseries")
        home.mkdir()
        names = [f"{urllib.parse.quote(self.recorder.url, safe='')}.json{end}" for end in ("", ".lock")]
        (home / names[1]).touch()
        kinds = {'["samples",{}]': 1700000640, '["samples",{"a":"\ufffd"}]': 1700000640}
        (home / names[0]).write_text(json.dumps(
            {self.recorder.url: {directory_name: {kind: {"topo:a": time} for kind, time in kinds.items()}}}))
        push = ["push", self.recorder.url]
        environment = {**os.environ, "XDG_STATE_HOME": self.home.name}
        for arguments, count in (([], 9), ([], 0), (["--label", "a=\ufffd"], 20)):
            result = self.run_program(*push, *arguments, directory=directory, env=environment)
            self.assertEqual((result.stdout.split()[0], result.stderr), (str(count), ""))
        self.assertEqual([file.name for file in home.iterdir()], [names[0].replace(".json", ".db")])

    def test_each_series_has_a_state_of_its_own(self):
        directory = self.make_file("one", 2)
        for label in (b"ort=K\xfcche", b"ort=K\xe4che", b"a=\xc0\xaf", b"a=\xed\xa0\xb0"):
            self.assertIn("cannot be written", self.push("--label", label, directory=directory, status=1).stderr)
            for form in ("line-protocol", "openmetrics"):
                result = self.run_program("export", "--format", form, "--label", label, directory=directory, status=1)
                self.assertRegex(result.stderr, "topo:a: the label (ort|a)=.* cannot be written in")
        for name in (b"d\xfc", b"d\xe4"):
            copy = os.path.join(self.home.name.encode(), name)
            shutil.copytree(directory.encode(), copy)
            self.assertEqual(self.push(directory=copy).stdout[:13], "2 points sent")

    def test_a_change_of_the_local_zone_sends_everything_again(self):
        directory = self.make_file("days", 140, 3600, 200, 1699999200)
        zone = f"{self.home.name}/localtime"

        def push(path):
            return int(self.push("--interval", "1d", "--zone", "local", directory=directory,
                                 env={**os.environ, "TZ": f":{path}"}).stdout.split()[0])

        for name, day_count in (("Europe/Berlin", 5), ("America/New_York", 6)):
            os.symlink(f"/usr/share/zoneinfo/{name}", zone)
            self.assertEqual((push(zone), push(zone), push(f"/usr/share/zoneinfo/{name}"), push(name)),
                             (day_count, 0, 0, 0))
            os.unlink(zone)
        for name in ("Asia/Tokyo", "Asia/Shanghai"):
            shutil.copy(f"/usr/share/zoneinfo/{name}", zone)
            self.assertEqual((push(zone), push(zone)), (6, 0))

    def test_requests_that_are_too_large_are_halved(self):
        directory = self.make_long_file()
        for largest in (300000, 3000, 1):
            recorder = self.recorder = Recorder()
            recorder.largest = largest
            result = self.push(directory=directory, status=int(largest == 1))
            self.assertEqual(len(recorder.lines), 0 if largest == 1 else 200000)
            self.assertEqual(len(set(recorder.lines)), len(recorder.lines))
            os.unlink(f"{self.home.name}/state")
        self.assertIn("topo:a: the server answers 413", result.stderr)

    def test_a_time_that_no_file_has_sends_nothing(self):
        directory = self.make_file("one", 2)
        self.push(directory=directory)
        fields = [self.recorder.url.encode(), os.path.realpath(directory).encode(), b'["samples",{}]', b"topo:a"]
        last = 2**63 - 1
        row = b"".join(b"%d %s" % (len(field), field) for field in fields) + b"%d" % last
        with sqlite3.connect(f"{self.home.name}/state") as database:
            changed = database.execute("UPDATE confirmed SET time = ?, checksum = ?", (last, zlib.crc32(row))).rowcount
        database.close()
        self.assertEqual(changed, 1)
        result = self.push(directory=directory, status=3)
        self.assertIn("so nothing is sent", result.stderr)
        self.assertEqual(len(self.recorder.lines), 2)

    def test_files_are_left_out_and_directories_labelled(self):
        for name in ("d1", "d2"):
            self.make_file(name, 1)
            shutil.copy(f"{self.home.name}/{name}/topo_a.rrd", f"{self.home.name}/{name}/topo_b.rrd")
            pathlib.Path(f"{self.home.name}/{name}/topo_junk.rrd").write_text("junk")
        one, two = (f"{self.home.name}/{name}" for name in ("d1", "d2"))
        self.push(directory=one, status=1)
        push = ["--label-directory", "--exclude", "topo:j*", "--exclude", "topo:b"]
        for arguments, name in ((push, "d1"), ([*push, "-d", two], "d2")):  # where d1 has nothing new
            self.recorder.lines.clear()
            self.push(*arguments, directory=one)
            self.assertEqual(self.recorder.lines, [f"topo,directory={name},id=a value=0 1700000040"])
        exported = self.export("csv", *push, directory=one)
        self.assertEqual(exported, "timestamp,id,directory,value\n1700000040,topo:a,d1,0\n")
        self.run_program("export", "--format", "csv", "--exclude", "*", directory=one, status=1)

    def test_rows_of_averages_are_sent_as_they_come(self):
        path, start = f"{self.home.name}/topo_a.rrd", 1000000080  # on a bound of 2m
        subprocess.run(["rrdtool", "create", path, "--start", str(start), "--step", "60", "DS:rx:GAUGE:120:U:U", "DS:tx:GAUGE:120:U:U",
                        "RRA:AVERAGE:0.5:1:10", "RRA:LAST:0.5:1:10"], check=True)

        def push(*arguments, status=0):
            self.recorder.lines.clear()
            return self.push(*arguments, directory=self.home.name, status=status).stderr

        self.assertEqual((push(), self.recorder.lines), ("", []))
        minimum = ["--interval", "2m", "--function", "minimum", "--source", "rx"]
        self.assertIn("topo:a rx: no row of it has a value", push(*minimum, status=1))
        subprocess.run(["rrdtool", "update", path, *(f"{start + 60 * i}:{i}:0" for i in range(1, 7))], check=True)
        for argument in ("topo:a", path):  # an id and a path are other series
            self.assertEqual((push(argument).count("read from AVERAGE"), len(self.recorder.lines)), (1, 24))
            self.assertEqual((push(argument), self.recorder.lines), ("", []))
        push(*minimum)
        self.assertEqual([line.split()[1:] for line in self.recorder.lines],
                         [[f"value={i + 1},quality=true", str(start + 60 * i)] for i in (0, 2, 4)])
        subprocess.run(["rrdtool", "update", path, *(f"{start + 60 * i}:{i}:0" for i in range(7, 30))], check=True)  # the first rows leave
        self.assertIn("topo:a rx: the rows from 2001-09-09T01:54:00.000+00:00 to 2001-09-09T02:07:00", push("topo:a", status=3))
        push(*minimum, status=3)
        self.assertEqual((len(self.recorder.lines), push(*minimum), self.recorder.lines), (4, "", []))

    def test_each_interval_has_a_state_of_its_own(self):
        directory = self.make_file("weeks", 700, 3600, 800, 345600)  # 29 days from a Monday on
        self.run_program("update", "topo:a", f"@{345600 + 3600 * 701}:inf", directory=directory)
        self.assertIn("1 infinite values left out", self.push(directory=directory).stderr)
        for arguments, count in ((["2h"], 350), (["12h"], 58), (["2d"], 14), (["2d", "--day-start", "06:00"], 15), (["1w"], 4),
                                 (["1w", "--week-start", "sunday"], 4), (["2w"], 2), (["1mo"], 1)):
            for sent in (count, 0):
                status = 3 if sent and arguments == ["1mo"] else 0  # a month that begins before any sample can
                result = self.push("--interval", *arguments, directory=directory, status=status)
                self.assertEqual(result.stdout.partition(" ")[0], str(sent))

    def test_only_push_loads_the_libraries_of_push(self):
        for arguments, is_loaded in ((["list"], False), (["push", "--help"], True)):
            loaded = self.run_program(*arguments, env={**os.environ, "LD_DEBUG": "files"}).stderr
            self.assertIn("librrd", loaded)
            self.assertEqual(["libcurl" in loaded, "libsqlite3" in loaded], [is_loaded] * 2)

    def test_certificates_are_checked(self):
        key = f"{self.home.name}/key"
        subprocess.run(["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-days", "1",
                        "-subj", "/CN=localhost", "-addext", "subjectAltName=DNS:localhost",
                        "-keyout", key, "-out", key + ".pem"], check=True, capture_output=True)
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(key + ".pem", key)
        self.recorder.socket = context.wrap_socket(self.recorder.socket, server_side=True)
        url = self.recorder.url.replace("http://127.0.0.1", "https://localhost")
        self.assertIn("certificate", self.push(url=url, status=1).stderr)
        self.push("--ca-file", key + ".pem", url=url)
        self.assertEqual(len(self.recorder.lines), 26277)


if __name__ == "__main__":
    unittest.main(argv=["push_test.py", *sys.argv[4:]], verbosity=2)
