#!/usr/bin/env python3
"""The Debian packages in a fresh system: apt installs them with all that they need, an ordinary user's agent runs, knows
itself as installed and starts at login, talks to the packaged relay, and ends; purging leaves nothing but the user's own
files. Run as the first process of mount and process namespaces of its own (scripts/test-package).

usage: package_test.py SYSTEM-FOLDER PACKAGE-FOLDER"""

import json
import os
import pathlib
import re
import shlex
import subprocess
import sys
import time
import unittest

from file_tree import FileTree

SYSTEM = PACKAGES = None
OWNER = "/home/owner"
PROGRAMS = {"tallyfox": "tallyfox", "tallyfox-phone": "tallyfox", "tallyfox-relay": "tallyfox-relay"}
# A desktop of the owner's, started by the command that follows: display, session bus, loopback network of its own.
DESKTOP = """
set -e
mkdir -p -m 700 "$XDG_RUNTIME_DIR"
Xvfb -displayfd 3 -screen 0 800x600x24 -nolisten tcp -noreset 3>"$XDG_RUNTIME_DIR/display" 2>/dev/null &
until [ -s "$XDG_RUNTIME_DIR/display" ]; do sleep 0.05; done
DISPLAY=:$(cat "$XDG_RUNTIME_DIR/display")
export DISPLAY
exec dbus-run-session -- sh -c 'echo "$DISPLAY $DBUS_SESSION_BUS_ADDRESS"; exec sleep infinity'
"""


def run(*command, **options):
    outcome = subprocess.run(command, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                             stdin=subprocess.DEVNULL, timeout=400, **options)
    if outcome.returncode != 0:
        raise AssertionError(f"{shlex.join(command)} ended with {outcome.returncode}:\n{outcome.stdout}")
    return outcome.stdout


