"""What a server or what lies before it may answer, as bytes of a connection that then ends."""

import json

DROPPED = "partial write: points beyond retention policy dropped"


def make_answer(status, text="", *headers):
    length = f"Content-Length: {len(text)}" if text or status != 204 else "X: y"
    return "\r\n".join([f"HTTP/1.1 {status} So", length, *headers, "", text]).encode()


def make_error(status, error):
    return make_answer(status, json.dumps({"error": error}))


NO_CONTENT = b"HTTP/1.1 204 No Content\r\nDate: x\r\n\r\n"
EMPTY = b"HTTP/1.1 200 OK\r\nContent-Length: 0\r\n\r\n"
CHUNKED = b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n"
LENGTHS = ("", "x", "-1", "0x0", "0, 5", "0\r\nContent-Length: 1", "1e3", "99999999999999999999999", "9223372036854775808",
           "18446744073709551616", "0 0", "+0")

CONFIRMING = [
    NO_CONTENT, EMPTY, CHUNKED + b"0\r\n\r\n", b"HTTP/1.0 204 No Content\r\n\r\n", b"HTTP/1.1 200 OK\r\n\r\n",
    b"HTTP/1.1 204\r\n\r\n", b"HTTP/1.1 204 No Content\n\n", b"HTTP/1.1 100 Continue\r\n\r\n" + NO_CONTENT,
    b"HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n" + EMPTY, NO_CONTENT[:-2] + b"Content-Length: 0\r\n\r\n",
    NO_CONTENT[:-2] + b"A: " + b"x" * 50000 + b"\r\n\r\n", EMPTY[:-2] + b"content-length: 0\r\n\r\n",
    make_error(400, DROPPED + "=5"),
]

REFUSING = [
    *(NO_CONTENT[:size] for size in range(0, len(NO_CONTENT) - 1, 2)),
    *(EMPTY[:size] for size in range(15, len(EMPTY) - 1, 3)),
    *(f"HTTP/1.1 200 OK\r\nContent-Length: {length}\r\n\r\n".encode() for length in LENGTHS),
    *(b"HTTP/1.1 204 No\r\nContent-Length: " + length + b"\r\n\r\n" for length in (b"7", b"-7", b"x")),
    CHUNKED, CHUNKED + b"0\r\n", CHUNKED + b"5\r\nab", CHUNKED + b"x\r\n\r\n", CHUNKED + b"2\r\nok\r\n0\r\n\r\n",
    *(make_answer(status) for status in (201, 202, 205, 206, 299, 300, 301, 304, 400, 401, 404, 413, 499, 500, 503, 999)),
    *(make_answer(200, text) for text in ("ok", " ", "\n", "{}", '{"results":[{}]}', "x" * 9000)),
    *(make_error(400, error) for error in (
        "x " + DROPPED + "=5", DROPPED.upper(), f"unable to parse 'a value=1': {DROPPED}=5", "partial write: dropped=1",
        {"a": DROPPED}, [DROPPED], None)),
    make_answer(400, DROPPED + "=5"), make_answer(400, json.dumps({"message": DROPPED})),
    make_answer(400, json.dumps({"error": DROPPED})[:-1]), make_error(500, DROPPED), make_error(422, DROPPED),
    b"\x00\x01 not HTTP at all\n", b"HTTP/0.9 204 No\r\n\r\n", b"HTTP/1.1 20 OK\r\n\r\n",
    b"204", b"ICY 204 OK\r\n\r\n", b"\r\n\r\n", b"HTTP/1.1 100 Continue\r\n\r\n", b"SSH-2.0-x\r\n",
]
