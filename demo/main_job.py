#!/usr/bin/env python3
"""The main job on real input: real dialogs of real applications, found, sealed, sent through a real relay, answered by a
phone program, pressed, verified and reported back. One table row a case; exits non-zero when any row is wrong.

usage: main_job.py BUILD-FOLDER OUTPUT-FOLDER"""

import dataclasses
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

import processes
from desktop import Desktop
from parties import Agent, Phone, Relay, install
from report import Row, write_report


class Failure(Exception):
    """A case that went wrong, in a sentence."""


@dataclasses.dataclass
class Stage:
    desktop: Desktop
    relay: Relay
    agent: Agent
    phone: Phone
    build: pathlib.Path
    output: pathlib.Path


@dataclasses.dataclass
class Dialog:
    """A dialog that was opened and has reached the phone."""
    process: subprocess.Popen
    window: str
    approval: dict
    show_to_phone_ms: float


def open_dialog(stage, name, command, says):
    """Starts an application and waits until its dialog is on the phone."""
    before, mark, phone_mark = stage.desktop.windows(), stage.desktop.mark(), stage.phone.mark()
    process = processes.start(command, stage.desktop.environment, stage.desktop.logs / f"{name}.log")
    window = stage.desktop.wait_for_new_window(before, mark)
    if not window:
        raise Failure("its window never appeared")
    seen = stage.phone.wait_for(lambda approval: any(says in line for line in approval["messageLines"]), phone_mark)
    if not seen:
        raise Failure("the phone never saw it")
    stage.desktop.screenshot(stage.output / f"{name}-before.png")
    return Dialog(process, window[1], seen[1], (seen[0] - window[0]) * 1000)


def answer(stage, name, dialog, button, expected_status):
    """Lets the phone answer; returns how it was pressed and the milliseconds from the answer to the window's end."""
    mark, agent_mark, began = stage.desktop.mark(), stage.agent.process.lines.count(), time.monotonic()
    status, error = stage.phone.answer(dialog.approval, button)
    if status != expected_status:
        raise Failure(f"answering {button!r} gave {status!r} {error}")
    gone = stage.desktop.wait_until_gone(dialog.window, mark) if status == "accepted" else None
    if status == "accepted" and not gone:
        raise Failure("reported as accepted, but its window is still there")
    stage.desktop.screenshot(stage.output / f"{name}-after.png")
    return stage.agent.decision(agent_mark), (gone - began) * 1000 if gone else None, error


def labels(dialog):
    return " | ".join(button["label"] for button in dialog.approval["buttons"])


def expect_exit(process, status):
    found = process.wait(10)
    if found != status:
        raise Failure(f"the application exited with {found}, not {status}")


def question_that_empties(stage, name, button, exit_status, deleted):
    """An application that asks by zenity and deletes a file when the answer is yes."""
    victim = stage.desktop.home / f"{name}.trash"
    victim.write_text("old drafts\n", encoding="utf-8")
    text = f"Are you sure you want to empty the trash ({name})?"
    application = ('zenity --question --title Trash --text "$1" --ok-label "Empty Trash" --cancel-label Cancel '
                   '&& rm -- "$2"')
    dialog = open_dialog(stage, name, ["sh", "-c", application, "trash", text, str(victim)], name)
    how, ms, _ = answer(stage, name, dialog, button, "accepted")
    expect_exit(dialog.process, exit_status)
    if victim.exists() == deleted:
        raise Failure("the file is not what the answer asked for")
    return Row(name, f"{dialog.approval['messageLines'][0]} [{labels(dialog)}]", button, how,
               f"exit {exit_status}, file {'deleted' if deleted else 'kept'}", dialog.show_to_phone_ms, ms)


def empty_trash(stage, name):
    return question_that_empties(stage, name, "Empty Trash", 0, True)


def keep_trash(stage, name):
    return question_that_empties(stage, name, "Cancel", 1, False)


def password(stage, name):
    dialog = open_dialog(stage, name, ["zenity", "--password", "--title", "Unlock"], "password")
    if not dialog.approval["requiresDirectAccess"]:
        raise Failure("it does not require direct access")
    _, _, error = answer(stage, name, dialog, "OK", "requires_direct_access")
    if error != "This prompt requires direct Mac access.":
        raise Failure(f"refused with {error!r}")
    if dialog.window not in stage.desktop.windows():
        raise Failure("it was closed by a refused approval")
    how, ms, _ = answer(stage, name, dialog, "Cancel", "accepted")
    expect_exit(dialog.process, 1)
    return Row(name, f"{dialog.approval['messageLines'][0]} [{labels(dialog)}]", "OK refused, then Cancel", how, "exit 1",
               dialog.show_to_phone_ms, ms)


