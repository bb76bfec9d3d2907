#!/usr/bin/env python3
"""Every fault that an owner can meet gives one clear line, crashes nothing, and the agent goes on or says why it cannot.
Runs the real programs on a private desktop.

usage: fault_lines.py BUILD-FOLDER"""

import http.server
import pathlib
import socket
import struct
import subprocess
import sys
import tempfile
import threading
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "demo"))

import processes  # noqa: E402
from desktop import Desktop  # noqa: E402
from parties import Agent, Phone, Relay, install  # noqa: E402

BUILD = None
SECRETS = ".local/share/tallyfox/keychain/com.tallyfox.agent/installation-secrets-v1"


class RefusingServer(http.server.ThreadingHTTPServer):
    """Answers every registration with HTTP 500."""

    class Handler(http.server.BaseHTTPRequestHandler):
        def do_PUT(self):
            self.send_response(500)
            self.send_header("content-length", "0")
            self.end_headers()

        def log_message(self, *_):
            pass

    def __init__(self):
        super().__init__(("127.0.0.1", 0), self.Handler)
        threading.Thread(target=self.serve_forever, daemon=True).start()


class Keyring:
    """The keyring of the desktop, with its files in a folder of its own; made by the first start that unlocks it."""

    PASSWORD = "correct horse"

    def __init__(self, desktop, folder):
        for path in (folder, folder / "data", folder / "control"):
            path.mkdir(mode=0o700)
        self._desktop = desktop
        self._control = folder / "control"
        self._environment = dict(desktop.environment, XDG_DATA_HOME=str(folder / "data"))

    def start(self, *options):
        self._process = subprocess.Popen(
            ["gnome-keyring-daemon", "--foreground", "--components=secrets", f"--control-directory={self._control}",
             *options], env=self._environment, stdin=subprocess.PIPE, stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL)
        self._process.stdin.write(self.PASSWORD.encode())
        self._process.stdin.close()
        deadline = time.monotonic() + 10
        while b"true" not in subprocess.run(
                ["dbus-send", "--session", "--print-reply", "--dest=org.freedesktop.DBus", "/org/freedesktop/DBus",
                 "org.freedesktop.DBus.NameHasOwner", "string:org.freedesktop.secrets"],
                env=self._environment, check=True, capture_output=True).stdout:
            if time.monotonic() > deadline:
                raise RuntimeError("the keyring did not start")
            time.sleep(0.02)

    def unlock(self):
        """As the owner's login does it: through the control socket, without a dialog."""
        with socket.socket(socket.AF_UNIX) as control:
            control.connect(str(self._control / "control"))
            password = self.PASSWORD.encode()
            unlock = 1
            control.sendall(b"\0" + struct.pack(">III", 12 + len(password), unlock, len(password)) + password)
            if control.recv(8) != struct.pack(">II", 8, 0):
                raise RuntimeError("the keyring did not unlock")

    def end(self):
        processes.end(self._process)