class FreshSystem:
    """The made system under a writable layer in memory, so that each run starts with it as it was."""

    def __init__(self, system, packages):
        layer = system / "layer"
        self.root = layer / "root"
        layer.mkdir(exist_ok=True)
        self._mount("-t", "tmpfs", "-o", "mode=755", "tmpfs", layer)
        for name in ("root", "changed", "work"):
            (layer / name).mkdir()
        self._mount("-t", "overlay", "-o", f"lowerdir={system / 'root'},upperdir={layer / 'changed'},"
                    f"workdir={layer / 'work'}", "overlay", self.root)
        self._mount("-t", "proc", "proc", self.root / "proc")
        for name, mode in (("dev", "755"), ("dev/shm", "1777"), ("run", "755"), ("tmp", "1777")):
            (self.root / name).mkdir(exist_ok=True)
            self._mount("-t", "tmpfs", "-o", f"mode={mode}", "tmpfs", self.root / name)
        for name in ("null", "zero", "full", "random", "urandom", "tty"):
            (self.root / "dev" / name).touch()
            self._mount("--bind", f"/dev/{name}", self.root / "dev" / name)
        (self.root / "dev/pts").mkdir()
        self._mount("-t", "devpts", "-o", "newinstance,ptmxmode=666", "devpts", self.root / "dev/pts")
        (self.root / "dev/ptmx").symlink_to("pts/ptmx")
        (self.root / "dev/fd").symlink_to("/proc/self/fd")
        # Downloads are kept for the next run.
        self._mount("--bind", system / "archives", self.root / "var/cache/apt/archives")
        for name in ("resolv.conf", "hosts"):
            if pathlib.Path("/etc", name).exists():
                (self.root / "etc" / name).touch()
                self._mount("--bind", f"/etc/{name}", self.root / "etc" / name)
        (self.root / "tmp/packages").mkdir()
        self._mount("--bind", packages, self.root / "tmp/packages")
        # A package's service must not be started by its installation.
        (self.root / "usr/sbin/policy-rc.d").write_text("#!/bin/sh\nexit 101\n", encoding="ascii")
        (self.root / "usr/sbin/policy-rc.d").chmod(0o755)

    @staticmethod
    def _mount(*words):
        run("mount", *map(str, words))

    def command(self, *words, user="root", **environment):
        """The command line and the environment of a program inside."""
        identity = ["--reuid", user, "--regid", user, "--init-groups"]
        home = OWNER if user == "owner" else "/root"
        return ["chroot", str(self.root), "setpriv", *identity, "--", *words], dict(
            environment, HOME=home, USER=user, LOGNAME=user, LANG="C.UTF-8", DEBIAN_FRONTEND="noninteractive",
            PATH="/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin")

    def run(self, *words, user="root", **environment):
        command, variables = self.command(*words, user=user, **environment)
        return run(*command, env=variables, cwd="/")

    def start(self, *words, user, network=(), **environment):
        command, variables = self.command(*words, user=user, **environment)
        return subprocess.Popen([*network, *command], env=variables, cwd="/", text=True, stdin=subprocess.DEVNULL,
                                stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def apt(self, *words):
        return self.run("apt-get", "-y", "-q", "-o", "Binary::apt-get::APT::Keep-Downloaded-Packages=true", *words)

    def satisfy(self, relations):
        """Installs what packages ask for."""
        try:
            self.apt("satisfy", "--no-install-recommends", relations)
        except AssertionError:
            # The lists of the made system may have grown old.
            self.apt("update")
            self.apt("satisfy", "--no-install-recommends", relations)


class Packages(unittest.TestCase):
    """One story; its steps are in the order of their names."""

    @classmethod
    def setUpClass(cls):
        cls.system = FreshSystem(SYSTEM, PACKAGES)
        cls.files = sorted(PACKAGES.glob("*.deb"))
        # What others leave behind when they are removed is not these packages' doing, so they come first and stay.
        cls.system.satisfy(", ".join(run("dpkg-deb", "-f", str(file), "Depends").strip() for file in cls.files))
        cls.before = FileTree.read(cls.system.root)

    def test_1_apt_installs_them_and_needs_nothing_else(self):
        self.assertEqual(2, len(self.files), self.files)
        told = self.system.apt("install", "--no-install-recommends",
                               *(f"/tmp/packages/{file.name}" for file in self.files))
        self.assertIn("\n0 upgraded, 2 newly installed, 0 to remove ", told)
        self.assertEqual("", self.system.run("dpkg", "--audit"))
        for program, package in PROGRAMS.items():
            self.assertEqual(f"{package}: /usr/bin/{program}\n", self.system.run("dpkg", "-S", f"/usr/bin/{program}"))
            self.assertRegex(self.system.run(program, "--version", user="owner"), rf"\A{program} \d+\.\d+\.\d+\n\Z")
            self.assertIn(f"Usage: {program} ", self.system.run(program, "--help", user="owner"))
        # Installed and not yet used, they are nobody's to start at boot or login.
        self.assertEqual([], [path for path in self.added() if "tallyfox" in path and not path.startswith("/usr/")])

    def test_2_the_owners_agent_runs_and_starts_at_login(self):
        desktop = self.start_desktop()
        relay = self.start(desktop, "tallyfox-relay", "--listen", "127.0.0.1:0", "--data", f"{OWNER}/relay")
        ready = relay.stdout.readline()
        self.assertRegex(ready, r"\ATallyfox relay listening on 127\.0\.0\.1:\d+\.\n\Z")
        port = re.search(r"(\d+)\.$", ready)[1]
        environment = dict(desktop.variables, TALLYFOX_RELAY_URL=f"ws://127.0.0.1:{port}", TALLYFOX_PAIRING_ID="package")
        agent = self.start(desktop, *self.command_of_the_desktop_entry(), **environment)
        self.wait_for_state(desktop, lambda state: not state["accessibilityTrusted"])
        self.system.run("dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
                        "org.freedesktop.DBus.Properties.Set", "string:org.a11y.Status", "string:IsEnabled",
                        "variant:boolean:true", user="owner", **desktop.variables)
        state = self.wait_for_state(desktop, lambda state: state["relayConnected"] and state["accessibilityTrusted"])
        self.assertEqual((True, "enabled"), (state["installedInApplications"], state["loginItem"]), state)
        entry = self.system.root / OWNER[1:] / ".config/autostart/com.tallyfox.agent.desktop"
        self.assertIn('\nExec="/usr/bin/tallyfox"\n', entry.read_text(encoding="utf-8"))
        self.assertEqual("Tallyfox quits.\n", self.ask(desktop, "quit").stdout)
        self.assertEqual(0, agent.wait(10))
        relay.terminate()
        self.assertEqual(0, relay.wait(10))
        desktop.terminate()
        desktop.wait(10)

    def test_3_purging_leaves_only_what_is_the_owners(self):
        self.system.apt("purge", "tallyfox", "tallyfox-relay")
        changes = self.before.changes(FileTree.read(self.system.root))
        self.assertEqual([], [change for change in changes if not change.path.startswith(f"{OWNER}/")])
        self.assertIn(f"{OWNER}/.config/autostart/com.tallyfox.agent.desktop", self.added(), "the owner's own is kept")

    def added(self):
        return [change.path for change in self.before.changes(FileTree.read(self.system.root)) if change.what == "added"]

    def start_desktop(self):
        """Alone on a network of its own: neither display nor relay can meet one of the machine's."""
        runtime = "/tmp/owner-run"
        desktop = self.system.start("sh", "-c", DESKTOP, user="owner", XDG_RUNTIME_DIR=runtime,
                                    network=["unshare", "--net", "sh", "-c", 'ip link set lo up; exec "$@"', "sh"])
        self.addCleanup(desktop.stdout.close)
        display, bus = desktop.stdout.readline().split()
        desktop.variables = {"DISPLAY": display, "DBUS_SESSION_BUS_ADDRESS": bus, "XDG_RUNTIME_DIR": runtime}
        return desktop

    def start(self, desktop, *words, **environment):
        program = self.system.start(*words, user="owner", network=["nsenter", "--net", "--target", str(desktop.pid)],
                                    **environment)
        self.addCleanup(program.stdout.close)
        return program

    def command_of_the_desktop_entry(self):
        entry = (self.system.root / "usr/share/applications/com.tallyfox.agent.desktop").read_text(encoding="utf-8")
        return shlex.split(re.search(r"^Exec=(.*)$", entry, re.MULTILINE)[1])

    def ask(self, desktop, *words):
        command, variables = self.system.command("tallyfox", *words, user="owner", **desktop.variables)
        return subprocess.run(command, env=variables, cwd="/", text=True, capture_output=True, timeout=60)

    def wait_for_state(self, desktop, accept):
        deadline = time.monotonic() + 30
        while True:
            asked = self.ask(desktop, "status", "--json")
            if asked.returncode == 0 and accept(json.loads(asked.stdout)):
                return json.loads(asked.stdout)
            self.assertLess(time.monotonic(), deadline, asked.stdout + asked.stderr)
            time.sleep(0.1)


if __name__ == "__main__":
    if len(sys.argv) < 3:
        sys.exit(__doc__)
    PACKAGES = pathlib.Path(sys.argv.pop(2)).resolve()
    SYSTEM = pathlib.Path(sys.argv.pop(1)).resolve()
    # The kernel ends every process of the namespace when this one ends.
    if os.getpid() != 1:
        sys.exit("package_test.py: start it by scripts/test-package, in namespaces of its own.")
    unittest.main(verbosity=2, failfast=True, warnings="ignore")
