"""Starts and ends the servers of the comparison, each on a free port of 127.0.0.1."""

from __future__ import annotations

import getpass
import http.client
import pathlib
import socket
import subprocess
import time
from dataclasses import dataclass, field

from . import process

START_LIMIT = 10.0  # seconds
STOP_LIMIT = 10.0


class ServerFailed(Exception):
    """A server that does not start, or went away under load."""


def free_port() -> int:
    with socket.socket() as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


@dataclass
class Server:
    """One program of the comparison. Its output goes to a file in the work folder."""

    name: str
    title: str
    program: str
    how: str  # its configuration, for the report
    threads: int = 0  # 0: the program's own choice
    posts: bool = True  # answers /echo
    port: int = 0
    pid: int = 0  # the process that does the work
    _process: subprocess.Popen | None = field(default=None, repr=False)

    def command(self, programs: pathlib.Path, work: pathlib.Path, site: pathlib.Path) -> list[str]:
        arguments = [str(programs / self.program), str(self.port), str(site)]
        return arguments + [str(self.threads)] if self.threads else arguments

    def worker(self) -> int:
        return self._process.pid

    def start(
        self, programs: pathlib.Path, work: pathlib.Path, site: pathlib.Path, cores: set[int] | None = None
    ) -> None:
        """Its threads and processes run on these cores, or on those of the bench."""
        self.port = free_port()
        self._log = work / f"{self.name}.log"
        with open(self._log, "ab") as log:
            self._process = subprocess.Popen(
                process.on_cores(cores, self.command(programs, work, site)),
                stdin=subprocess.DEVNULL,
                stdout=log,
                stderr=log,
            )
        limit = time.monotonic() + START_LIMIT
        while not self._answers():
            self.check()
            if time.monotonic() > limit:
                raise ServerFailed(f"{self.title} is not ready after {START_LIMIT:.0f} s")
            time.sleep(0.02)
        self.pid = self.worker()

    def _answers(self) -> bool:
        """Not only a connection: some listen before they know their targets."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=1)
        try:
            connection.request("GET", "/text13")
            return connection.getresponse().status == 200
        except (OSError, http.client.HTTPException):
            return False
        finally:
            connection.close()

    def check(self) -> None:
        """Raises when it is not running."""
        if self._process.poll() is not None:
            said = self._log.read_text(errors="replace").strip()
            raise ServerFailed(f"{self.title} ended with {self._process.returncode}: {said[-500:]}")

    def stop(self) -> None:
        if self._process is None:
            return
        self._process.terminate()
        try:
            self._process.wait(STOP_LIMIT)
        except subprocess.TimeoutExpired:
            self._process.kill()
            self._process.wait()
        self._process = None


class Nginx(Server):
    """The packaged nginx with a configuration of its own in the work folder."""

    def command(self, programs: pathlib.Path, work: pathlib.Path, site: pathlib.Path) -> list[str]:
        configuration = work / "nginx.conf"
        template = (pathlib.Path(__file__).parent.parent / "nginx.conf.in").read_text()
        for name, value in {
            "@WORK@": str(work),
            "@SITE@": str(site),
            "@PORT@": str(self.port),
            "@USER@": getpass.getuser(),
        }.items():
            template = template.replace(name, value)
        configuration.write_text(template)
        return [self.program, "-p", str(work), "-e", str(work / "nginx.log"), "-c", str(configuration)]

    def worker(self) -> int:
        limit = time.monotonic() + START_LIMIT
        while time.monotonic() < limit:
            workers = process.children(self._process.pid)
            if workers:
                return workers[0]
            time.sleep(0.02)
        raise ServerFailed("nginx has no worker process")


OURS = "ours"


def all_servers() -> list[Server]:
    """In the order of the tables."""
    return [
        Server(OURS, "this library", "zn_bench_server", "V1, 300 workers at most"),
        Nginx(
            "nginx",
            "nginx",
            "/usr/sbin/nginx",
            "1 worker, sendfile, open file cache, no access log; 13 bytes by `return`, the rest are files",
            posts=False,
        ),
        Server("microhttpd", "libmicrohttpd", "zn_bench_microhttpd", "epoll, pool of 1 thread a core"),
        Server("civetweb", "civetweb", "zn_bench_civetweb", "300 threads"),
        Server("beast1", "Boost.Beast, 1 thread", "zn_bench_beast", "async, 1 thread, 60 s timeouts", threads=1),
        Server("beast2", "Boost.Beast, 2 threads", "zn_bench_beast", "async, 2 threads, a strand a connection", threads=2),
        Server("poco", "POCO", "zn_bench_poco", "HTTPServer, up to 300 threads"),
        Server("httplib", "cpp-httplib", "zn_bench_httplib", "pool of 300 threads, TCP_NODELAY"),
    ]
