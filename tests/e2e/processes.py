"""Processes of one test: started, watched, and all ended with it, orphans included."""

import ctypes
import os
import select
import signal
import subprocess
import time

_PR_SET_CHILD_SUBREAPER = 36


def adopt_orphans():
    """A descendant's orphans become children of this process, so none can escape."""
    ctypes.CDLL(None, use_errno=True).prctl(_PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0)


def descendants():
    """Process ids below this one that are not zombies, parents before children."""
    children = {}
    for name in os.listdir("/proc"):
        if not name.isdigit():
            continue
        try:
            with open(f"/proc/{name}/stat", "rb") as file:
                state, parent = file.read().rsplit(b")", 1)[1].split()[:2]
        except OSError:
            continue
        if state not in (b"Z", b"X"):
            children.setdefault(int(parent), []).append(int(name))
    found = []
    waiting = [os.getpid()]
    while waiting:
        for child in children.get(waiting.pop(), []):
            found.append(child)
            waiting.append(child)
    return found


def command_line(pid):
    try:
        with open(f"/proc/{pid}/cmdline", "rb") as file:
            return file.read().replace(b"\0", b" ").decode(errors="replace").strip()
    except OSError:
        return ""


def end_all():
    """Kills every descendant and reaps those that this process has adopted."""
    for _ in range(100):
        left = descendants()
        for pid in left:
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        reap()
        if not left:
            return
        time.sleep(0.02)
    raise AssertionError(f"processes that can't be ended: {[command_line(pid) for pid in descendants()]}")


def reap():
    while True:
        try:
            if os.waitpid(-1, os.WNOHANG)[0] == 0:
                return
        except ChildProcessError:
            return


class Watched:
    """Any process by its id; knows when it has ended, whatever its parent is."""

    def __init__(self, pid):
        self.pid = pid
        self._descriptor = os.pidfd_open(pid)

    def ends_within(self, seconds):
        poll = select.poll()
        poll.register(self._descriptor, select.POLLIN)
        return bool(poll.poll(int(seconds * 1000)))

    def has_ended(self):
        return self.ends_within(0)

    def close(self):
        os.close(self._descriptor)


def processor_time(pid):
    """In the kernel's ticks: user's and system's."""
    with open(f"/proc/{pid}/stat", encoding="utf-8") as file:
        return file.read().rpartition(")")[2].split()[11:13]


def watches(pid, other):
    """Whether process `pid` holds a descriptor of process `other`."""
    folder = f"/proc/{pid}/fdinfo"
    try:
        for name in os.listdir(folder):
            with open(os.path.join(folder, name), encoding="ascii") as lines:
                if f"\nPid:\t{other}\n" in lines.read():
                    return True
    except OSError:
        pass
    return False


def wait_until(condition, seconds, what):
    """Polls until `condition()` returns something true, and returns that; fails with `what` when time is up."""
    deadline = time.monotonic() + seconds
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            raise AssertionError(f"waited {seconds} s in vain: {what}")
        time.sleep(0.02)


class Meeting:
    """A stand-in for a meeting process: has an id, and dies on request."""

    def __init__(self):
        self._process = subprocess.Popen(["sleep", "1000"], start_new_session=True)
        self.pid = self._process.pid

    def die(self):
        self._process.kill()
        self._process.wait()

    def is_alive(self):
        return self._process.poll() is None
