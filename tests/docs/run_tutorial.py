"""Cuts and runs docs/tutorial.md.

run_tutorial.py cut PAGE FOLDER             writes each C++ block to the file that its first line names
run_tutorial.py run PAGE PROGRAMS ZN        runs the blocks marked "sh" in a folder and a network of their own: lines behind
                                            "$ " are commands, the others what they print ("..." stands for anything)"""

import os
import re
import subprocess
import sys
import tempfile
from pathlib import Path

LIMIT = 400  # s for all commands


def blocks(page, language):
    return re.findall(rf"^```{language}\n(.*?)^```$", page, re.M | re.S)


def cut(page, folder):
    folder.mkdir(parents=True, exist_ok=True)
    programs = {re.match(r"// (\w+\.cpp)\n", block)[1]: block for block in blocks(page, "cpp")}
    for old in set(folder.glob("*.cpp")) - {folder / name for name in programs}:
        old.unlink()
    for name, block in programs.items():
        if not (folder / name).exists() or (folder / name).read_text() != block:
            (folder / name).write_text(block)


def script(commands):
    """A command in the background is through when its first line is there."""
    lines = ["set -m"]
    for number, command in enumerate(commands):
        if command.endswith("&"):
            lines.append(f"{command[:-1]} >started 2>&1 &")
            lines.append("for i in $(seq 600); do [ -s started ] && break; sleep 0.1; done; head -1 started; : >started")
        elif command == "kill %1":
            lines.append("kill $!; wait $! 2>/dev/null")
        else:
            lines.append(f"{{ {command}\n}} 2>&1")
        lines.append(f"echo; echo ===== {number}")
    lines.append("kill $(jobs -p) 2>/dev/null; wait")
    return "\n".join(lines)


def matches(expected, printed):
    pattern = ".*".join(map(re.escape, expected.split("...")))
    return re.fullmatch(pattern, printed.strip(), re.S) is not None


def run(page, programs, zn):
    problems = 0
    with tempfile.TemporaryDirectory() as folder:
        environment = {**os.environ, "HOME": folder, "ZN_STATE_DIR": f"{folder}/state", "ZN_PIPE_DIR": f"{folder}/pipes",
                       "PATH": f"{Path(zn).resolve().parent}:{os.environ['PATH']}"}
        (Path(folder) / "pipes").mkdir()
        for program in programs.iterdir():
            if program.is_file() and program.name.startswith("tutorial_"):
                (Path(folder) / program.name.removeprefix("tutorial_")).symlink_to(program.resolve())
        # A network of its own: the ports are the page's, whoever else has them.
        private = ["unshare", "--map-root-user", "--net", "sh", "-c", 'ip link set lo up && exec "$@"', "sh"]
        if subprocess.run([*private, "true"], capture_output=True).returncode != 0:
            private = []
        # The blocks go on from each other, as the reader's shell does.
        steps = [step for block in blocks(page, "sh")
                 for step in re.findall(r"^\$ (.*)\n((?:(?!\$ ).*\n)*)", block, re.M)]
        done = subprocess.run([*private, "bash", "-c", script([command for command, _ in steps])], cwd=folder,
                              env=environment, capture_output=True, text=True, timeout=LIMIT)
        printed = re.split(r"\n===== \d+\n", done.stdout)
        for (command, expected), got in zip(steps, printed):
            if not matches(expected.strip(), got):
                problems += 1
                print(f"$ {command}\n--- expected\n{expected.strip()}\n--- printed\n{got.strip()}")
        if len(printed) <= len(steps):
            problems += 1
            print(f"only {len(printed)} of {len(steps)} commands came to their end\n{done.stderr}")
    print(f"{len(steps)} commands, {problems} problems")
    return problems == 0


if sys.argv[1] == "cut":
    cut(Path(sys.argv[2]).read_text(), Path(sys.argv[3]))
else:
    sys.exit(0 if run(Path(sys.argv[2]).read_text(), Path(sys.argv[3]), sys.argv[4]) else 1)
