"""A server of line protocol that keeps what it confirms, or answers what a test wants first."""

import gzip
import http.server
import threading
import time


class Recorder(http.server.ThreadingHTTPServer):
    """Answers are statuses, tuples of status, text and headers, bytes of a connection, or "nothing"."""

    daemon_threads = True

    def __init__(self):
        super().__init__(("127.0.0.1", 0), Handler)
        self.url = f"http://127.0.0.1:{self.server_port}/write"
        self.lines, self.requests, self.answers, self.pause = [], [], [], 0
        self.largest = None  # of a request, in bytes of lines
        self.on_request = self.on_answer = lambda: None
        threading.Thread(target=self.serve_forever, daemon=True).start()

    def handle_error(self, *unused):
        """A client that was killed or refuses the certificate is none of its own."""


class Handler(http.server.BaseHTTPRequestHandler):
    def log_message(self, *unused):
        pass

    def do_POST(self):
        server = self.server
        body = self.rfile.read(int(self.headers["Content-Length"]))
        server.requests.append((self.path, dict(self.headers)))
        server.on_request()
        answer = server.answers.pop(0) if server.answers else 204
        lines = gzip.decompress(body)
        if answer == 204 and server.largest and len(lines) > server.largest:
            answer = 413
        if answer == "nothing":
            time.sleep(2)
        elif isinstance(answer, bytes):
            self.wfile.write(answer)
        else:
            status, words, *headers = answer if isinstance(answer, tuple) else (answer, "")
            if status == 204:
                time.sleep(server.pause)
                server.lines += lines.decode().splitlines()
            self.send_response(status)
            for header in headers:
                self.send_header(*header)
            self.end_headers()
            self.wfile.write(words.encode())
            self.wfile.flush()
        server.on_answer()
