"""What the kernel tells of a running process."""

from __future__ import annotations

import glob
import time


def cpu_seconds(pid: int) -> float:
    """User and system time of all its threads, those that ended included, in nanosecond steps.

    The clock of another process, as clock_getcpuclockid() forms it; /proc/PID/stat tells the same in
    steps of 10 ms.
    """
    return time.clock_gettime((~pid << 3) | 2)


def on_cores(cores: set[int] | None, command: list[str]) -> list[str]:
    """The command with its threads and children held to these cores; same process id."""
    if cores is None:
        return command
    return ["taskset", "--cpu-list", ",".join(map(str, sorted(cores))), *command]


def _status(path: str, field: str) -> int:
    with open(path, encoding="ascii", errors="replace") as status:
        for line in status:
            if line.startswith(field + ":"):
                return int(line.split()[1])
    return 0


def resident_bytes(pid: int) -> int:
    return _status(f"/proc/{pid}/status", "VmRSS") * 1024


def peak_bytes(pid: int) -> int:
    """Largest resident memory since the start or the last reset_peak()."""
    return _status(f"/proc/{pid}/status", "VmHWM") * 1024


def reset_peak(pid: int) -> None:
    try:
        with open(f"/proc/{pid}/clear_refs", "w", encoding="ascii") as clear:
            clear.write("5")
    except OSError:
        pass  # without the right to it the peak is that of the whole run


def voluntary_switches(pid: int) -> int:
    """How often its threads went to sleep: once for each wake-up."""
    total = 0
    for path in glob.glob(f"/proc/{pid}/task/*/status"):
        try:
            total += _status(path, "voluntary_ctxt_switches")
        except OSError:
            pass  # a thread that ended meanwhile
    return total


def children(pid: int) -> list[int]:
    found = []
    for path in glob.glob("/proc/[0-9]*/status"):
        try:
            if _status(path, "PPid") == pid:
                found.append(int(path.split("/")[2]))
        except OSError:
            pass
    return found
