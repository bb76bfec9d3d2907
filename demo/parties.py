"""The installed agent, the relay and the phone of the demonstration."""

import json
import re
import shutil
import signal
import subprocess
import typing

import processes


class Relay:
    """The relay program; keeps its port and its data when it is killed and started again. `page` is the folder of the
    phone page, if it is to serve one."""

    def __init__(self, programs, desktop, data, page=None):
        self._command = [str(programs / "tallyfox-relay"), "--data", str(data),
                         *(["--page", str(page)] if page else []), "--listen"]
        self._desktop = desktop
        self.port = 0
        self.start()

    def start(self):
        self.process = processes.start(self._command + [f"127.0.0.1:{self.port}"], self._desktop.environment,
                                       self._desktop.logs / "relay.log")
        ready = self.process.lines.wait(lambda line: "listening on" in line)
        if not ready:
            raise RuntimeError("the relay did not start")
        self.port = int(re.search(r":(\d+)", ready[1]).group(1))

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()


class Agent:
    """The agent, installed below HOME as a user would have it; its secrets outlive a restart."""

    def __init__(self, desktop, relay, pairing_id="demo"):
        self.home = desktop.home
        self._program = str(desktop.home / ".local/bin/tallyfox")
        self._environment = dict(desktop.environment, TALLYFOX_RELAY_URL=f"ws://127.0.0.1:{relay.port}/agent",
                                 TALLYFOX_PAIRING_ID=pairing_id)
        self._log = desktop.logs / "agent.log"
        self._desktop = desktop
        self.start()

    def start(self):
        before, mark = self._desktop.windows(), self._desktop.mark()
        self.process = processes.start([self._program], self._environment, self._log)
        shown = self._desktop.wait_for_new_window(before, mark)
        if not shown:
            raise RuntimeError("the agent did not show its window")
        self._window = shown[1]
        if not self.process.lines.wait(lambda line: line == "Tallyfox relay connected."):
            raise RuntimeError("the agent did not connect to the relay")

    def close_window(self):
        """As its owner does; the agent goes on."""
        if not self._desktop.close(self._window):
            raise RuntimeError("the agent's window did not close")

    def stop(self):
        """Asks it to end as a logout does, and gives its exit status."""
        self.process.terminate()
        return self.process.wait(20)

    def command(self, *words):
        """Runs the program beside the running agent, as its owner does in a terminal: exit status and what it said."""
        outcome = subprocess.run([self._program, *words], env=self._environment, text=True, capture_output=True,
                                 timeout=30)
        return outcome.returncode, (outcome.stdout + outcome.stderr).strip()

    def pairing_code(self, relay):
        """What the pairing code on the screen carries, from where the agent keeps its secrets."""
        secrets = json.loads((self.home / ".local/share/tallyfox/keychain/com.tallyfox.agent/installation-secrets-v1")
                             .read_text(encoding="utf-8"))
        return json.dumps({"type": "tallyfox.pairing", "version": 1, "backendURL": f"http://127.0.0.1:{relay.port}",
                           "pairingID": secrets["pairingID"], "relaySecret": secrets["relayAuthToken"],
                           "e2eSecret": secrets["e2eSecret"]})

    def decision(self, decision_id):
        """How this decision was carried out, in the agent's own words; None when it says nothing of it."""
        opening = f"Decision {decision_id}: "
        line = self.process.lines.wait(lambda line: line.startswith(opening))
        return line[1].removeprefix(opening).removesuffix(".") if line else None


class Answer(typing.NamedTuple):
    """What the phone was told of its decision."""
    status: str
    error: str
    decision_id: str


class Phone:
    """The command-line phone, paired, with a watch running."""

    def __init__(self, programs, desktop, pairing_code):
        self._program = str(programs / "tallyfox-phone")
        self._environment = desktop.environment
        subprocess.run([self._program, "pair", "-", "--name", "Demo phone"], input=pairing_code, text=True,
                       env=self._environment, check=True, stdout=subprocess.DEVNULL)
        self._watch = processes.start([self._program, "--json", "watch"], self._environment, desktop.logs / "phone.log")
        self._desktop = desktop

    def show_on_desktop(self):
        """Opens a terminal beside the dialogs with what the owner of the phone reads, for the screenshots."""
        before, mark = self._desktop.windows(), self._desktop.mark()
        processes.start(["xterm", "-title", "Phone", "-geometry", "106x12+20+550", "-bg", "#10151c", "-fg", "#d8dee9",
                         "-fa", "DejaVu Sans Mono", "-fs", "10", "-bc", "-e", self._program, "watch"],
                        self._environment, self._desktop.logs / "phone-terminal.log")
        if not self._desktop.wait_for_new_window(before, mark, timeout=5):
            print("The phone's terminal did not open; the screenshots show the dialogs alone.", flush=True)

    def wait_for_list(self, accept, start=0, timeout=30.0):
        """The moment and the list when the phone first gets one that `accept` takes."""
        def listed(line):
            approvals = _approvals(line)
            return approvals is not None and accept(approvals)

        hit = self._watch.lines.wait(listed, start, timeout)
        return (hit[0], _approvals(hit[1])) if hit else None

    def wait_for(self, accept, start=0, timeout=30.0):
        """The moment and the approval when the phone's list first holds one that `accept` takes."""
        hit = self.wait_for_list(lambda approvals: any(map(accept, approvals)), start, timeout)
        return (hit[0], next(filter(accept, hit[1]))) if hit else None

    def mark(self):
        return self._watch.lines.count()

    def events(self, start):
        return [json.loads(line) for _, line in self._watch.lines.since(start)]

    def list(self):
        """The newest list that the phone has."""
        lists = [event["approvals"] for event in self.events(0) if "approvals" in event]
        return lists[-1] if lists else []

    def answer(self, approval, button):
        """Sends a decision and waits for its result."""
        events, error = self._run("answer", approval["id"], button)
        for event in events:
            if "status" in event:
                return Answer(event["status"], event.get("error", ""), event["decisionID"])
        return Answer("none", " ".join(event.get("message", "") for event in events) or error, "")

    def suppress(self, approval):
        """Mutes a dialog; the identifier that shows it again, None when that failed."""
        events, _ = self._run("suppress", approval["id"])
        return next((event["suppressionID"] for event in events if event.get("state") == "suppressed"), None)

    def unsuppress(self, suppression_id):
        events, _ = self._run("unsuppress", suppression_id)
        return any(event.get("state") == "unsuppressed" for event in events)

    def _run(self, *words):
        outcome = subprocess.run([self._program, "--json", *words], text=True, env=self._environment,
                                 capture_output=True, timeout=60)
        return [json.loads(line) for line in outcome.stdout.splitlines()], outcome.stderr.strip()


def _approvals(line):
    return json.loads(line).get("approvals")


def install(build, desktop):
    """Installs the build below the desktop's HOME and gives the folder of its programs."""
    subprocess.run(["cmake", "--install", str(build), "--prefix", str(desktop.home / ".local")], check=True,
                   stdout=subprocess.DEVNULL)
    programs = desktop.home / ".local/bin"
    for name in ("tallyfox", "tallyfox-relay", "tallyfox-phone"):
        if not shutil.which(name, path=str(programs)):
            raise RuntimeError(f"{name} was not installed")
    return programs
