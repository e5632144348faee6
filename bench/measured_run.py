"""Runs a program and tells what it took."""
import os
import re
import resource
import subprocess
import time
from typing import NamedTuple

MEBIBYTE = 2 ** 20


class Run(NamedTuple):
    status: int       # negative: the signal that has ended it
    seconds: float    # of processor time, user and system
    elapsed: float    # seconds from begin to end
    memory: int       # peak of the bytes of its own, when watched: mapped files do not count
    work_bytes: int   # largest size of the work file, when watched


class RunFailed(Exception):
    """A program that has to succeed did not."""


def memory_of_its_own(pid):
    try:
        with open(f"/proc/{pid}/status", encoding="ascii") as status:
            return 1024 * sum(int(kibibytes) for kibibytes in
                              re.findall(r"^(?:RssAnon|RssShmem):\s*(\d+) kB$", status.read(), re.MULTILINE))
    except OSError:  # it has just ended
        return 0


def size_of(path):
    try:
        return os.stat(path).st_size
    except OSError:
        return 0


def run(command, folder=None, limit=None):
    """Runs a command to its end, or until it has used so many seconds of processor time."""
    begin = time.monotonic()
    child = subprocess.Popen(command, cwd=folder, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    if limit is not None:
        resource.prlimit(child.pid, resource.RLIMIT_CPU, (limit, limit))
    _, status, usage = os.wait4(child.pid, 0)
    return ended(child, begin, status, usage, 0, 0)


def watched_run(command, work_file, pause):
    """Runs a command and looks at its memory and its work file all the time, with pauses of so many seconds."""
    begin = time.monotonic()
    child = subprocess.Popen(command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    memory = work_bytes = 0
    while True:
        pid, status, usage = os.wait4(child.pid, os.WNOHANG)
        if pid != 0:
            return ended(child, begin, status, usage, memory, work_bytes)
        memory = max(memory, memory_of_its_own(child.pid))
        work_bytes = max(work_bytes, size_of(work_file))
        time.sleep(pause)


def ended(child, begin, status, usage, memory, work_bytes):
    child.returncode = os.waitstatus_to_exitcode(status)
    elapsed = time.monotonic() - begin
    return Run(child.returncode, usage.ru_utime + usage.ru_stime, elapsed, memory, work_bytes)


def succeeded(result):
    if result.status != 0:
        raise RunFailed(f"status {result.status}")
    return result
