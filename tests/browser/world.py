#!/usr/bin/env python3
"""What stands around the phone page in its tests: a relay that serves the page, and computers, each a private desktop
with an installed agent and real dialogs. Obeys JSON lines on standard input, one request a line, until that ends:

    {"do": "open", "computer": "desk", "command": ["zenity", "--question"]}

and answers each by one line, {"result": ...} or {"error": "a sentence"}. What a request does is written at its method.

usage: world.py BUILD-FOLDER PAGE-FOLDER OUTPUT-FOLDER"""

import json
import pathlib
import shutil
import signal
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "demo"))

import processes  # noqa: E402
from desktop import Desktop  # noqa: E402
from parties import Agent, Relay, install  # noqa: E402

import camera  # noqa: E402

PRESS = ["/usr/bin/python3", "-B", str(ROOT / "tests/desktop/programs/press_button.py"), "tallyfox"]


class Failure(Exception):
    """A request that could not be carried out, in a sentence."""


def require(condition, sentence):
    if not condition:
        raise Failure(sentence)
    return condition


class Computer:
    """A private desktop with an agent, and the dialogs that were opened on it."""

    def __init__(self, build, folder, logs):
        folder.mkdir()
        logs.mkdir()
        self.desktop = Desktop(folder, logs)
        self.programs = install(build, self.desktop)
        self._pairings = 0
        self._dialogs = []
        self.agent = None

    def begin_anew(self, relay):
        """An agent that was never paired, and no dialogs."""
        self.end_dialogs()
        if self.agent:
            self.stop_agent()
            shutil.rmtree(self.desktop.home / ".local/share/tallyfox")
            shutil.rmtree(self.desktop.home / ".config/tallyfox", ignore_errors=True)
        self._pairings += 1
        self.agent = Agent(self.desktop, relay, f"{self.desktop.home.parent.name}-{self._pairings}")

    def stop_agent(self):
        if self.agent.process.poll() is None:
            self.agent.process.send_signal(signal.SIGCONT)
            status = self.agent.stop()
            require(status == 0, f"the agent ended with {status}")

    def open(self, command):
        before, mark = self.desktop.windows(), self.desktop.mark()
        process = processes.start(command, self.desktop.environment, self.desktop.logs / "dialogs.log")
        shown = self.desktop.wait_for_new_window(before, mark)
        require(shown, f"{command[0]} opened no window")
        self._dialogs.append((process, shown[1], self.desktop.mark()))
        return len(self._dialogs) - 1

    def ended(self, number):
        process, window, mark = self._dialogs[number]
        try:
            status = process.wait(20)
        except subprocess.TimeoutExpired:
            raise Failure("the application did not end") from None
        if window in self.desktop.windows():
            require(self.desktop.wait_until_one_gone({window}, mark), "the application ended, its window did not")
        return status

    def close(self, number):
        processes.end(self._dialogs[number][0])

    def is_open(self, number):
        process, window, _ = self._dialogs[number]
        return process.poll() is None and window in self.desktop.windows()

    def end_dialogs(self):
        for process, *_ in self._dialogs:
            processes.end(process)
        self._dialogs = []


