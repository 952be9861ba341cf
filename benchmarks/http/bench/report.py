"""Turns the figures into the tables of benchmarks/results."""

from __future__ import annotations

import os
import platform
import statistics
from dataclasses import dataclass, field

from .extra import MIB, Cost, Idle, Transfer
from .load import Case, Figures
from .servers import OURS, Server

# Microseconds of CPU a request, 13-byte text at 64 connections, on the machine where the limit was set.
CPU_LIMIT = 11.0
CPU_SEEN = {"nginx": 4.5, "microhttpd": 4.5, "civetweb": 8.0, "beast1": 14.5, "poco": 14.5, "httplib": 16.0}
IDLE_LIMIT = 64 * MIB


@dataclass
class Results:
    """Figures by case and server; what failed has no figures but a line in Failures."""

    servers: list[Server]
    cases: list[Case]
    parameters: str
    figures: dict[tuple[Case, str], Figures] = field(default_factory=dict)
    costs: dict[str, Cost] = field(default_factory=dict)
    idle: Idle | None = None
    download: Transfer | None = None
    upload: Transfer | None = None
    failures: list[str] = field(default_factory=list)

    def find(self, title: str, connections: int, server: str) -> Figures | None:
        for (case, name), figures in self.figures.items():
            if (case.title, case.connections, name) == (title, connections, server):
                return figures
        return None

    def best(self, title: str, connections: int, peer: str) -> Figures | None:
        """The peer's figures, the faster ones where it ran in two forms (beast1, beast2)."""
        names = [server.name for server in self.servers if server.name.rstrip("12") == peer]
        found = [figures for name in names if (figures := self.find(title, connections, name))]
        return max(found, key=lambda figures: figures.rate, default=None)


def machine() -> str:
    model = platform.machine()
    with open("/proc/cpuinfo", encoding="ascii", errors="replace") as info:
        for line in info:
            if line.startswith("model name"):
                model = line.split(":", 1)[1].strip()
                break
    return f"{model}, {os.cpu_count()} cores, Linux {platform.release()}"


def _time(microseconds: float) -> str:
    return f"{microseconds:.0f} µs" if microseconds < 1000 else f"{microseconds / 1000:.2f} ms"


def _table(head: list[str], rows: list[list[str]], last_is_text: bool = False) -> list[str]:
    """A Markdown table that also reads well as text: names to the left, figures to the right."""
    columns = range(len(head))
    widths = [max(len(row[i]) for row in [head, *rows]) for i in columns]
    text = {0, columns[-1]} if last_is_text else {0}

    def line(row: list[str]) -> str:
        return "| " + " | ".join(row[i].ljust(widths[i]) if i in text else row[i].rjust(widths[i]) for i in columns) + " |"

    rule = "|" + "|".join("-" * (widths[i] + 2) if i in text else "-" * (widths[i] + 1) + ":" for i in columns) + "|"
    return [line(head), rule, *map(line, rows), ""]


def _figures(results: Results) -> list[str]:
    lines = []
    for case in results.cases:
        rows = []
        for server in results.servers:
            if f := results.figures.get((case, server.name)):
                rows.append([
                    server.title, f"{f.rate:,.0f}", _time(f.p50), _time(f.p99), f"{f.cpu:.1f}",
                    f"{f.peak / MIB:.1f}", str(f.errors),
                ])  # fmt: skip
        if rows:
            head = [case.name, "requests/s", "p50", "p99", "CPU µs/request", "peak MiB", "errors"]
            lines += _table(head, rows)
    return lines


def _ratios(results: Results, measure: str) -> list[str]:
    peers = [server for server in results.servers if server.name != OURS]
    rows = []
    for case in results.cases:
        ours = results.figures.get((case, OURS))
        if not ours:
            continue
        row = [case.name]
        for peer in peers:
            theirs = results.figures.get((case, peer.name))
            row.append(f"{getattr(ours, measure) / getattr(theirs, measure):.2f}" if theirs else "")
        rows.append(row)
    return _table(["ours / peer", *(peer.title for peer in peers)], rows) if rows else []


def _costs(results: Results) -> list[str]:
    rows = []
    for server in results.servers:
        if found := results.costs.get(server.name):
            calls = "" if found.calls is None else f"{found.calls:.1f}"
            rows.append([server.title, calls, f"{found.switches:.2f}", found.by_call])
    if not rows:
        return []
    return [
        "## What a request costs in the kernel",
        "",
        "13-byte text at 64 connections. System calls are counted by strace, which slows a server down; voluntary",
        "context switches, that is wake-ups, are counted at full speed.",
        "",
        *_table(["", "system calls/request", "switches/request", "calls"], rows, last_is_text=True),
    ]


