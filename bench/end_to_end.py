#!/usr/bin/env python3
"""Scene E: how long a dialog takes to the phone, and the phone's answer back to the dialog, through the installed agent, a
relay and the command-line phone on a private desktop. The product waits on purpose in both directions; what counts is
the time beyond those waits, which are read from its own sources.

usage: end_to_end.py [--dialogs N] BUILD-FOLDER"""

import argparse
import math
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
sys.path.insert(0, str(ROOT / "demo"))

import processes  # noqa: E402
from desktop import Desktop  # noqa: E402
from parties import Agent, Phone, Relay, install  # noqa: E402

# The scans that follow a vanished dialog end two seconds after it; a new dialog is shown when they are over, so that
# its own events alone decide when it is looked at.
SECONDS_BETWEEN = 3.0
PATIENCE = 20.0
# The poll of visible windows may fall between a dialog's events and move its scans by up to a second either way.
SETTINGS = {"TALLYFOX_VISIBLE_WINDOW_OWNER_POLL_SECONDS": "3600", "TALLYFOX_APPROVAL_STALE_GRACE_SECONDS": "0.2"}
MOST_TO_PHONE_MS = 60
MOST_TO_GONE_MS = 40


def numbers_after(name, path):
    """The numbers of the first statement of a source file that holds `name`."""
    text = (ROOT / path).read_text(encoding="utf-8")
    found = re.search(re.escape(name) + r"[^;]*", text)
    numbers = re.findall(r"Seconds[({]([0-9.]+)[)}]", found.group(0)) if found else []
    if not numbers:
        raise RuntimeError(f"{path} does not tell {name}")
    return [float(number) for number in numbers]


def milliseconds_of_waits():
    """Until the second scan that sees a dialog, counted from its last event; and until the first look after a press."""
    debounce = numbers_after("AgentConfiguration::eventScanDebounce", "src/app/AgentConfiguration.cpp")
    follow_ups = numbers_after("followUpDelays =", "src/detection/DialogEventMonitor.cpp")
    looks = numbers_after("standardClearDelays =", "src/actions/ClickSession.cpp")
    return sorted(debounce + follow_ups)[1] * 1000, looks[0] * 1000


def p95(values):
    ordered = sorted(values)
    place = 0.95 * (len(ordered) - 1)
    below, above = math.floor(place), math.ceil(place)
    return ordered[below] + (ordered[above] - ordered[below]) * (place - below)


class Measured:
    def __init__(self):
        self.to_phone, self.to_gone, self.to_verdict, self.phone_alone = [], [], [], []
        self.lost = 0

    def print(self, forced_to_phone, first_look):
        def line(name, values):
            print(f"  {name:<58} {statistics.median(values):>9.2f} ms  p95 {p95(values):>9.2f}  ({len(values)} runs)")

        def judge(name, value, aim):
            print(f"  {name:<58} {value:>9.2f}     aim <= {aim:<7} {'met' if value <= aim else 'MISSED'}")

        print("\nScene E: from a dialog to the phone and back")
        print("============================================")
        line("window mapped -> on the phone's list", self.to_phone)
        line("answer given -> window gone", self.to_gone)
        line("answer given -> its result at the phone", self.to_verdict)
        line("of which the phone: start, connect, first list", self.phone_alone)
        print(f"  forced until the second sighting: {forced_to_phone:.0f} ms; until the first look: {first_look:.0f} ms")
        judge(f"dialogs that were not on the phone within {PATIENCE:.0f} s", self.lost, 0)
        judge("to the phone, ms beyond the forced", statistics.median(self.to_phone) - forced_to_phone,
              MOST_TO_PHONE_MS)
        judge("answer to gone, ms beyond the first look", statistics.median(self.to_gone) - first_look, MOST_TO_GONE_MS)
        judge("answer to its result, the same without the phone itself",
              statistics.median(self.to_verdict) - statistics.median(self.phone_alone) - first_look, MOST_TO_GONE_MS)


def measure_dialog(desktop, phone, number, measured):
    before, mark, phone_mark = desktop.windows(), desktop.mark(), phone.mark()
    text = f"Delete file {number}?"
    process = processes.start(["zenity", "--question", "--title", f"Question {number}", "--text", text],
                              desktop.environment, desktop.logs / "dialogs.log")
    mapped = desktop.wait_for_new_window(before, mark)
    if not mapped:
        raise RuntimeError(f"dialog {number} did not open")
    seen = phone.wait_for(lambda approval: text in approval["messageLines"], phone_mark, PATIENCE)
    if not seen:
        measured.lost += 1
        processes.end(process)
        return
    measured.to_phone.append((seen[0] - mapped[0]) * 1000)

    mark, began = desktop.mark(), time.monotonic()
    status, error, _ = phone.answer(seen[1], "No")
    measured.to_verdict.append((time.monotonic() - began) * 1000)
    closed = desktop.wait_until_one_gone({mapped[1]}, mark)
    gone = closed[0] if closed else None
    if status != "accepted" or not gone or process.wait(10) != 1:
        raise RuntimeError(f"dialog {number} was not answered: {status} {error}")
    measured.to_gone.append((gone - began) * 1000)


def measure_phone_alone(program, desktop, measured):
    began = time.monotonic()
    subprocess.run([str(program), "--json", "list"], env=desktop.environment, check=True, stdout=subprocess.DEVNULL,
                   timeout=60)
    measured.phone_alone.append((time.monotonic() - began) * 1000)


def main():
    arguments = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    arguments.add_argument("--dialogs", type=int, default=30)
    arguments.add_argument("build", type=pathlib.Path)
    given = arguments.parse_args()
    processes.adopt_orphans()
    measured = Measured()
    with tempfile.TemporaryDirectory(prefix="tallyfox-bench-") as folder:
        try:
            logs = pathlib.Path(folder) / "logs"
            logs.mkdir()
            desktop = Desktop(pathlib.Path(folder), logs)
            desktop.environment.update(SETTINGS)
            programs = install(given.build.resolve(), desktop)
            relay = Relay(programs, desktop, pathlib.Path(folder) / "relay")
            agent = Agent(desktop, relay)
            phone = Phone(programs, desktop, agent.pairing_code(relay))
            for number in range(given.dialogs):
                time.sleep(SECONDS_BETWEEN)
                measure_phone_alone(programs / "tallyfox-phone", desktop, measured)
                measure_dialog(desktop, phone, number, measured)
        finally:
            processes.end_all_descendants()
    measured.print(*milliseconds_of_waits())


if __name__ == "__main__":
    main()
