#!/usr/bin/env python3
"""The owner's whole road through the status window, on a private desktop with the real programs: the pairing code is
scanned from the screen, a dialog is answered by the phone that scanned it, alerts are paused and resumed by the window's
buttons, and after unpairing there is another code and the old phone is out.

usage: status_window.py BUILD-FOLDER"""

import json
import pathlib
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
PRESS = ["/usr/bin/python3", "-B", str(ROOT / "tests/desktop/programs/press_button.py"), "tallyfox"]


class StatusWindow(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="tallyfox-window-")
        self.addCleanup(folder.cleanup)
        self.addCleanup(processes.end_all_descendants)
        self.root = pathlib.Path(folder.name)
        (self.root / "logs").mkdir()
        self.desktop = Desktop(self.root, self.root / "logs")
        self.programs = install(BUILD, self.desktop)
        self.relay = Relay(self.programs, self.desktop, self.root / "relay")
        self.agent = Agent(self.desktop, self.relay)

    def wait_until(self, condition, otherwise, timeout=20):
        deadline = time.monotonic() + timeout
        while not condition():
            self.assertLess(time.monotonic(), deadline, otherwise)
            time.sleep(0.05)

    def wait_for_code(self, accept=lambda _: True):
        code = self.desktop.wait_for_code(accept)
        self.assertIsNotNone(code, "no code came up on the screen")
        return code

    def press(self, label):
        pressed = subprocess.run([*PRESS, label], env=self.desktop.environment, timeout=60)
        self.assertEqual(0, pressed.returncode, f"the window has no button {label!r}")

    def question(self, text):
        return processes.start(["zenity", "--question", f"--text={text}", "--ok-label=Erase", "--cancel-label=Keep"],
                               self.desktop.environment, self.root / "logs/zenity.log")

    def status(self):
        return json.loads(self.agent.command("status", "--json")[1])

    def test_from_the_code_on_the_screen_to_the_end_of_the_pairing(self):
        code = self.wait_for_code()
        self.assertEqual(json.loads(self.agent.pairing_code(self.relay)), json.loads(code))

        phone = Phone(self.programs, self.desktop, code)
        self.wait_until(lambda: self.desktop.code_on_screen() is None, "the code stays on the screen of a paired computer")
        program = self.question("Erase the attic?")
        seen = phone.wait_for(lambda approval: "Erase the attic?" in json.dumps(approval))
        self.assertIsNotNone(seen, "the dialog did not reach the phone")
        self.assertEqual("accepted", phone.answer(seen[1], "Erase").status)
        self.assertEqual(0, program.wait(10))

        self.press("Pause for 2 Hours")
        self.wait_until(lambda: self.status()["alerts"]["paused"], "the pause did not begin")
        mark = phone.mark()
        kept = self.question("Erase the cellar?")
        self.wait_until(lambda: self.status()["pendingApprovalCount"] == 1, "the dialog was not noticed")
        self.assertEqual([], [event for event in phone.events(mark) if event.get("approvals")])
        self.press("Resume")
        seen = phone.wait_for(lambda approval: "Erase the cellar?" in json.dumps(approval), mark)
        self.assertIsNotNone(seen, "the dialog did not reach the phone after the pause")
        self.assertEqual("accepted", phone.answer(seen[1], "Keep").status)
        self.assertEqual(1, kept.wait(10))

        # The question before the pairing ends is the agent's own, and none for a phone.
        mark = phone.mark()
        self.press("Unpair iPhone")
        self.press("Unpair")
        other = self.wait_for_code(lambda shown: shown != code)
        self.assertEqual(json.loads(self.agent.pairing_code(self.relay)), json.loads(other))
        for secret in ("pairingID", "relaySecret", "e2eSecret"):
            self.assertNotEqual(json.loads(code)[secret], json.loads(other)[secret])
        self.assertEqual([], [event for event in phone.events(mark) if event.get("approvals")])
        unpaired = subprocess.run([str(self.programs / "tallyfox-phone"), "list"], env=self.desktop.environment,
                                  capture_output=True, text=True, timeout=60)
        self.assertEqual((1, ""), (unpaired.returncode, unpaired.stdout), unpaired.stderr)

    def test_the_code_goes_with_the_permission(self):
        self.wait_for_code()
        self.set_accessibility(False)
        self.wait_until(lambda: self.desktop.code_on_screen() is None, "the code is shown without the permission")
        self.press("Open Settings")
        self.wait_for_code()

    def set_accessibility(self, enabled):
        subprocess.run(["gdbus", "call", "--session", "--dest", "org.a11y.Bus", "--object-path", "/org/a11y/bus",
                        "--method", "org.freedesktop.DBus.Properties.Set", "org.a11y.Status", "IsEnabled",
                        f"<{'true' if enabled else 'false'}>"], env=self.desktop.environment, check=True,
                       stdout=subprocess.DEVNULL)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    BUILD = pathlib.Path(sys.argv.pop()).resolve()
    processes.adopt_orphans()
    unittest.main(verbosity=2, warnings="ignore")