def _sizes(results: Results) -> list[str]:
    rows = []
    if idle := results.idle:
        rows.append([
            f"{idle.connections:,} idle connections", f"{idle.before / MIB:.1f}", f"{idle.after / MIB:.1f}",
            f"13-byte text at 64: {idle.rate_with:,.0f} requests/s with them, {idle.rate_without:,.0f} without; "
            f"{idle.alive:,} still open at the end",
        ])  # fmt: skip
    for title, transfer in (("1 GiB file", results.download), ("100 MiB upload", results.upload)):
        if transfer:
            rows.append([
                title, f"{transfer.before / MIB:.1f}", f"{transfer.peak / MIB:.1f}",
                f"{transfer.length / MIB / transfer.seconds:,.0f} MiB/s",
            ])  # fmt: skip
    if not rows:
        return []
    return ["## Sizes, ours", "", *_table(["", "resident MiB before", "with it, at most", ""], rows, last_is_text=True)]


@dataclass
class Requirement:
    text: str
    met: bool | None  # None where a figure is missing


def requirements(results: Results) -> list[Requirement]:
    """What the library asks of itself, in ratios of one run."""
    small, large, file, echo = "13-byte text", "100 KiB body", "10 MiB file", "10 KiB echo"
    found = []

    def rate(title: str, connections: int, peer: str, least: float) -> None:
        ours, theirs = results.find(title, connections, OURS), results.best(title, connections, peer)
        text = f"{title} at {connections}: rate at least {least} of {peer}"
        if ours and theirs:
            ratio = ours.rate / theirs.rate
            found.append(Requirement(f"{text}: {ratio:.2f}", ratio >= least))
        else:
            found.append(Requirement(text, None))

    def p99(connections: int, peer: str) -> None:
        ours, theirs = results.find(small, connections, OURS), results.best(small, connections, peer)
        text = f"{small} at {connections}: p99 below that of {peer}"
        if ours and theirs:
            found.append(Requirement(f"{text}: {_time(ours.p99)}, {_time(theirs.p99)}", ours.p99 < theirs.p99))
        else:
            found.append(Requirement(text, None))

    def limit(text: str, value: float | None, most: float, shown: str) -> None:
        found.append(Requirement(f"{text}{shown}", None if value is None else value <= most))

    for peer, least in (("poco", 1.0), ("beast", 1.0), ("httplib", 1.0), ("civetweb", 0.75), ("nginx", 0.5)):
        rate(small, 64, peer, least)
    ours, slower = results.find(small, 64, OURS), _slower_than_seen(results, small)
    own_cpu = ours.cpu / slower if ours and slower else None
    limit(
        f"{small} at 64: at most {CPU_LIMIT:.0f} CPU microseconds a request, at the speed at which the peers take what they took then",
        own_cpu, CPU_LIMIT, f": {ours.cpu:.1f} here, where the peers take {slower:.2f} times as long: {own_cpu:.1f}" if own_cpu else "",
    )  # fmt: skip
    for connections in (64, 256):
        for peer in ("poco", "httplib"):
            p99(connections, peer)
    rate(large, 64, "nginx", 0.9)
    rate(file, 8, "nginx", 0.9)
    for peer in ("poco", "httplib"):
        rate(echo, 64, peer, 1.0)
    idle = results.idle
    limit(
        "10,000 idle connections: at most 64 MiB resident",
        idle.after if idle else None, IDLE_LIMIT, f": {idle.after / MIB:.1f} with {idle.connections:,}" if idle else "",
    )  # fmt: skip
    return found


def _slower_than_seen(results: Results, title: str) -> float | None:
    """How many times the CPU time the peers need here, as the geometric mean over those that ran."""
    ratios = [
        figures.cpu / seen for name, seen in CPU_SEEN.items() if (figures := results.find(title, 64, name)) is not None
    ]
    return statistics.geometric_mean(ratios) if ratios else None


def _requirements(results: Results) -> list[str]:
    words = {True: "pass", False: "FAIL", None: "not measured"}
    return ["## Asked for", "", *(f"- {words[r.met]}: {r.text}" for r in requirements(results)), ""]


def markdown(results: Results, date: str) -> str:
    lines = [f"# HTTP servers, {date}", "", f"{machine()}. {results.parameters}", ""]
    lines += _table(["server", "how it runs"], [[server.title, server.how] for server in results.servers], last_is_text=True)
    if results.failures:
        lines += ["## Failures", "", *(f"- {failure}" for failure in results.failures), ""]
    lines += ["## Figures", "", *_figures(results)]
    for title, measure in (("Rates as ratios (above 1: ours is faster)", "rate"),
                           ("CPU time a request as ratios (below 1: ours takes less)", "cpu")):  # fmt: skip
        if table := _ratios(results, measure):
            lines += [f"## {title}", "", *table]
    lines += _costs(results) + _sizes(results)
    if any(server.name == OURS for server in results.servers):
        lines += _requirements(results)
    return "\n".join(lines).rstrip() + "\n"
