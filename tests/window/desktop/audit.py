"""What assistive programs see of the status window, as the accessibility bus tells it.

audit.py tree          the window's elements from top to bottom, as JSON
audit.py press NAME    does the first action of the showing button with this name
"""

import json
import sys
import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi  # noqa: E402

STATES = ("ENABLED", "SENSITIVE", "SHOWING", "VISIBLE", "FOCUSABLE", "FOCUSED", "ACTIVE", "MODAL")


def windows():
    desktop = Atspi.get_desktop(0)
    for i in range(desktop.get_child_count()):
        application = desktop.get_child_at_index(i)
        if application is None or application.get_name() != "tallyfox-window-stage":
            continue
        for j in range(application.get_child_count()):
            window = application.get_child_at_index(j)
            if window is not None and window.get_state_set().contains(Atspi.StateType.SHOWING):
                yield window


def described(element):
    states = element.get_state_set()
    action = element.get_action_iface()
    place = element.get_component_iface().get_extents(Atspi.CoordType.SCREEN)
    return {
        "left": place.x,
        "right": place.x + place.width,
        "role": element.get_role_name(),
        "name": element.get_name(),
        "description": element.get_description(),
        "states": [name for name in STATES if states.contains(getattr(Atspi.StateType, name))],
        "actions": [action.get_action_name(i) for i in range(action.get_n_actions())] if action else [],
    }


def walk(element, depth=0):
    yield depth, element
    for i in range(element.get_child_count()):
        child = element.get_child_at_index(i)
        if child is not None:
            yield from walk(child, depth + 1)


def awaited():
    """The windows, once the program has registered itself."""
    for _ in range(200):
        found = list(windows())
        if found:
            return found
        time.sleep(0.05)
    sys.exit("no window")


def main():
    if sys.argv[1] == "tree":
        tree = [{"depth": depth, **described(e)} for w in awaited() for depth, e in walk(w)]
        print(json.dumps(tree))
        return
    for window in awaited():
        for _, element in walk(window):
            showing = element.get_state_set().contains(Atspi.StateType.SHOWING)
            if showing and element.get_name() == sys.argv[2] and element.get_action_iface():
                print(element.get_action_iface().do_action(0))
                return
    sys.exit("no such button")


main()
