#!/usr/bin/env python3
"""The commands of the installed program reach the agent that runs, from any terminal of its user, and say clearly when
there is none. Runs the real programs on a private desktop.

usage: command_line.py BUILD-FOLDER"""

import json
import os
import pathlib
import stat
import subprocess
import sys
import tempfile
import time
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "demo"))

import processes  # noqa: E402
from desktop import Desktop  # noqa: E402
from parties import Agent, Phone, Relay, install  # noqa: E402

BUILD = None
COMMANDS = (["status"], ["status", "--json"], ["pause"], ["resume"], ["quit"])


class CommandLine(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="tallyfox-commands-")
        cls.root = pathlib.Path(cls.folder.name)
        (cls.root / "logs").mkdir()
        cls.desktop = Desktop(cls.root, cls.root / "logs")
        cls.programs = install(BUILD, cls.desktop)
        cls.run_folder = pathlib.Path(cls.desktop.environment["XDG_RUNTIME_DIR"])
        cls.socket = cls.run_folder / "tallyfox/control.socket"

    @classmethod
    def tearDownClass(cls):
        processes.end_all_descendants()
        cls.folder.cleanup()

    def start_agent(self, **changes):
        """An agent whose relay never answers."""
        environment = self.changed(dict(self.desktop.environment, TALLYFOX_RELAY_URL="ws://127.0.0.1:9/agent",
                                        TALLYFOX_PAIRING_ID="commands"), changes)
        agent = processes.start([str(self.programs / "tallyfox")], environment, self.desktop.logs / "agent.log")
        self.addCleanup(processes.end, agent)
        return agent

    @staticmethod
    def changed(environment, changes):
        for name, value in changes.items():
            environment.pop(name, None) if value is None else environment.update({name: value})
        return environment

    def tallyfox(self, *arguments, **changes):
        """Runs one command, as a terminal without a display would; gives its exit status and both its outputs."""
        environment = self.changed(dict(self.desktop.environment, DISPLAY=""), changes)
        done = subprocess.run([str(self.programs / "tallyfox"), *arguments], env=environment, text=True,
                              capture_output=True, stdin=subprocess.DEVNULL, timeout=60)
        return done.returncode, done.stdout, done.stderr

    def done(self, *arguments, **changes):
        status, output, errors = self.tallyfox(*arguments, **changes)
        self.assertEqual((0, ""), (status, errors), output)
        return output

    def wait_for_agent(self, **changes):
        self.wait_until(lambda: self.tallyfox("status", **changes)[0] == 0, "no agent took commands")

    def wait_until(self, condition, otherwise, timeout=20):
        deadline = time.monotonic() + timeout
        while not condition():
            self.assertLess(time.monotonic(), deadline, otherwise)
            time.sleep(0.02)

    def test_no_agent(self):
        for command in COMMANDS:
            self.assertEqual((1, "", "tallyfox: No agent is running.\n"), self.tallyfox(*command), command)

    def test_wrong_usage(self):
        for arguments in (["stop"], ["--json"], ["pause", "3h"], ["quit", "now"], ["status", "--json", "x"],
                          ["doctor", "all"], ["doctor", "--json", "x"]):
            status, output, errors = self.tallyfox(*arguments)
            self.assertEqual((2, ""), (status, output), arguments)
            self.assertRegex(errors, r"\Atallyfox: [^\n]+ See tallyfox --help\.\n\Z")

    def test_help_and_version(self):
        self.assertIn("Usage: tallyfox [COMMAND]\n", self.done("--help"))
        self.assertRegex(self.done("--version"), r"\Atallyfox \d+\.\d+\.\d+\n\Z")

    def test_pause_resume_and_quit(self):
        relay = Relay(self.programs, self.desktop, self.root / "relay")
        agent = Agent(self.desktop, relay)
        self.addCleanup(processes.end, agent.process)
        code = agent.pairing_code(relay)
        phone = Phone(self.programs, self.desktop, code)
        dialog = processes.start(["zenity", "--question", "--text", "Delete the report?"], self.desktop.environment,
                                 self.desktop.logs / "dialog.log")
        self.addCleanup(processes.end, dialog)
        self.assertTrue(phone.wait_for(lambda approval: approval["messageLines"] == ["Delete the report?"]))

        text = self.done("status")
        self.assertIn("\niPhone Pairing  iPhone paired. ", text)
        self.assertIn("\nAlerts          Active. Pause while handling prompts locally.\nOpen Dialogs    1\n", text)
        state = json.loads(self.done("status", "--json"))
        self.assertEqual((True, True, 1, {"paused": False}), (state["relayConnected"], state["hasPairingCode"],
                                                             state["pendingApprovalCount"], state["alerts"]))
        told = text + json.dumps(state)
        for name, secret in json.loads(code).items():
            if name in ("pairingID", "relaySecret", "e2eSecret"):
                self.assertNotIn(secret, told, name)

        mark = phone.mark()
        self.assertRegex(self.done("pause"), r"\AAlerts: Paused until (tomorrow at )?\d+:\d\d [AP]M\.\n\Z")
        self.wait_until(lambda: any(event.get("approvals") == [] for event in phone.events(mark)),
                        "the phone still shows the dialog")
        self.assertRegex(self.done("status"), r"\nAlerts +Paused until .*\. Alerts will resume automatically\.\n")
        self.assertEqual("Alerts: Paused until tomorrow at 9:00 AM.\n", self.done("pause", "tomorrow"))
        self.assertEqual("Alerts: Paused.\n", self.done("pause", "forever"))
        self.assertEqual({"paused": True}, json.loads(self.done("status", "--json"))["alerts"])

        mark = phone.mark()
        self.assertEqual("Alerts: Active.\n", self.done("resume"))
        self.assertTrue(phone.wait_for(lambda approval: approval["messageLines"] == ["Delete the report?"], mark))

        self.assertEqual("Tallyfox quits.\n", self.done("quit"))
        self.assertFalse(self.socket.exists())
        self.assertEqual(0, agent.process.wait(0.5), "quit returns when the agent has ended")
        self.assertIsNone(dialog.poll(), "the dialog is nobody's business but its own")

    CHECKS = ["Accessibility", "Accessibility bus", "Display", "Synthetic input", "Relay address", "Relay host",
              "Registration", "Clock", "Keyring", "Notifications", "Tray", "Login item", "Install location",
              "Running agent"]

    def files(self):
        """Every file and folder of the user, with what would change were it touched."""
        return {str(path): (path.lstat().st_mode, path.lstat().st_mtime_ns) for path in self.desktop.home.rglob("*")}

    def doctor(self, expected, **changes):
        """What the doctor finds, by the name of the check; it ends with this status and leaves everything as it is."""
        before = self.files()
        status, text, errors = self.tallyfox("doctor", **changes)
        self.assertEqual((expected, ""), (status, errors), text)
        findings = [(line[:7].strip(), line[9:26].strip(), line[28:]) for line in text.splitlines()]
        self.assertEqual(self.CHECKS, [check for _, check, _ in findings])
        status, output, errors = self.tallyfox("doctor", "--json", **changes)
        self.assertEqual((expected, ""), (status, errors), output)
        report = json.loads(output)
        self.assertEqual((1, expected == 0), (report["version"], report["ok"]))
        self.assertEqual(findings, [(each["verdict"], each["check"], " ".join([each["found"], each.get("advice", "")])
                                     .strip()) for each in report["findings"]])
        self.assertEqual(before, self.files())
        return {check: (verdict, rest) for verdict, check, rest in findings}

    def test_doctor_where_nothing_is_set_up(self):
        found = self.doctor(1, DBUS_SESSION_BUS_ADDRESS="unix:path=/nonexistent/bus")
        self.assertEqual(("problem", "It cannot be reached: no session bus (No such file or directory). "
                          "Run this in the desktop session."), found["Accessibility"])
        self.assertEqual("problem", found["Display"][0])
        self.assertEqual("No relay is configured.", found["Relay address"][1][:23])
        self.assertEqual(("warning", "No agent is running. Start Tallyfox."), found["Running agent"])
        self.assertEqual("ok", found["Install location"][0])
        self.assertFalse(self.socket.parent.exists() and self.socket.exists())

    def test_doctor_beside_a_working_agent(self):
        relay = Relay(self.programs, self.desktop, self.root / "doctor-relay")
        agent = Agent(self.desktop, relay)
        self.addCleanup(processes.end, agent.process)
        here = {"DISPLAY": self.desktop.environment["DISPLAY"], "TALLYFOX_PAIRING_ID": "demo",
                "TALLYFOX_RELAY_URL": f"ws://kim:pass@127.0.0.1:{relay.port}/agent?token=hidden"}
        found = self.doctor(0, **here)
        self.assertEqual({"Notifications", "Tray"}, {check for check, (sign, _) in found.items() if sign != "ok"})
        self.assertEqual("Openbox manages the windows.", found["Display"][1])
        self.assertEqual(f"ws://127.0.0.1:{relay.port}, from the environment.", found["Relay address"][1])
        self.assertEqual("The relay knows this computer.", found["Registration"][1])
        self.assertEqual("It agrees with the relay's.", found["Clock"][1])
        self.assertRegex(found["Running agent"][1], r"\AVersion \d+\.\d+\.\d+ runs, connected to the relay\.\Z")
        told = json.dumps(found)
        secrets = [value for name, value in json.loads(agent.pairing_code(relay)).items()
                   if name in ("pairingID", "relaySecret", "e2eSecret")]
        for secret in [*secrets, "pass", "hidden"]:
            self.assertNotIn(secret, told)
        self.assertTrue(json.loads(self.done("status", "--json"))["relayConnected"], "nobody took its place")

        without = self.doctor(0, **dict(here, TALLYFOX_RELAY_URL=None, TALLYFOX_PAIRING_ID=None))
        self.assertEqual("The running agent has a relay, but none is configured here.",
                         without["Relay address"][1].split(" Run ")[0])
        relay.kill()
        found = self.doctor(1, **here)
        self.assertRegex(found["Relay host"][1], r"\A127\.0\.0\.1:\d+: Connection refused\. ")

    def test_the_socket_is_private(self):
        self.start_agent()
        self.wait_for_agent()
        self.assertEqual(0o600, stat.S_IMODE(self.socket.stat().st_mode))
        self.assertEqual(0o700, stat.S_IMODE(self.socket.parent.stat().st_mode))

    def test_the_end_of_an_agent(self):
        agent = self.start_agent()
        self.wait_for_agent()
        agent.terminate()
        self.assertEqual(0, agent.wait(10))
        self.assertFalse(self.socket.exists())
        self.assertEqual(1, self.tallyfox("status")[0])

    def test_the_socket_of_a_killed_agent(self):
        agent = self.start_agent()
        self.wait_for_agent()
        agent.kill()
        agent.wait()
        self.assertTrue(self.socket.exists())
        self.assertEqual((1, "", "tallyfox: No agent is running.\n"), self.tallyfox("status"))
        self.start_agent()
        self.wait_for_agent()

    def test_a_newer_agent_that_replaces_an_older_one(self):
        older = self.start_agent()
        self.wait_for_agent()
        older.send_signal(19)  # SIGSTOP: it does not answer
        other = self.root / "other-temporary"
        other.mkdir(exist_ok=True)
        newer = self.start_agent(TMPDIR=str(other))  # finds no lock, so that it need not end itself
        self.assertTrue(newer.lines.wait(lambda line: line.startswith("Unable to register relay token: ")))
        older.send_signal(18)
        self.assertEqual(0, older.wait(10), "it was asked to end")
        self.wait_for_agent()
        self.done("quit")
        self.assertEqual(0, newer.wait(0.5))

    def test_starting_the_agent_again_brings_its_window_forward(self):
        agent = self.start_agent()
        self.wait_for_agent()
        self.wait_until(lambda: self.windows("Tallyfox"), "no window came up")
        self.desktop.act("search", "--onlyvisible", "--name", "^Tallyfox$", "windowminimize", "%@")
        self.wait_until(lambda: not self.windows("Tallyfox"), "the window was not minimised")
        for again in ([], ["show"]):
            status, output, errors = self.tallyfox(*again)
            self.assertEqual((0, ""), (status, errors), output)
            self.wait_until(lambda: self.windows("Tallyfox"), "the window did not come back")
        self.assertIsNone(agent.poll(), "the agent goes on")

    def windows(self, title):
        """The windows of that title that are to be seen now."""
        found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", f"^{title}$"], text=True,
                               env=self.desktop.environment, capture_output=True)
        return found.stdout.split()

    def test_a_second_agent_leaves_the_socket_of_the_first(self):
        first = self.start_agent()
        self.wait_for_agent()
        before = self.socket.stat().st_ino
        first.send_signal(19)  # SIGSTOP: it cannot honour the request to end, so it keeps the lock
        self.assertEqual(0, self.start_agent().wait(10))
        self.assertEqual(before, self.socket.stat().st_ino)
        first.send_signal(18)

    def test_without_a_runtime_folder(self):
        self.start_agent(XDG_RUNTIME_DIR=None)
        self.wait_for_agent(XDG_RUNTIME_DIR=None)
        folder = pathlib.Path(self.desktop.environment["TMPDIR"]) / f"tallyfox-{os.geteuid()}"
        self.assertEqual(0o700, stat.S_IMODE(folder.stat().st_mode))
        self.assertEqual(0o600, stat.S_IMODE((folder / "control.socket").stat().st_mode))

    def test_an_agent_that_can_make_no_socket(self):
        agent = self.start_agent(XDG_RUNTIME_DIR=str(self.root / "missing/deeper"))
        hit = agent.lines.wait(lambda line: "take commands" in line)
        self.assertEqual("Unable to take commands: No such file or directory.", hit[1])
        self.assertTrue(agent.lines.wait(lambda line: line.startswith("Unable to register relay token: ")))
        time.sleep(0.5)
        self.assertIsNone(agent.poll(), "the agent ended")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    BUILD = pathlib.Path(sys.argv.pop()).resolve()
    processes.adopt_orphans()
    unittest.main(verbosity=2, warnings="ignore")
