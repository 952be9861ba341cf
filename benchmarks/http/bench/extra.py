"""What is measured beside the table: what a request costs in the kernel, and the sizes only ours is asked for."""

from __future__ import annotations

import http.client
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys
import time
from dataclasses import dataclass

from . import load, process
from .servers import Server, ServerFailed

MIB = 1024 * 1024
IDLE_CONNECTIONS = 10_000
SMALL = load.Case("13-byte text", "/text13", 64)


@dataclass
class Cost:
    """A request's share in the kernel, at 64 connections."""

    switches: float  # voluntary context switches
    calls: float | None  # system calls; None where strace may not attach
    by_call: str = ""  # the frequent ones


def cost(server: Server, seconds: int) -> Cost:
    before = process.voluntary_switches(server.pid)
    requests = load.run(server, SMALL, seconds).requests
    result = Cost((process.voluntary_switches(server.pid) - before) / requests, None)
    if shutil.which("strace"):
        _count_calls(server, seconds, result)
    return result


def _count_calls(server: Server, seconds: int, result: Cost) -> None:
    """strace slows the server down, so only the counts are of use."""
    strace = subprocess.Popen(
        ["strace", "-c", "-f", "-p", str(server.pid)], stdout=subprocess.DEVNULL, stderr=subprocess.PIPE, text=True
    )
    try:
        if not _traced(server.pid):
            return
        requests = load.run(server, SMALL, seconds).requests
    finally:
        strace.send_signal(signal.SIGINT)
        try:
            summary = strace.communicate(timeout=20)[1]
        except subprocess.TimeoutExpired:
            strace.kill()
            summary = strace.communicate()[1]
    # % time, seconds, usecs/call, calls, [errors,] name
    rows = re.findall(r"^ *[\d.]+ +[\d.]+ +\d+ +(\d+)(?: +\d+)? +(\w+)$", summary, re.MULTILINE)
    counts = {name: int(calls) / requests for calls, name in rows if name != "total"}
    result.calls = sum(counts.values())
    frequent = sorted((item for item in counts.items() if item[1] >= 0.05), key=lambda item: -item[1])
    result.by_call = ", ".join(f"{name} {share:.2f}" for name, share in frequent)


def _traced(pid: int) -> bool:
    """Waits until each thread has its tracer."""
    limit = time.monotonic() + 5
    while time.monotonic() < limit:
        statuses = pathlib.Path(f"/proc/{pid}/task").glob("*/status")
        if all("TracerPid:\t0\n" not in status.read_text() for status in statuses):
            return True
        time.sleep(0.05)
    return False


@dataclass
class Idle:
    connections: int
    alive: int  # of them, at the end
    before: int  # resident bytes without them
    after: int  # resident bytes with them
    rate_without: float
    rate_with: float


def idle(server: Server, seconds: int) -> Idle:
    """Holds idle keep-alive connections while others are served."""
    before = process.resident_bytes(server.pid)
    without = load.run(server, SMALL, seconds).rate
    holder = subprocess.Popen(
        [sys.executable, str(pathlib.Path(__file__).parent / "hold.py"), str(server.port), str(IDLE_CONNECTIONS)],
        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True,
    )  # fmt: skip
    try:
        held = _number(holder.stdout.readline(), "held")
        after = process.resident_bytes(server.pid)
        while_held = load.run(server, SMALL, seconds).rate
        after = max(after, process.resident_bytes(server.pid))
        alive = _number(holder.communicate(timeout=60)[0], "alive")
    finally:
        if holder.poll() is None:
            holder.kill()
            holder.wait()
    return Idle(held, alive, before, after, without, while_held)


def _number(line: str, word: str) -> int:
    match = re.search(rf"^{word} (\d+)$", line, re.MULTILINE)
    if match is None:
        raise ServerFailed(f"the holder of idle connections said {line!r}")
    return int(match.group(1))


@dataclass
class Transfer:
    length: int
    seconds: float
    before: int  # resident bytes
    peak: int


def download(server: Server, target: str, length: int) -> Transfer:
    """One large file, read into a buffer that is used again and again."""
    before = process.resident_bytes(server.pid)
    process.reset_peak(server.pid)
    buffer = memoryview(bytearray(MIB))
    start = time.monotonic()
    with socket.create_connection(("127.0.0.1", server.port), 30) as connection:
        connection.sendall(f"GET {target} HTTP/1.1\r\nHost: 127.0.0.1\r\nConnection: close\r\n\r\n".encode())
        head = b""
        while b"\r\n\r\n" not in head:
            piece = connection.recv(4096)
            if not piece:
                raise ServerFailed(f"{target}: closed within the head")
            head += piece
        received = len(head) - head.index(b"\r\n\r\n") - 4
        while received < length:
            count = connection.recv_into(buffer)
            if count == 0:
                raise ServerFailed(f"{target}: {received} bytes of {length}, after {head[:40]!r}")
            received += count
    return Transfer(length, time.monotonic() - start, before, process.peak_bytes(server.pid))


def upload(server: Server, length: int) -> Transfer:
    """One large POST; the server answers with the number of bytes its handler found."""
    before = process.resident_bytes(server.pid)
    process.reset_peak(server.pid)
    block = os.urandom(MIB)
    start = time.monotonic()
    connection = http.client.HTTPConnection("127.0.0.1", server.port, timeout=60)
    try:
        connection.request(
            "POST", "/upload", (block for _ in range(length // MIB)),
            {"Content-Length": str(length), "Content-Type": "application/octet-stream"},
        )  # fmt: skip
        response = connection.getresponse()
        answer = response.read().decode(errors="replace")
    except (OSError, http.client.HTTPException) as error:
        raise ServerFailed(f"upload of {length} bytes: {error!r}") from error
    finally:
        connection.close()
    if response.status != 200 or answer != str(length):
        raise ServerFailed(f"upload of {length} bytes: {response.status}, {answer[:80]!r}")
    return Transfer(length, time.monotonic() - start, before, process.peak_bytes(server.pid))
