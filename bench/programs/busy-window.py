#!/usr/bin/env python3
"""A program at work: thirty times a second it writes a line, changes a label and scrolls a list of 1,000 rows, and above
them it has a line to type into. Prints "ready" once it is shown and "typed N" after each change of that line."""

import gi

gi.require_version("Gtk", "3.0")
from gi.repository import GLib, Gtk  # noqa: E402

ROWS = 1000
LINES_KEPT = 200
MILLISECONDS_A_STEP = 33


class BusyWindow(Gtk.Window):
    def __init__(self):
        super().__init__(title="Busy")
        self.set_default_size(400, 500)
        self._line = Gtk.Entry()
        self._line.connect("changed", lambda line: print("typed", line.get_text_length(), flush=True))
        self._label = Gtk.Label()
        self._log = Gtk.TextView(editable=False)
        self._rows = Gtk.ScrolledWindow(vexpand=True)
        store = Gtk.ListStore(str)
        for row in range(ROWS):
            store.append([f"Row {row}"])
        view = Gtk.TreeView(model=store)
        view.append_column(Gtk.TreeViewColumn("Name", Gtk.CellRendererText(), text=0))
        self._rows.add(view)
        written = Gtk.ScrolledWindow(vexpand=True)
        written.add(self._log)
        box = Gtk.Box(orientation=Gtk.Orientation.VERTICAL)
        for part in (self._line, self._label, written, self._rows):
            box.add(part)
        self.add(box)
        self._step = 0
        GLib.timeout_add(MILLISECONDS_A_STEP, self._work)
        self.connect("map-event", lambda *_: print("ready", flush=True))
        self.show_all()
        self._line.grab_focus()

    def _work(self):
        self._step += 1
        self._label.set_text(f"{self._step} steps")
        text = self._log.get_buffer()
        text.insert(text.get_end_iter(), f"line {self._step}\n")
        if text.get_line_count() > LINES_KEPT:
            text.delete(text.get_start_iter(), text.get_iter_at_line(1))
        place = self._rows.get_vadjustment()
        top = place.get_upper() - place.get_page_size()
        place.set_value(self._step * 20 % max(top, 1))
        return True


BusyWindow().connect("destroy", Gtk.main_quit)
Gtk.main()
