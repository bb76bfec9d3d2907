#!/usr/bin/env python3
"""Writes the project's changelog as Debian's, newest version first. What is not released yet belongs to the version that
is being packed.

usage: changelog.py CHANGELOG.md PACKAGE VERSION-REVISION MAINTAINER

SOURCE_DATE_EPOCH is the date of what is not released yet."""

import datetime
import email.utils
import os
import re
import sys
import textwrap
import time

HEADING = re.compile(r"## \[(?P<version>[^]]+)\](?: - (?P<date>\d{4}-\d{2}-\d{2}))?\s*$")


def sections(text):
    """Each version with its date (None when it is not released) and its notes."""
    found = []
    for line in text.splitlines():
        heading = HEADING.match(line)
        if heading:
            found.append((heading["version"], heading["date"], []))
        elif found:
            found[-1][2].append(line)
    return found


def notes(lines):
    """The list items, each as one line of text; "### Fixed" and its like are put before the items they head."""
    kind, items = "", []
    for line in lines:
        if line.startswith("### "):
            kind = line[4:].strip()
        elif line.startswith("- "):
            items.append([kind, line[2:].strip()])
        elif line.startswith("  ") and items:
            items[-1][1] += " " + line.strip()
    return [f"{kind}: {text}" if kind else text for kind, text in items]


def entry(package, version, items, maintainer, moment):
    wrapped = (textwrap.fill(item, 78, initial_indent="  * ", subsequent_indent="    ") for item in items)
    return (f"{package} ({version}) stable; urgency=medium\n\n" + "\n".join(wrapped) +
            f"\n\n -- {maintainer}  {email.utils.format_datetime(moment)}\n")


def main(path, package, packed, maintainer):
    version, _, revision = packed.rpartition("-")
    now = datetime.datetime.fromtimestamp(int(os.environ.get("SOURCE_DATE_EPOCH", time.time())), datetime.timezone.utc)
    entries = []
    with open(path, encoding="utf-8") as file:
        for name, date, lines in sections(file.read()):
            items = notes(lines)
            if not items:
                continue
            moment = datetime.datetime.fromisoformat(date + "T12:00:00+00:00") if date else now
            entries.append(entry(package, f"{name if date else version}-{revision}", items, maintainer, moment))
    if not entries:
        sys.exit(f"{path} has no notes")
    print("\n".join(entries), end="")


if __name__ == "__main__":
    if len(sys.argv) != 5:
        sys.exit(__doc__)
    main(*sys.argv[1:])
