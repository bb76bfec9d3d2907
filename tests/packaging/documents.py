"""What the help of a program, its manual page and the source say that it takes."""

import re
import subprocess

ROOM_FOR_A_PARAGRAPH = "width=1000"


def help_entries(text):
    """The forms in a help text: what is set in by two blanks, up to the gap before its explanation."""
    return {match[1] for match in re.finditer(r"^  (\S.*?)  +\S.*$", text, re.MULTILINE)}


def manual_sections(page):
    """A manual page as its reader sees it: the lines below each heading."""
    text = subprocess.run(["mandoc", "-Tascii", "-O", ROOM_FOR_A_PARAGRAPH, str(page)], check=True, text=True,
                          capture_output=True).stdout
    sections = {}
    for line in re.sub(r".\x08", "", text).splitlines():
        if line and not line.startswith(" "):
            sections[line] = lines = []
        elif sections:
            lines.append(line)
    return sections


def manual_entries(sections, *headings):
    """The items of these sections' lists: what has an explanation beside it or, set in deeper, below it."""
    found = set()
    for heading in headings:
        lines = sections.get(heading, [])
        for line, below in zip(lines, lines[1:] + [""]):
            item = re.fullmatch(r" {5}(\S.*?)(  +\S.*)?", line)
            if item and (re.match(r" {6}", below) or item[2] and not re.search(r"[.:]$", item[1])):
                found.add(item[1])
    return found


def settings_in(*sources):
    """The names of the settings that the agent's source looks up, without their prefix."""
    names = set()
    for source in sources:
        names |= set(re.findall(r'"([A-Z][A-Z]+(?:_[A-Z]+)+)"', source.read_text(encoding="utf-8")))
    return names
