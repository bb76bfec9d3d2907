"""Child processes that never outlive the program that started them."""

import ctypes
import os
import signal
import subprocess
import threading
import time

_PR_SET_CHILD_SUBREAPER = 36


def adopt_orphans():
    """Makes orphaned descendants (activated bus services, say) children of this process, so that they can be ended."""
    if ctypes.CDLL(None, use_errno=True).prctl(_PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) != 0:
        raise OSError(ctypes.get_errno(), "prctl")


def descendants(pid):
    """The process ids below `pid`, children before their own children."""
    found = []
    try:
        for task in os.listdir(f"/proc/{pid}/task"):
            with open(f"/proc/{pid}/task/{task}/children", encoding="ascii") as file:
                for child in map(int, file.read().split()):
                    found.append(child)
                    found.extend(descendants(child))
    except OSError:
        pass
    return found


def end_all_descendants(patience=5.0):
    """Asks, then forces, every descendant to end, and collects it. Returns how many had to be forced."""
    deadline = time.monotonic() + patience
    forced = 0
    while True:
        _collect()
        living = descendants(os.getpid())
        if not living:
            return forced
        force = time.monotonic() > deadline
        for pid in living:
            try:
                os.kill(pid, signal.SIGCONT)
                os.kill(pid, signal.SIGKILL if force else signal.SIGTERM)
            except ProcessLookupError:
                continue
            forced += force
        time.sleep(0.05)


def _collect():
    try:
        while os.waitpid(-1, os.WNOHANG)[0]:
            pass
    except ChildProcessError:
        pass


class Lines:
    """Follows a stream line by line in a thread; each line is kept with its moment of arrival (monotonic seconds)."""

    def __init__(self, stream, log):
        self._condition = threading.Condition()
        self._lines = []
        self._ended = False
        threading.Thread(target=self._follow, args=(stream, log), daemon=True).start()

    def _follow(self, stream, log):
        with stream, log:
            for line in stream:
                with self._condition:
                    self._lines.append((time.monotonic(), line.rstrip("\n")))
                    self._condition.notify_all()
                log.write(line)
                log.flush()
        with self._condition:
            self._ended = True
            self._condition.notify_all()

    def count(self):
        with self._condition:
            return len(self._lines)

    def wait(self, accept, start=0, timeout=20.0):
        """The first (moment, line) from line number `start` on that `accept` takes; None when none came in time."""
        deadline = time.monotonic() + timeout
        with self._condition:
            at = start
            while True:
                while at < len(self._lines):
                    if accept(self._lines[at][1]):
                        return self._lines[at]
                    at += 1
                left = deadline - time.monotonic()
                if left <= 0 or self._ended:
                    return None
                self._condition.wait(left)

    def since(self, start):
        with self._condition:
            return self._lines[start:]


def start(command, environment, log_path, **options):
    """Starts a program whose standard output is followed and logged; its errors go to the same log."""
    log = open(log_path, "a", encoding="utf-8")
    process = subprocess.Popen(command, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                               stderr=log, text=True, errors="replace", bufsize=1, **options)
    process.lines = Lines(process.stdout, log)
    return process


def end(process, patience=5.0):
    """Ends one started program and what it started, politely, then by force."""
    for pid in descendants(process.pid):
        try:
            os.kill(pid, signal.SIGTERM)
        except ProcessLookupError:
            pass
    if process.poll() is None:
        process.terminate()
        try:
            process.wait(patience)
        except subprocess.TimeoutExpired:
            process.kill()
            process.wait()
