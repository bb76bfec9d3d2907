#!/usr/bin/env python3
"""The main job on real input: real dialogs of real applications, found, sealed, sent through a real relay, answered
by a phone program, pressed, verified and reported back. One table row a case; exits non-zero when a row is wrong."""

import argparse
import pathlib
import shutil
import signal
import sys
import tempfile

import cases
import disturbances
import processes
import staying
from desktop import Desktop
from parties import Agent, Phone, Relay, install
from report import Row, write_report
from stage import Failure, Stage

CASES = [
    ("trash-emptied", cases.empty_trash),
    ("trash-kept", cases.keep_trash),
    ("password", cases.password),
    ("qt-message-box", cases.qt_message_box),
    ("ordinary-window", cases.ordinary_window),
    ("editor-discarded", cases.discard_text),
    ("editor-saved", cases.save_text),
    ("file-deleted", cases.delete_file),
    ("file-kept", cases.keep_file),
    ("moved", disturbances.moved),
    ("covered", disturbances.covered),
    ("suppressed", disturbances.suppressed),
    ("paused", disturbances.paused),
    ("alike-apart", disturbances.alike_apart),
    ("alike-stacked", disturbances.alike_stacked),
    ("relay-restarted", disturbances.relay_restart),
    ("agent-restarted", disturbances.agent_restart),
    ("trash-emptied-again", cases.empty_trash),
    ("nothing-left", disturbances.nothing_left),
]
_INTERRUPTED = 130


def run_case(stage, name, case):
    """Whatever goes wrong in a case makes its row wrong and leaves the others their turn."""
    print(f"  {name} ...", flush=True)
    try:
        return case(stage, name)
    except Exception as problem:
        stage.desktop.screenshot(stage.output / f"{name}-wrong.png")
        sentence = str(problem) if isinstance(problem, Failure) else f"{type(problem).__name__}: {problem}"
        return Row(name, sentence, is_right=False)
    finally:
        stage.end_programs()


def set_up(folder, build, output):
    print("Starting a private desktop, the relay, the agent and the phone ...", flush=True)
    desktop = Desktop(folder, output / "logs")
    programs = install(build, desktop)
    relay = Relay(programs, desktop, folder / "relay")
    agent = Agent(desktop, relay)
    code = desktop.wait_for_code()
    if not code:
        raise RuntimeError("no pairing code came up on the screen")
    desktop.screenshot(output / "pairing.png")
    phone = Phone(programs, desktop, code)
    agent.close_window()
    phone.show_on_desktop()
    return Stage(desktop, relay, agent, phone, build, output, desktop.windows())


class Interrupted(BaseException):
    """Somebody wants the program to end; no case may take that for its own failure."""


def _interrupt(*_):
    raise Interrupted


def _on_interruption(action):
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, action)


def show(stage):
    rows = [run_case(stage, name, case) for name, case in CASES]
    return 0 if write_report(rows, stage.output) else 1


def main(options):
    processes.adopt_orphans()
    shutil.rmtree(options.output, ignore_errors=True)
    (options.output / "logs").mkdir(parents=True)
    _on_interruption(_interrupt)
    with tempfile.TemporaryDirectory(prefix="tallyfox-demo-", ignore_cleanup_errors=True) as folder:
        try:
            stage = set_up(pathlib.Path(folder), options.build, options.output)
            status = staying.stay(stage) if options.stay else show(stage)
        except Interrupted:
            status = 0 if options.stay else _INTERRUPTED
        finally:
            _on_interruption(signal.SIG_IGN)
            forced = processes.end_all_descendants()
    if forced:
        print(f"{forced} processes had to be forced to end.")
    return status


def parsed(words):
    parser = argparse.ArgumentParser(prog="main_job.py", description=__doc__)
    parser.add_argument("--stay", action="store_true",
                        help="instead of the cases: leave everything up for a person to try, until interrupted")
    parser.add_argument("build", type=lambda text: pathlib.Path(text).resolve(), help="the folder of the build")
    parser.add_argument("output", type=lambda text: pathlib.Path(text).resolve(), help="for screenshots and logs")
    return parser.parse_args(words)


if __name__ == "__main__":
    sys.exit(main(parsed(sys.argv[1:])))