class World:
    """Its public methods are the requests."""

    def __init__(self, build, page, output, folder):
        self._build, self._output, self._folder = build, output, folder
        self._page = page
        self._computers = {}
        self._relay = None

    def _computer(self, name):
        return require(self._computers.get(name), f"there is no computer {name}")

    def begin(self, computer):
        """A computer whose agent was never paired, on a desktop that stays for the next time; the relay's address."""
        if computer not in self._computers:
            made = Computer(self._build, self._folder / computer, self._output / f"logs-{computer}")
            self._computers[computer] = made
            if not self._relay:
                self._relay = Relay(made.programs, made.desktop, self._folder / "relay", page=self._page)
        self.start_relay()
        self._computers[computer].begin_anew(self._relay)
        return f"http://127.0.0.1:{self._relay.port}"

    def stop_relay(self):
        """As by losing its power."""
        self._relay.kill()

    def start_relay(self):
        """At its old port and with its old data; one that runs goes on."""
        if self._relay.process.poll() is not None:
            self._relay.start()

    def stop_agent(self, computer):
        """As a logout does."""
        self._computer(computer).stop_agent()

    def start_agent(self, computer):
        """With what it had stored."""
        self._computer(computer).agent.start()

    def kill_agent(self, computer):
        """As a crash does."""
        agent = self._computer(computer).agent.process
        agent.kill()
        agent.wait()

    def freeze_agent(self, computer):
        """It stays connected and does nothing; what reaches it waits."""
        self._computer(computer).agent.process.send_signal(signal.SIGSTOP)

    def thaw_agent(self, computer):
        self._computer(computer).agent.process.send_signal(signal.SIGCONT)

    def code(self, computer):
        """Waits for the pairing code on the screen and gives its content."""
        return require(self._computer(computer).desktop.wait_for_code(), "no code came up on the screen")

    def code_on_screen(self, computer):
        """The content of the code on the screen now, or null."""
        return self._computer(computer).desktop.code_on_screen()

    def photograph(self, computer, picture):
        """A picture of the whole screen."""
        self._computer(computer).desktop.screenshot(picture)

    def film(self, computer, video):
        """What a camera sees that is brought before the screen."""
        with tempfile.NamedTemporaryFile(suffix=".png") as picture:
            self._computer(computer).desktop.screenshot(picture.name)
            camera.film(picture.name, video)

    def film_picture(self, picture, video):
        """What a camera sees that is brought before another picture, such as a poster with a code."""
        camera.film(picture, video)

    def press(self, computer, label):
        """A button of the agent's window."""
        pressed = subprocess.run([*PRESS, label], env=self._computer(computer).desktop.environment, timeout=60)
        require(pressed.returncode == 0, f"the agent's window has no button {label!r}")

    def status(self, computer):
        """What the agent says of itself."""
        status, text = self._computer(computer).agent.command("status", "--json")
        require(status == 0, f"the agent has no status: {text}")
        return json.loads(text)

    def open(self, computer, command):
        """Starts an application, waits for its window and gives the application's number."""
        return self._computer(computer).open(command)

    def close(self, computer, number):
        """Ends an application as its owner would, whatever it asks."""
        self._computer(computer).close(number)

    def ended(self, computer, number):
        """Waits until the application has ended and its window has gone; gives the exit status."""
        return self._computer(computer).ended(number)

    def is_open(self, computer, number):
        """Whether the application runs and its first window is there."""
        return self._computer(computer).is_open(number)

    def file(self, computer, name, text):
        """Writes a file and gives its path."""
        path = self._computer(computer).desktop.home / name
        path.write_text(text, encoding="utf-8")
        return str(path)


def obey(world, line):
    try:
        request = json.loads(line)
        action = request.pop("do")
        if action.startswith("_"):
            raise Failure(f"there is no request {action}")
        return {"result": getattr(world, action)(**request)}
    except Exception as problem:
        return {"error": str(problem) if isinstance(problem, Failure) else f"{type(problem).__name__}: {problem}"}


def main(build, page, output):
    processes.adopt_orphans()
    shutil.rmtree(output, ignore_errors=True)
    output.mkdir(parents=True)
    # Whoever sends requests ends this by ending them; a signal to the whole group would leave the desktops behind.
    for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
        signal.signal(number, signal.SIG_IGN)
    with tempfile.TemporaryDirectory(prefix="tallyfox-browser-", ignore_cleanup_errors=True) as folder:
        try:
            world = World(build, page, output, pathlib.Path(folder))
            for line in sys.stdin:
                print(json.dumps(obey(world, line)), flush=True)
        finally:
            processes.end_all_descendants()


if __name__ == "__main__":
    if len(sys.argv) != 4:
        sys.exit(__doc__)
    main(*(pathlib.Path(word).resolve() for word in sys.argv[1:]))
