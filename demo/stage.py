"""What the cases share: the parties, how a dialog is opened and answered, and how the outcome is held against the
screen. Everything that is not as it should be ends the case by a Failure."""

import dataclasses
import pathlib
import subprocess
import time

import processes
from desktop import Desktop, Frame
from parties import Agent, Phone, Relay


_MOST_TRIES = 5


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
    resident_windows: set
    programs: list = dataclasses.field(default_factory=list)

    def end_programs(self):
        """Ends what a case has started and left running. The display reuses the numbers of windows: the next case may
        begin only when the list of windows has forgotten these."""
        mark = self.desktop.mark()
        while self.programs:
            processes.end(self.programs.pop())
        if self.desktop.windows() != self.resident_windows:
            self.desktop.wait_for_windows(self.resident_windows, mark)


@dataclasses.dataclass
class Dialog:
    """A dialog that was opened and has reached the phone."""
    process: subprocess.Popen
    window: str
    approval: dict
    show_to_phone_ms: float

    def seen(self):
        """What the phone showed of it."""
        lines = self.approval["messageLines"]
        return f"{lines[0] if lines else self.approval['windowTitle']} [{' | '.join(labels(self.approval))}]"


@dataclasses.dataclass
class Outcome:
    """An answer that was carried out: how, in the agent's own words, the time until the window had gone, and which."""
    pressed: str
    answer_to_gone_ms: float
    window: str


def require(condition, sentence):
    if not condition:
        raise Failure(sentence)


def labels(approval):
    return [button["label"] for button in approval["buttons"]]


def says(text):
    """Accepts the approvals with a line that holds the text."""
    return lambda approval: any(text in line for line in approval["messageLines"])


def frame_of(approval):
    """Where the agent saw the dialog; some toolkits count the title bar in."""
    frame = approval["windowFrame"]
    return Frame(frame["x"], frame["y"], frame["width"], frame["height"])


def start_program(stage, name, command, **environment):
    """Starts an application and waits for its window: the process, the window, and the moment of its appearance."""
    before, mark = stage.desktop.windows(), stage.desktop.mark()
    process = processes.start(command, dict(stage.desktop.environment, **environment),
                              stage.desktop.logs / f"{name}.log")
    stage.programs.append(process)
    window = stage.desktop.wait_for_new_window(before, mark)
    require(window, "its window never appeared")
    return process, window[1], window[0]


def open_dialog(stage, name, command, text):
    """Starts an application whose first window is a dialog and waits until the phone shows it."""
    phone_mark = stage.phone.mark()
    process, window, shown = start_program(stage, name, command)
    return _arrived(stage, name, process, window, shown, phone_mark, text)


def provoke_dialog(stage, name, process, provoke, text):
    """Does what makes a running application ask, and waits until the phone shows the question."""
    before, mark, phone_mark = stage.desktop.windows(), stage.desktop.mark(), stage.phone.mark()
    provoke()
    window = stage.desktop.wait_for_new_window(before, mark)
    require(window, "the program never asked")
    return _arrived(stage, name, process, window[1], window[0], phone_mark, text)


def _arrived(stage, name, process, window, shown, phone_mark, text):
    seen = stage.phone.wait_for(says(text), phone_mark)
    require(seen, "the phone never saw it")
    stage.desktop.screenshot(stage.output / f"{name}-before.png")
    return Dialog(process, window, seen[1], (seen[0] - shown) * 1000)


def answer(stage, name, dialog, button, approval=None):
    """Lets the phone press a button of a dialog that is one of its kind."""
    return answer_one_of(stage, name, {dialog.window: dialog.process}, button, approval or dialog.approval)


def answer_one_of(stage, name, programs, button, approval):
    """Lets the phone press a button; the result, the agent's log and the window list must all tell the same. `programs`
    has the windows that look like the approval, with their processes: one of them has to go."""
    mark, began = stage.desktop.mark(), time.monotonic()
    result, asked = _ask(stage, programs, button, approval)
    require(result.status == "accepted", f"answering {button!r} gave {result.status!r} {result.error}")
    gone = stage.desktop.wait_until_one_gone(set(programs), mark)
    require(gone and gone[1] not in stage.desktop.windows(), "reported as accepted, but its window is still there")
    stage.desktop.screenshot(stage.output / f"{name}-after.png")
    decision = stage.agent.decision(result.decision_id)
    require(decision and decision.startswith("accepted by "), f"the agent's log says {decision!r} of it")
    return Outcome(decision + (f", asked {asked} times" if asked > 1 else ""), (gone[0] - began) * 1000, gone[1])


def _ask(stage, programs, button, approval):
    """An application that is too busy to answer the agent in time cannot be pressed. The agent says so, and the owner,
    who still sees the dialog, asks again. The last result, and how often it took."""
    for asked in range(1, _MOST_TRIES + 1):
        result = stage.phone.answer(approval, button)
        if result.status not in ("not_found", "failed"):
            break
        for window, process in programs.items():
            expect_open(stage, process, window)
    return result, asked


def expect_exit(process, status):
    try:
        found = process.wait(20)
    except subprocess.TimeoutExpired:
        raise Failure("the application did not end") from None
    require(found == status, f"the application exited with {found}, not {status}")
    return f"exit {status}"


def expect_open(stage, process, *windows):
    """An application that nobody answered still runs, and its windows are still there."""
    require(process.poll() is None, "the application ended by itself")
    require(stage.desktop.windows().issuperset(windows), "its window was closed although nobody answered")