def qt_message_box(stage, name):
    question = "Discard the changes to notes.txt?"
    dialog = open_dialog(stage, name, [str(stage.build / "demo/tallyfox-demo-message-box"), question, "Discard", "Cancel"],
                         "Discard the changes")
    how, ms, _ = answer(stage, name, dialog, "Discard", "accepted")
    expect_exit(dialog.process, 0)
    return Row(name, f"{dialog.approval['messageLines'][0]} [{labels(dialog)}]", "Discard", how, "exit 0",
               dialog.show_to_phone_ms, ms)


def ordinary_window(stage, name):
    """An editor that shows a prompt's words is still an editor: nothing may reach the phone."""
    text = stage.desktop.home / "letter.txt"
    text.write_text("Are you sure? Delete everything permanently?\n", encoding="utf-8")
    before, mark, phone_mark = stage.desktop.windows(), stage.desktop.mark(), stage.phone.mark()
    process = processes.start(["mousepad", "--disable-server", str(text)], stage.desktop.environment,
                              stage.desktop.logs / f"{name}.log")
    if not stage.desktop.wait_for_new_window(before, mark):
        raise Failure("its window never appeared")
    seen = stage.phone.wait_for(lambda approval: True, phone_mark, timeout=5)
    stage.desktop.screenshot(stage.output / f"{name}-before.png")
    if seen:
        raise Failure(f"it was reported as {seen[1]['windowTitle']!r}")
    if process.poll() is not None:
        raise Failure("the editor ended by itself")
    processes.end(process)
    return Row(name, "an editor showing the words of a prompt", "nothing to answer", "not reported for 5 s", "untouched",
               None, None)


def relay_restart(stage, name):
    """The relay dies while a dialog waits, and comes back: the phone gets the list again and the answer gets through."""
    dialog = open_dialog(stage, name, ["zenity", "--question", "--title", "Erase", "--text", "Erase the old backup?",
                                       "--ok-label", "Erase", "--cancel-label", "Not Now"], "Erase the old backup")
    stage.relay.kill()
    phone_mark, restarted = stage.phone.mark(), time.monotonic()
    stage.relay.start()
    again = stage.phone.wait_for(lambda approval: approval["id"] == dialog.approval["id"], phone_mark, timeout=30)
    if not again:
        raise Failure("the phone never saw it again")
    how, ms, _ = answer(stage, name, dialog, "Not Now", "accepted")
    expect_exit(dialog.process, 1)
    return Row(name, f"{dialog.approval['messageLines'][0]} [{labels(dialog)}]", "Not Now", how,
               f"exit 1, back {again[0] - restarted:.1f} s after the relay", dialog.show_to_phone_ms, ms)


CASES = [
    ("trash-emptied", empty_trash),
    ("trash-kept", keep_trash),
    ("password", password),
    ("qt-message-box", qt_message_box),
    ("ordinary-window", ordinary_window),
    ("relay-restarted", relay_restart),
    ("trash-emptied-again", empty_trash),
]


def run_case(stage, name, case):
    print(f"  {name} ...", flush=True)
    try:
        return case(stage, name)
    except Failure as failure:
        stage.desktop.screenshot(stage.output / f"{name}-wrong.png")
        return Row(name, str(failure), "", "", "", None, None, is_right=False)


def main(build, output):
    processes.adopt_orphans()
    shutil.rmtree(output, ignore_errors=True)
    logs = output / "logs"
    logs.mkdir(parents=True)
    with tempfile.TemporaryDirectory(prefix="tallyfox-demo-") as folder:
        try:
            print("Starting a private desktop, the relay, the agent and the phone ...", flush=True)
            desktop = Desktop(pathlib.Path(folder), logs)
            programs = install(build, desktop)
            relay = Relay(programs, desktop, pathlib.Path(folder) / "relay")
            agent = Agent(desktop, relay)
            phone = Phone(programs, desktop, agent.pairing_code(relay))
            phone.show_on_desktop()
            stage = Stage(desktop, relay, agent, phone, build, output)
            rows = [run_case(stage, name, case) for name, case in CASES]
        finally:
            forced = processes.end_all_descendants()
    right = write_report(rows, output)
    if forced:
        print(f"{forced} processes had to be forced to end.")
    return 0 if right else 1


if __name__ == "__main__":
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2]).resolve()))
