#!/usr/bin/env python3
"""Scene F: how soon after its launch the installed agent shows its window, and what the agent costs once that is closed.

usage: window_opening.py [--launches N] [--idle SECONDS] BUILD-FOLDER"""

import argparse
import pathlib
import re
import statistics
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "demo"))

import processes  # noqa: E402
from desktop import Desktop  # noqa: E402
from parties import Relay, install  # noqa: E402

MOST_TO_WINDOW_MS = 150
MOST_IDLE_PERCENT = 0.1
MOST_RESIDENT_MIB = 60


def resident_mib(pid):
    status = pathlib.Path(f"/proc/{pid}/status").read_text(encoding="utf-8")
    return int(re.search(r"VmRSS:\s+(\d+)", status).group(1)) / 1024


def processor_seconds(pid):
    """Of all threads that live."""
    threads = pathlib.Path(f"/proc/{pid}/task").iterdir()
    return sum(int((thread / "schedstat").read_text(encoding="utf-8").split()[0]) for thread in threads) / 1e9


def launch(program, desktop, environment):
    """The process, its window, and the milliseconds until the window manager had it."""
    before, mark, began = desktop.windows(), desktop.mark(), time.monotonic()
    process = processes.start([program], environment, desktop.logs / "agent.log")
    shown = desktop.wait_for_new_window(before, mark)
    if not shown:
        raise RuntimeError("no window came up")
    return process, shown[1], (shown[0] - began) * 1000


def main():
    arguments = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    arguments.add_argument("--launches", type=int, default=20)
    arguments.add_argument("--idle", type=float, default=60)
    arguments.add_argument("build", type=pathlib.Path)
    given = arguments.parse_args()
    processes.adopt_orphans()
    with tempfile.TemporaryDirectory(prefix="tallyfox-bench-") as folder:
        try:
            logs = pathlib.Path(folder) / "logs"
            logs.mkdir()
            desktop = Desktop(pathlib.Path(folder), logs)
            programs = install(given.build.resolve(), desktop)
            relay = Relay(programs, desktop, pathlib.Path(folder) / "relay")
            environment = dict(desktop.environment, TALLYFOX_RELAY_URL=f"ws://127.0.0.1:{relay.port}/agent",
                               TALLYFOX_PAIRING_ID="bench")
            times = []
            for number in range(given.launches):
                process, window, milliseconds = launch(str(programs / "tallyfox"), desktop, environment)
                times.append(milliseconds)
                time.sleep(1)
                if number + 1 < given.launches:
                    processes.end(process)
            open_mib = resident_mib(process.pid)
            if not desktop.close(window):
                raise RuntimeError("the window did not close")
            time.sleep(5)
            closed_mib, used, began = resident_mib(process.pid), processor_seconds(process.pid), time.monotonic()
            time.sleep(given.idle)
            percent = (processor_seconds(process.pid) - used) / (time.monotonic() - began) * 100
            if process.poll() is not None:
                raise RuntimeError("the agent ended with its window")
        finally:
            processes.end_all_descendants()

    def judge(name, value, aim):
        print(f"  {name:<58} {value:>9.2f}     aim <= {aim:<7} {'met' if value <= aim else 'MISSED'}")

    print("\nScene F: the window")
    print("===================")
    print(f"  launches: {len(times)}, from {min(times):.0f} to {max(times):.0f} ms; resident with the window open: "
          f"{open_mib:.1f} MiB")
    judge("launch -> window in the window manager's list, median, ms", statistics.median(times), MOST_TO_WINDOW_MS)
    judge(f"processor with the window closed, % of a core, {given.idle:.0f} s", percent, MOST_IDLE_PERCENT)
    judge("resident with the window closed, MiB", closed_mib, MOST_RESIDENT_MIB)


if __name__ == "__main__":
    main()
