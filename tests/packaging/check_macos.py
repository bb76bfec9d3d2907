#!/usr/bin/env python3
"""scripts/check-macos says in one line what is wrong with its command line or with the tree, and does nothing then."""

import pathlib
import subprocess
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


class CheckMacos(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="tallyfox-check-macos-")
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)

    def refused(self, *arguments):
        """What it complains about."""
        done = subprocess.run([str(ROOT / "scripts/check-macos"), "--build", str(self.folder / "build"),
                               *map(str, arguments)], text=True, capture_output=True, stdin=subprocess.DEVNULL,
                              timeout=60)
        self.assertEqual((2, ""), (done.returncode, done.stdout), done.stderr)
        self.assertRegex(done.stderr, r"\Acheck-macos: .*\n\Z")
        return done.stderr

    def tree(self, *folders):
        for folder in folders:
            (self.folder / folder).mkdir(parents=True)
        return self.folder

    def test_the_command_line(self):
        self.assertIn("--sdk DIR is missing", self.refused())
        self.assertIn("--arch", self.refused("--sdk", self.folder, "--arch", "m68k"))
        self.assertIn("--sdk", self.refused("--sdk"))
        self.assertIn("--jobs", self.refused("--sdk", self.folder, "--jobs", "0"))
        self.assertIn("--faster", self.refused("--sdk", self.folder, "--faster"))

    def test_a_tree_that_is_not_there(self):
        self.assertIn(f"There is no folder {self.folder}/none.", self.refused("--sdk", self.folder / "none"))

    def test_a_tree_that_is_none(self):
        self.assertIn("it has no Frameworks", self.refused("--sdk", self.folder))
        self.assertIn("it has no lib", self.refused("--sdk", self.tree("Frameworks", "include")))

    def test_an_sdk_without_headers(self):
        self.assertIn("it has no usr/include", self.refused("--sdk", self.tree("System/Library/Frameworks")))

    def test_frameworks_that_the_tree_lacks(self):
        tree = self.tree("Frameworks/AppKit.framework", "include", "lib", "more")
        self.assertIn("holds no frameworks", self.refused("--sdk", tree, "--frameworks", tree / "more"))
        self.assertIn("The tree has no ", self.refused("--sdk", tree))

    def test_what_is_not_sparkle(self):
        tree = self.tree("Frameworks", "include", "lib")
        self.assertIn("neither Sparkle.framework nor Sparkle's sources", self.refused("--sdk", tree, "--sparkle", tree))

    def test_help(self):
        done = subprocess.run([str(ROOT / "scripts/check-macos"), "--help"], text=True, capture_output=True, timeout=60)
        self.assertEqual(0, done.returncode, done.stderr)
        for option in ("--sdk", "--frameworks", "--sparkle", "--arch", "--no-link", "--jobs", "--build"):
            self.assertIn(f"  {option}", done.stdout)


if __name__ == "__main__":
    unittest.main(verbosity=2)
