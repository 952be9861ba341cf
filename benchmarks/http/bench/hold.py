"""hold.py PORT COUNT: opens COUNT keep-alive connections, uses each once and holds them idle.

Prints "held N" when they stand, waits for the end of its input, and prints "alive N": how many of
them the server has not closed. A process of its own, so that the bench's descriptors do not count.
"""

from __future__ import annotations

import resource
import select
import socket
import sys

PER_ADDRESS = 5000  # connections from one source address; the ports of one are limited
REQUEST = b"GET /text13 HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n"


def open_connection(port: int, number: int) -> socket.socket:
    connection = socket.socket()
    connection.settimeout(10)
    connection.bind((f"127.0.0.{2 + number // PER_ADDRESS}", 0))
    connection.connect(("127.0.0.1", port))
    connection.sendall(REQUEST)
    answer = b""
    while not answer.endswith(b"Hello, World!"):
        piece = connection.recv(4096)
        if not piece:
            raise OSError("closed before the answer")
        answer += piece
    return connection


def main() -> None:
    port, count = int(sys.argv[1]), int(sys.argv[2])
    hard = resource.getrlimit(resource.RLIMIT_NOFILE)[1]
    resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))
    held = []
    try:
        for number in range(count):
            held.append(open_connection(port, number))
    except OSError as error:
        print(f"connection {len(held)}: {error}", file=sys.stderr)
    print(f"held {len(held)}", flush=True)
    sys.stdin.read()
    poll = select.poll()
    for connection in held:
        poll.register(connection, select.POLLIN | select.POLLRDHUP)
    print(f"alive {len(held) - len(poll.poll(0))}", flush=True)


main()
