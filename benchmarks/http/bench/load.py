"""Loads a server with wrk and reads the figures."""

from __future__ import annotations

import http.client
import pathlib
import re
import statistics
import subprocess
from dataclasses import dataclass

from . import process
from .servers import Server, ServerFailed

SCRIPT = pathlib.Path(__file__).parent.parent / "wrk.lua"
POST_BYTES = 10 * 1024


@dataclass(frozen=True)
class Case:
    """One row of the comparison: a target under a number of connections."""

    title: str
    target: str
    connections: int
    post: bool = False

    @property
    def name(self) -> str:
        plural = "" if self.connections == 1 else "s"
        return f"{self.title}, {self.connections} connection{plural}"


@dataclass
class Figures:
    rate: float  # requests a second
    p50: float  # microseconds
    p99: float
    cpu: float  # microseconds of the server's CPU time a request
    errors: int
    requests: int
    peak: int = 0  # bytes


def run(server: Server, case: Case, seconds: int, threads: int = 1) -> Figures:
    """One run of wrk. Raises ServerFailed when the server is gone or answered nothing."""
    command = [
        "wrk", f"-t{min(threads, case.connections)}", f"-c{case.connections}", f"-d{seconds}s", "--timeout", "10s",
        "-s", str(SCRIPT), f"http://127.0.0.1:{server.port}{case.target}",
    ]  # fmt: skip
    if case.post:
        command += ["--", "POST", str(POST_BYTES)]
    server.check()
    before = process.cpu_seconds(server.pid)
    output = subprocess.run(command, capture_output=True, text=True, timeout=seconds + 60, check=False)
    server.check()
    used = process.cpu_seconds(server.pid) - before
    line = re.search(r"^figures ([\d ]+)$", output.stdout, re.MULTILINE)
    if line is None:
        raise ServerFailed(f"wrk against {server.title}: {output.stdout}{output.stderr}")
    requests, duration, p50, p99, *errors = map(int, line.group(1).split())
    if requests == 0:
        raise ServerFailed(f"{server.title} answered nothing ({case.name})")
    return Figures(requests / (duration / 1e6), p50, p99, used / requests * 1e6, sum(errors), requests)


def median(rounds: list[Figures]) -> Figures:
    """Each figure's own median; errors and requests are summed, the peak is the largest."""
    middle = {name: statistics.median(getattr(r, name) for r in rounds) for name in ("rate", "p50", "p99", "cpu")}
    return Figures(
        **middle,
        errors=sum(r.errors for r in rounds),
        requests=sum(r.requests for r in rounds),
        peak=max(r.peak for r in rounds),
    )


def verify(server: Server, site: pathlib.Path) -> None:
    """Asks for every target once and compares the bytes: what is not the same work is not compared."""
    for target in ("text13", "text4k", "body100k", "file10m"):
        _expect(server, "GET", "/" + target, None, (site / target).read_bytes())
    if server.posts:
        body = bytes(range(256)) * (POST_BYTES // 256)
        _expect(server, "POST", "/echo", body, body)


def _expect(server: Server, method: str, target: str, body: bytes | None, answer: bytes) -> None:
    connection = http.client.HTTPConnection("127.0.0.1", server.port, timeout=10)
    try:
        connection.request(method, target, body, {"Content-Type": "application/octet-stream"} if body else {})
        response = connection.getresponse()
        got = response.read()
    except (OSError, http.client.HTTPException) as error:
        raise ServerFailed(f"{server.title} {target}: {error!r}") from error
    finally:
        connection.close()
    if response.status != 200 or got != answer:
        raise ServerFailed(f"{server.title} {target}: {response.status}, {len(got)} bytes of {len(answer)}")
