#!/usr/bin/env python3
"""Presses a button of a program as a screen reader would: press_button.py PROGRAM-NAME BUTTON-LABEL [SECONDS]

Waits until the program shows such a button; ends with 1 when it does not."""

import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402


def elements(element):
    yield element
    for index in range(element.get_child_count()):
        child = element.get_child_at_index(index)
        if child:
            yield from elements(child)


def button(program, label):
    desktop = Atspi.get_desktop(0)
    for index in range(desktop.get_child_count()):
        application = desktop.get_child_at_index(index)
        if application and application.get_name() == program:
            for element in elements(application):
                states = element.get_state_set()
                if element.get_role() == Atspi.Role.PUSH_BUTTON and element.get_name() == label and all(
                        states.contains(state) for state in (Atspi.StateType.SHOWING, Atspi.StateType.ENABLED)):
                    return element
    return None


def main():
    program, label = sys.argv[1:3]
    deadline = time.monotonic() + float(sys.argv[3] if len(sys.argv) > 3 else 10)
    while time.monotonic() < deadline:
        try:
            found = button(program, label)
            if found:
                return 0 if found.do_action(0) else 1
        except GLib.Error:
            pass  # the window changed while it was read
        time.sleep(0.05)
    return 1


if __name__ == "__main__":
    sys.exit(main())
