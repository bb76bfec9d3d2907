#!/usr/bin/env python3
"""What the relay is given to serve as the phone page: whole, from one origin, without anything that its policy forbids,
and within what the relay takes.

usage: page_files.py PAGE-FOLDER"""

import html.parser
import json
import pathlib
import re
import struct
import sys
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2] / "phone" / "web"
PAGE = None
# The relay takes no larger file, and no other names.
GREATEST_FILE = 4 * 1024 * 1024
PLAIN_NAME = re.compile(r"[A-Za-z0-9._-]+")
# Names of XML vocabularies: they look like addresses, and nobody goes there.
VOCABULARIES = {"http://www.w3.org/2000/svg", "http://www.w3.org/1999/xhtml", "http://www.w3.org/1998/Math/MathML",
                "http://www.w3.org/1999/xlink", "http://www.w3.org/XML/1998/namespace"}


class Elements(html.parser.HTMLParser):
    """The elements of a document with their attributes, and the texts of scripts and style sheets in it."""

    def __init__(self, text):
        super().__init__()
        self.found = []
        self.texts = []
        self.open = None
        self.feed(text)

    def handle_starttag(self, tag, attributes):
        self.found.append((tag, dict(attributes)))
        self.open = tag

    def handle_endtag(self, tag):
        self.open = None

    def handle_data(self, data):
        if self.open in ("script", "style") and data.strip():
            self.texts.append(data)


def file_of(path):
    return PAGE / path.lstrip("/")


class PageFiles(unittest.TestCase):
    def setUp(self):
        self.index = Elements((PAGE / "index.html").read_text())

    def test_every_file_has_a_name_and_a_size_that_the_relay_takes(self):
        files = [file for file in PAGE.rglob("*") if file.is_file()]
        self.assertGreater(len(files), 10)
        for file in files:
            self.assertRegex(file.name, PLAIN_NAME)
            self.assertLess(file.stat().st_size, GREATEST_FILE, file)
            self.assertFalse(file.name.endswith(".map"), file)

    def test_what_the_document_names_is_there(self):
        named = [attributes.get("src") or attributes.get("href") for tag, attributes in self.index.found
                 if tag in ("script", "link", "img")]
        self.assertGreaterEqual(len(named), 5)
        for path in named:
            self.assertTrue(path.startswith("/"), path)
            self.assertTrue(file_of(path).is_file(), path)

    def test_the_document_has_no_script_and_no_style_of_its_own(self):
        self.assertEqual(self.index.texts, [])
        for tag, attributes in self.index.found:
            self.assertNotEqual(tag, "style")
            self.assertNotIn("style", attributes)
            self.assertEqual([name for name in attributes if name.startswith("on")], [])

    def test_nothing_names_another_origin_and_nothing_is_made_of_text(self):
        scripts = [*PAGE.glob("assets/*.js"), PAGE / "sw.js"]
        self.assertGreaterEqual(len(scripts), 3)
        for file in [*scripts, *PAGE.glob("assets/*.css"), PAGE / "index.html"]:
            # Licences, which stay in comments, name addresses of their own.
            text = re.sub(r"/\*!.*?\*/", "", file.read_text(), flags=re.DOTALL)
            others = set(re.findall(r"(?:https?|wss?)://[\w.-]+[\w/.-]*", text)) - VOCABULARIES
            self.assertEqual(others, set(), file.name)
            self.assertNotRegex(text, r"\beval\(|new Function\(|document\.write|localStorage|sourceMappingURL", file.name)

    def test_the_service_worker_keeps_the_whole_page(self):
        kept = set(re.findall(r"/(?:assets/)?[\w.-]+\.(?:js|css|svg|png|webmanifest)", (PAGE / "sw.js").read_text()))
        assets = {f"/assets/{file.name}" for file in (PAGE / "assets").iterdir()}
        self.assertLessEqual(assets, kept)
        for path in kept:
            self.assertTrue(file_of(path).is_file(), path)

    def test_the_manifest_has_the_icons_that_it_names(self):
        manifest = json.loads((PAGE / "manifest.webmanifest").read_text())
        self.assertEqual((manifest["start_url"], manifest["scope"], manifest["display"]), ("/", "/", "standalone"))
        purposes = set()
        for icon in manifest["icons"]:
            purposes.add(icon.get("purpose", "any"))
            data = file_of(icon["src"]).read_bytes()
            if icon["type"] == "image/png":
                self.assertEqual(data[:8], b"\x89PNG\r\n\x1a\n")
                width, height = struct.unpack(">II", data[16:24])
                self.assertEqual(icon["sizes"], f"{width}x{height}")
        self.assertEqual(purposes, {"any", "maskable"})

    def test_the_licences_of_what_it_carries_are_with_it(self):
        text = (PAGE / "licenses.txt").read_text()
        dependencies = json.loads((SOURCE / "package.json").read_text())["dependencies"]
        for name in dependencies:
            self.assertIn(f"\n{name}\n", text.lower())
        self.assertGreaterEqual(text.count("Permission is hereby granted"), len(dependencies))

    def test_the_lock_file_names_no_host(self):
        packages = json.loads((SOURCE / "package-lock.json").read_text())["packages"]
        self.assertGreater(len(packages), 50)
        self.assertEqual([name for name, package in packages.items() if "resolved" in package], [])
        self.assertEqual([name for name, package in packages.items() if name and "integrity" not in package], [])


if __name__ == "__main__":
    PAGE = pathlib.Path(sys.argv.pop(1)).resolve()
    unittest.main()
