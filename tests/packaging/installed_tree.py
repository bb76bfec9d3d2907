#!/usr/bin/env python3
"""What `cmake --install --prefix ~/.local` leaves works as an installation: its entries are valid, manual pages, help
and completions say the same, each shell completes from it, its units start its programs, and its agent knows itself
as installed and starts at login.

usage: installed_tree.py BUILD-FOLDER"""

import json
import os
import pathlib
import re
import struct
import subprocess
import sys
import tempfile
import time
import unittest
import xml.etree.ElementTree

ROOT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(ROOT / "demo"))

import documents  # noqa: E402
import processes  # noqa: E402
from desktop import Desktop  # noqa: E402
from parties import install  # noqa: E402
from shells import Shell  # noqa: E402

BUILD = None
PAGES = {"tallyfox": 1, "tallyfox-phone": 1, "tallyfox-relay": 8}
PAUSES = {"2h", "4h", "tomorrow", "forever"}


def output_of(*command, environment=None):
    """What a command prints, both its outputs; fails when the command does."""
    done = subprocess.run(command, env=environment, text=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                          stdin=subprocess.DEVNULL, timeout=60)
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.stdout}")
    return done.stdout


class InstalledTree(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory(prefix="tallyfox-installed-")
        cls.root = pathlib.Path(cls.folder.name)
        (cls.root / "logs").mkdir()
        cls.desktop = Desktop(cls.root, cls.root / "logs")
        cls.programs = install(BUILD, cls.desktop)
        cls.share = cls.programs.parent / "share"
        cls.environment = dict(cls.desktop.environment, PATH=f"{cls.programs}:{os.environ['PATH']}", TERM="dumb",
                               XDG_DATA_HOME=str(cls.share))

    @classmethod
    def tearDownClass(cls):
        processes.end_all_descendants()
        cls.folder.cleanup()

    def page(self, name):
        return self.share / f"man/man{PAGES[name]}/{name}.{PAGES[name]}"

    def help_of(self, name):
        return documents.help_entries(output_of(str(self.programs / name), "--help", environment=self.environment))

    def first_words(self, name):
        """What may follow the program's name, options included."""
        return {entry.split()[0] for entry in self.help_of(name)}

    def test_the_desktop_entry_and_the_description_are_valid(self):
        self.assertEqual("", output_of("desktop-file-validate",
                                       str(self.share / "applications/com.tallyfox.agent.desktop")))
        output_of("appstreamcli", "validate", "--no-net", str(self.share / "metainfo/com.tallyfox.agent.metainfo.xml"))

    def test_the_icon_of_the_desktop_entry_is_there_in_every_form(self):
        entry = (self.share / "applications/com.tallyfox.agent.desktop").read_text(encoding="utf-8")
        icon = re.search(r"^Icon=(.*)$", entry, re.MULTILINE)[1]
        icons = self.share / "icons/hicolor"
        for drawing in (f"scalable/apps/{icon}.svg", f"symbolic/apps/{icon}-symbolic.svg"):
            self.assertTrue(xml.etree.ElementTree.parse(icons / drawing).getroot().tag.endswith("}svg"), drawing)
        pictures = sorted(icons.glob(f"*x*/apps/{icon}.png"))
        self.assertLessEqual({16, 22, 24, 32, 48, 64, 128, 256, 512}, {self.width_by_folder(path) for path in pictures})
        for picture in pictures:
            # The size stands behind the signature and the name of a PNG's first part.
            self.assertEqual((self.width_by_folder(picture),) * 2, struct.unpack(">II", picture.read_bytes()[16:24]))

    @staticmethod
    def width_by_folder(picture):
        return int(picture.parts[-3].split("x")[0])

    def test_the_manual_pages_are_clean(self):
        for name in PAGES:
            for command in (["mandoc", "-Tlint", "-Wwarning"], ["man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8"]):
                outcome = subprocess.run([*command, str(self.page(name))], text=True, capture_output=True,
                                         env=dict(os.environ, LC_ALL="C.UTF-8", MANWIDTH="80"))
                told = outcome.stdout + outcome.stderr if command[0] == "mandoc" else outcome.stderr
                self.assertEqual((0, ""), (outcome.returncode, told), name)

    def test_the_manual_pages_have_every_command_and_option(self):
        for name in PAGES:
            sections = documents.manual_sections(self.page(name))
            self.assertEqual(self.help_of(name), documents.manual_entries(sections, "COMMANDS", "OPTIONS"), name)

    def test_the_manual_page_has_every_setting(self):
        settings = documents.settings_in(ROOT / "src/app/AgentConfiguration.cpp",
                                         ROOT / "src/pairing/PairingConfiguration.cpp")
        entries = documents.manual_entries(documents.manual_sections(self.page("tallyfox")), "ENVIRONMENT")
        self.assertIn("RELAY_URL", settings)
        self.assertEqual({f"TALLYFOX_{name}" for name in settings},
                         {entry for entry in entries if entry.startswith("TALLYFOX_")})

    def test_bash_completes(self):
        setup = "PS1=; bind 'set enable-bracketed-paste off'; . /usr/share/bash-completion/bash_completion"
        shell = Shell(["bash", "--norc", "--noprofile", "-i"], self.environment, setup)
        self.addCleanup(shell.close)
        self.complete_lines(shell)

    def test_zsh_completes(self):
        setup = (f"PS1=; bindkey -e; fpath=({self.share}/zsh/vendor-completions $fpath); "
                 f"autoload -U compinit; compinit -u -d {self.root}/zcompdump")
        shell = Shell(["zsh", "-f", "-i"], self.environment, setup)
        self.addCleanup(shell.close)
        self.complete_lines(shell)

    def complete_lines(self, shell):
        """One word is left each time, so that it is completed whole. (The blank after it is the shell's own matter.)"""
        for line, completed in (("tallyfox pa", "tallyfox pause"),
                                ("tallyfox --v", "tallyfox --version"),
                                ("tallyfox pause t", "tallyfox pause tomorrow"),
                                ("tallyfox status --", "tallyfox status --json"),
                                ("tallyfox d", "tallyfox doctor"),
                                ("tallyfox quit ", "tallyfox quit"),
                                ("tallyfox-phone unp", "tallyfox-phone unpair"),
                                ("tallyfox-phone --t", "tallyfox-phone --timeout"),
                                ("tallyfox-relay --li", "tallyfox-relay --listen")):
            self.assertEqual(completed, shell.completed(line).rstrip())

    def test_bash_offers_every_command_and_option(self):
        for name in PAGES:
            script = self.share / "bash-completion/completions" / name
            function = "_" + name.replace("-", "_")
            offered = output_of("bash", "-c", f". {script}; COMP_WORDS=({name} ''); COMP_CWORD=1; {function}; "
                                              'printf "%s\\n" "${COMPREPLY[@]}"').split()
            self.assertEqual(self.first_words(name), set(offered), name)
        self.assertEqual(PAUSES, set(output_of(
            "bash", "-c", f". {self.share}/bash-completion/completions/tallyfox; COMP_WORDS=(tallyfox pause ''); "
                          'COMP_CWORD=2; _tallyfox; printf "%s\\n" "${COMPREPLY[@]}"').split()))

    def fish_offers(self, line):
        told = output_of("fish", "-c", 'complete -C "$argv[1]"', line, environment=self.environment)
        return {offer.split("\t")[0] for offer in told.splitlines()}

    def test_fish_offers_every_command_and_option(self):
        for name in PAGES:
            self.assertEqual(self.first_words(name), self.fish_offers(f"{name} ") | self.fish_offers(f"{name} --"),
                             name)
        self.assertEqual(PAUSES, self.fish_offers("tallyfox pause "))
        self.assertEqual({"--json"}, self.fish_offers("tallyfox status --"))

    def test_zsh_knows_every_command_and_option(self):
        for name in PAGES:
            script = (self.share / "zsh/vendor-completions" / f"_{name}").read_text(encoding="utf-8")
            for word in self.first_words(name):
                self.assertRegex(script, rf"(?m)['){{]{word}[:\[]", name)

    def test_the_units_start_the_installed_programs(self):
        for unit, program in ((self.share / "systemd/user/tallyfox.service", "tallyfox"),
                              (self.programs.parent / "lib/systemd/system/tallyfox-relay.service", "tallyfox-relay")):
            text = unit.read_text(encoding="utf-8")
            self.assertIn(f'\nExecStart="{self.programs / program}"', text)
            self.assertEqual("", output_of("systemd-analyze", "verify", "--man=no",
                                           "--user" if program == "tallyfox" else "--system", str(unit),
                                           environment=self.environment))

    def test_the_relays_unit_gives_away_little(self):
        unit = self.programs.parent / "lib/systemd/system/tallyfox-relay.service"
        told = output_of("systemd-analyze", "security", "--offline=true", "--no-pager", "--threshold=20", str(unit),
                         environment=self.environment)
        exposure = re.search(r"Overall exposure level for tallyfox-relay\.service: ([0-9.]+) ", told)
        self.assertLess(float(exposure[1]), 2.0)

    def test_the_agent_knows_itself_as_installed(self):
        program = str(self.programs / "tallyfox")
        agent = processes.start([program], self.desktop.environment, self.desktop.logs / "agent.log")
        self.addCleanup(processes.end, agent)
        deadline = time.monotonic() + 20
        while (asked := subprocess.run([program, "status", "--json"], env=self.desktop.environment, text=True,
                                       capture_output=True)).returncode != 0:
            self.assertLess(time.monotonic(), deadline, asked.stderr)
            time.sleep(0.05)
        state = json.loads(asked.stdout)
        self.assertEqual((True, "enabled"), (state["installedInApplications"], state["loginItem"]))
        entry = pathlib.Path(self.desktop.environment["HOME"]) / ".config/autostart/com.tallyfox.agent.desktop"
        self.assertIn(f'\nExec="{program}"\n', entry.read_text(encoding="utf-8"))
        self.assertEqual("Tallyfox quits.\n", output_of(program, "quit", environment=self.desktop.environment))
        self.assertEqual(0, agent.wait(5))


if __name__ == "__main__":
    if len(sys.argv) < 2:
        sys.exit(__doc__)
    BUILD = pathlib.Path(sys.argv.pop(1)).resolve()
    processes.adopt_orphans()
    unittest.main(verbosity=2, warnings="ignore")
