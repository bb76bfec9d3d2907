#!/usr/bin/env python3
"""The ordinary way to read a desktop: a synchronous walk with python3-pyatspi. For every window of every program at most
120 elements depth-first, each with role, name, description, screen extents, states and children.

Answers each line "scan" with "windows elements milliseconds processor-milliseconds"."""

import sys
import time

import pyatspi

ELEMENTS_PER_WINDOW = 120


def extents(element):
    try:
        return element.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    except NotImplementedError:
        return None


def read(element):
    return (element.getRole(), element.name, element.description, extents(element), element.getState().getStates())


def walk(element, budget):
    """Reads an element and what lies below it; the number of elements read."""
    count = 1
    read(element)
    for index in range(element.childCount):
        if count >= budget:
            break
        child = element.getChildAtIndex(index)
        if child is not None:
            count += walk(child, budget - count)
    return count


def scan():
    windows = elements = 0
    desktop = pyatspi.Registry.getDesktop(0)
    for place in range(desktop.childCount):
        program = desktop.getChildAtIndex(place)
        if program is None:
            continue
        for index in range(program.childCount):
            window = program.getChildAtIndex(index)
            if window is not None:
                windows += 1
                elements += walk(window, ELEMENTS_PER_WINDOW)
    return windows, elements


def main():
    for line in sys.stdin:
        if line.strip() != "scan":
            continue
        began, processor_began = time.monotonic(), time.process_time()
        windows, elements = scan()
        took, processor_took = time.monotonic() - began, time.process_time() - processor_began
        print(windows, elements, f"{took * 1000:.3f}", f"{processor_took * 1000:.3f}", flush=True)


if __name__ == "__main__":
    main()
