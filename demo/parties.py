"""The installed agent, the relay and the phone of the demonstration."""

import json
import re
import shutil
import signal
import subprocess

import processes


class Relay:
    """The relay program; keeps its port and its data when it is killed and started again."""

    def __init__(self, programs, desktop, data):
        self._command = [str(programs / "tallyfox-relay"), "--data", str(data), "--listen"]
        self._desktop = desktop
        self.port = 0
        self.start()

    def start(self):
        self._process = processes.start(self._command + [f"127.0.0.1:{self.port}"], self._desktop.environment,
                                        self._desktop.logs / "relay.log")
        ready = self._process.lines.wait(lambda line: "listening on" in line)
        if not ready:
            raise RuntimeError("the relay did not start")
        self.port = int(re.search(r":(\d+)", ready[1]).group(1))

    def kill(self):
        self._process.send_signal(signal.SIGKILL)
        self._process.wait()


class Agent:
    """The agent, installed below HOME as a user would have it."""

    def __init__(self, desktop, relay):
        self.home = desktop.home
        environment = dict(desktop.environment, TALLYFOX_RELAY_URL=f"ws://127.0.0.1:{relay.port}/agent",
                           TALLYFOX_PAIRING_ID="demo")
        self.process = processes.start([str(desktop.home / ".local/bin/tallyfox")], environment,
                                       desktop.logs / "agent.log")
        if not self.process.lines.wait(lambda line: line == "Tallyfox relay connected."):
            raise RuntimeError("the agent did not connect to the relay")

    def pairing_code(self, relay):
        """What the pairing code on the screen will carry, from where the agent keeps its secrets."""
        secrets = json.loads((self.home / ".local/share/tallyfox/keychain/com.tallyfox.agent/installation-secrets-v1")
                             .read_text(encoding="utf-8"))
        return json.dumps({"type": "tallyfox.pairing", "version": 1, "backendURL": f"http://127.0.0.1:{relay.port}",
                           "pairingID": secrets["pairingID"], "relaySecret": secrets["relayAuthToken"],
                           "e2eSecret": secrets["e2eSecret"]})

    def decision(self, start):
        """How the last decision since line `start` was carried out, in the agent's own words."""
        for _, line in reversed(self.process.lines.since(start)):
            match = re.match(r"Decision \S+: (.*)\.$", line)
            if match:
                return match.group(1)
        return "no decision"


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

    def wait_for(self, accept, start=0, timeout=20.0):
        """The moment and the approval when the phone's list first holds one that `accept` takes."""
        found = []

        def matches(line):
            for approval in json.loads(line).get("approvals", []):
                if accept(approval):
                    found.append(approval)
                    return True
            return False

        hit = self._watch.lines.wait(matches, start, timeout)
        return (hit[0], found[0]) if hit else None

    def mark(self):
        return self._watch.lines.count()

    def events(self, start):
        return [json.loads(line) for _, line in self._watch.lines.since(start)]

    def answer(self, approval, button):
        """The result of a decision: its status and its error text."""
        outcome = subprocess.run([self._program, "--json", "answer", approval["id"], button], text=True,
                                 env=self._environment, capture_output=True, timeout=60)
        for line in outcome.stdout.splitlines():
            event = json.loads(line)
            if "status" in event:
                return event["status"], event.get("error", "")
        return "none", outcome.stderr.strip()


def install(build, desktop):
    """Installs the build below the desktop's HOME and gives the folder of its programs."""
    subprocess.run(["cmake", "--install", str(build), "--prefix", str(desktop.home / ".local")], check=True,
                   stdout=subprocess.DEVNULL)
    programs = desktop.home / ".local/bin"
    for name in ("tallyfox", "tallyfox-relay", "tallyfox-phone"):
        if not shutil.which(name, path=str(programs)):
            raise RuntimeError(f"{name} was not installed")
    return programs
