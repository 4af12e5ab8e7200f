# SPDX-License-Identifier: Apache-2.0
"""What bench/run and bench/instructions share: texts, their units, and runs of the program."""

import argparse
import os
import re
import select
import subprocess
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent

# What each task's cost is counted in.
UNITS = {
    "seg": "character",
    "segpos": "character",
    "pos": "word",
    "tok": "byte",
    "tokpos": "token",
}
TASKS = tuple(UNITS)
CHINESE = ("seg", "segpos", "pos")


def short_line(task):
    """Text that takes no time, to see what loading takes."""
    return b"\xce\xd2\n" if task in CHINESE else b"Yes.\n"


class BenchError(Exception):
    """Something the user can put right; its text is the message."""


# Options.


def task_list(text):
    tasks = text.split(",")
    for task in tasks:
        if task not in TASKS:
            raise argparse.ArgumentTypeError(f"no task {task!r}: choose from {','.join(TASKS)}")
    return [task for task in TASKS if task in tasks]


def positive(kind):
    def parse(text):
        value = kind(text)
        if not 0 < value < float("inf"):
            raise argparse.ArgumentTypeError(f"{text} is not above 0")
        return value

    parse.__name__ = kind.__name__  # argparse names it when the text is no number
    return parse


def find_program(build, name="tolvek"):
    program = Path(build).resolve() / name
    if not os.access(program, os.X_OK):
        raise BenchError(f"no program {build}/{name}: build it (README.md), "
                         "or name its folder by --build")
    return program


# Texts.


def read_bytes(path):
    try:
        return Path(path).read_bytes()
    except OSError as error:
        raise BenchError(f"cannot read {path}: {error.strerror}") from error


def with_line_end(text, path):
    if not text.strip():
        raise BenchError(f"no text in {path}")
    return text if text.endswith(b"\n") else text + b"\n"


def read_chinese(path):
    """GBK; a .txt file is UTF-8 and converted, less the characters that have no GBK form."""
    text = read_bytes(path)
    if str(path).endswith(".txt"):
        text = text.decode("utf-8", "ignore").encode("gbk", "ignore")
    return with_line_end(text, path)


def read_english(path):
    return with_line_end(read_bytes(path), path)


def repeat_to(text, size):
    return text * -(-size // len(text))


def characters(gbk):
    """The characters of all lines: of two bytes where the first is 0x80 or above, else of one."""
    return re.findall(rb"[\x80-\xff][^\n]|[^\r\n]", gbk)


def count_units(task, given, made):
    """The units of a task with this input and this output."""
    if task in ("seg", "segpos"):
        return len(characters(given))
    if task == "tok":
        return len(given)
    return len((given if task == "pos" else made).split())


# Runs. Input and output are full paths; the program finds data/ in the folder it runs in.


def command(program, task, given, made):
    return [str(program), "-i", str(given), "-o", str(made), "-t", task]


def start(arguments, folder, errors, environment=None):
    # Nothing is open that a child must not have, and closing takes time that would count as its.
    return subprocess.Popen(arguments, cwd=folder, env=environment, stdin=subprocess.DEVNULL,
                            stdout=subprocess.DEVNULL, stderr=errors, close_fds=False)


def finish(process, errors):
    """Waits for the end; user and system time in seconds."""
    _, status, usage = os.wait4(process.pid, 0)
    process.returncode = os.waitstatus_to_exitcode(status)
    if process.returncode != 0:
        errors.seek(0)
        said = errors.read().decode("utf-8", "replace").strip()
        raise BenchError(f"status {process.returncode} of: {' '.join(process.args)}\n{said}")
    return usage.ru_utime + usage.ru_stime


def cpu_seconds(arguments, folder=ROOT, environment=None):
    with tempfile.TemporaryFile() as errors:
        return finish(start(arguments, folder, errors, environment), errors)


def seconds_to_first_line(program, task, given, work, folder=ROOT):
    """Wall time from the start of the program until a line can be read."""
    pipe = work / "pipe"
    os.mkfifo(pipe)
    reader = os.open(pipe, os.O_RDONLY | os.O_NONBLOCK)
    try:
        with tempfile.TemporaryFile() as errors:
            begin = time.perf_counter()
            process = start(command(program, task, given, pipe), folder, errors)
            ended = os.pidfd_open(process.pid)
            seconds = None
            try:
                while True:  # the end is watched, too: a failure writes no line
                    ready = select.select([reader, ended], [], [])[0]
                    if seconds is None:
                        seconds = time.perf_counter() - begin
                    if reader in ready and os.read(reader, 1 << 16):
                        continue
                    if ended in ready:
                        break
            finally:
                os.close(ended)
            finish(process, errors)
    finally:
        os.close(reader)
        pipe.unlink()
    return seconds


def peak_bytes(arguments, folder=ROOT, environment=None):
    """The most memory that was resident at a time. Polled: ru_maxrss of a child never reports less
    than the size of the Python process that it was forked from."""
    peak = 0
    with tempfile.TemporaryFile() as errors:
        process = start(arguments, folder, errors, environment)
        # Of the same real-time priority, it would keep the polling waiting.
        os.sched_setscheduler(process.pid, os.SCHED_OTHER, os.sched_param(0))
        ended = os.pidfd_open(process.pid)
        try:
            while not select.select([ended], [], [], 0.0005)[0]:
                status = Path(f"/proc/{process.pid}/status").read_text(encoding="ascii")
                found = re.search(r"VmHWM:\s*(\d+) kB", status)  # gone once it ends
                if found:
                    peak = int(found[1]) * 1024
        finally:
            os.close(ended)
        finish(process, errors)
    return peak