class FaultLines(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="tallyfox-faults-")
        root = pathlib.Path(cls.folder.name)
        (root / "logs").mkdir()
        cls.root = root
        cls.desktop = Desktop(root, root / "logs")
        cls.programs = install(BUILD, cls.desktop)

    @classmethod
    def tearDownClass(cls):
        processes.end_all_descendants()
        cls.folder.cleanup()

    def start_agent(self, relay_url, **changes):
        environment = dict(self.desktop.environment, TALLYFOX_RELAY_URL=relay_url, TALLYFOX_PAIRING_ID="faults")
        home = self.root / f"home-{self._testMethodName}"
        for name, value in changes.items():
            environment.pop(name) if value is None else environment.update({name: value})
        environment["XDG_DATA_HOME"] = str(home / ".local/share")
        environment["XDG_CONFIG_HOME"] = str(home / ".config")
        agent = processes.start([str(self.programs / "tallyfox")], environment, self.desktop.logs / "agent.log")
        self.addCleanup(processes.end, agent)
        return agent

    def assert_says(self, process, text, count=1, timeout=15):
        seen = 0
        while seen < count:
            lines = process.lines
            hit = lines.wait(lambda line: text in line, self._from.get(process, 0), timeout)
            self.assertIsNotNone(hit, f"never said {text!r}: {lines.since(0)}")
            self._from[process] = [line for line in lines.since(0)].index(hit) + 1
            seen += 1
        return hit[1]

    def setUp(self):
        self._from = {}

    def assert_goes_on(self, agent):
        time.sleep(0.5)
        self.assertIsNone(agent.poll(), "the agent ended")

    def test_an_address_that_is_none(self):
        agent = self.start_agent("ws://[half")
        self.assertEqual("Invalid relay URL: ws://[half", self.assert_says(agent, "Invalid relay URL"))
        self.assert_goes_on(agent)

    def test_an_address_without_encryption(self):
        agent = self.start_agent("ws://relay.example/agent")
        self.assertEqual("Refusing insecure relay URL: ws://relay.example/agent",
                         self.assert_says(agent, "Refusing insecure"))
        self.assert_goes_on(agent)

    def test_no_display(self):
        agent = self.start_agent("ws://127.0.0.1:9/agent", DISPLAY=None)
        self.assertEqual(1, agent.wait(10))
        log = (self.desktop.logs / "agent.log").read_text(encoding="utf-8")
        self.assertIn("Tallyfox cannot open the display", log)

    def test_no_accessibility_bus(self):
        configuration = self.root / "no-services.conf"
        socket = self.root / "bare-bus"
        configuration.write_text(
            '<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN" '
            '"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">'
            f"<busconfig><type>session</type><listen>unix:path={socket}</listen><auth>EXTERNAL</auth>"
            '<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>'
            '<allow own="*"/></policy></busconfig>', encoding="utf-8")
        bus = processes.start(["dbus-daemon", f"--config-file={configuration}", "--nofork"], self.desktop.environment,
                              self.desktop.logs / "bare-bus.log")
        self.addCleanup(processes.end, bus)
        deadline = time.monotonic() + 10
        while not socket.exists() and time.monotonic() < deadline:
            time.sleep(0.02)
        agent = self.start_agent("ws://127.0.0.1:9/agent", DBUS_SESSION_BUS_ADDRESS=f"unix:path={socket}")
        self.assert_says(agent, "Accessibility is unavailable: ")
        self.assert_goes_on(agent)

    def test_an_unreadable_secret_file(self):
        (self.root / f"home-{self._testMethodName}" / SECRETS).mkdir(parents=True)
        agent = self.start_agent("ws://127.0.0.1:9/agent")
        self.assertEqual("Unable to load pairing credentials: Keychain is unavailable (-25291). Unlock the login "
                         "keychain and reopen Tallyfox.", self.assert_says(agent, "Unable to load"))
        self.assert_goes_on(agent)

    def test_a_locked_keyring(self):
        keyring = Keyring(self.desktop, self.root / "keyring")
        self.addCleanup(keyring.end)
        keyring.start("--unlock")
        keyring.end()
        keyring.start()
        agent = self.start_agent("ws://127.0.0.1:9/agent")
        self.assertEqual("Unable to load pairing credentials: Keychain is unavailable (-25308). Unlock the login "
                         "keychain and reopen Tallyfox.", self.assert_says(agent, "Unable to load", count=2))
        self.assert_goes_on(agent)
        keyring.unlock()
        self.assert_says(agent, "Unable to register relay token: ")
        self.assertFalse((self.root / f"home-{self._testMethodName}" / SECRETS).exists(), "there is a copy in a file")

    def test_a_broken_secret_file(self):
        path = self.root / f"home-{self._testMethodName}" / SECRETS
        path.parent.mkdir(parents=True, mode=0o700)
        path.write_text('{"pairingID":', encoding="utf-8")
        path.chmod(0o600)
        agent = self.start_agent("ws://127.0.0.1:9/agent")
        self.assertEqual("Unable to load pairing credentials: Stored pairing credentials could not be read.",
                         self.assert_says(agent, "Unable to load"))
        self.assert_goes_on(agent)
        self.assertEqual('{"pairingID":', path.read_text(encoding="utf-8"), "it was overwritten")

    def test_a_relay_that_answers_500(self):
        with RefusingServer() as server:
            agent = self.start_agent(f"ws://127.0.0.1:{server.server_port}/agent")
            line = self.assert_says(agent, "Unable to register relay token", count=2)
            self.assertEqual("Unable to register relay token: The relay rejected token registration with HTTP 500.", line)
            self.assert_goes_on(agent)
            server.shutdown()

    def test_no_relay_at_all(self):
        agent = self.start_agent("ws://127.0.0.1:9/agent")
        self.assert_says(agent, "Unable to register relay token: ", count=2)
        self.assert_goes_on(agent)

    def test_a_dialog_killed_before_its_answer(self):
        relay = Relay(self.programs, self.desktop, self.root / "relay")
        agent = Agent(self.desktop, relay)
        self.addCleanup(processes.end, agent.process)
        phone = Phone(self.programs, self.desktop, agent.pairing_code(relay))
        dialog = processes.start(["zenity", "--question", "--text", "Delete the report?"], self.desktop.environment,
                                 self.desktop.logs / "dialog.log")
        seen = phone.wait_for(lambda approval: approval["messageLines"] == ["Delete the report?"])
        self.assertIsNotNone(seen)
        dialog.kill()
        dialog.wait()
        result = phone.answer(seen[1], "Yes")
        self.assertEqual("not_found", result.status)
        self.assertIn(result.error, ["The approved button no longer exists on screen.",
                                     "The approval request is no longer pending."])
        self.assert_goes_on(agent.process)

    def test_a_second_agent_ends_by_itself(self):
        first = self.start_agent("ws://127.0.0.1:9/agent")
        self.assert_says(first, "Unable to register relay token: ")
        first.send_signal(19)  # SIGSTOP: it cannot honour the request to end, so it keeps the lock
        second = self.start_agent("ws://127.0.0.1:9/agent")
        self.assertEqual(0, second.wait(10))
        first.send_signal(18)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    BUILD = pathlib.Path(sys.argv.pop()).resolve()
    processes.adopt_orphans()
    unittest.main(verbosity=2, warnings="ignore")
