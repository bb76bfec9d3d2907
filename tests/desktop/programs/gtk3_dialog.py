#!/usr/bin/env python3
"""The dialog of dialog_program.py in GTK 3."""

import sys

import gi

gi.require_version("Atk", "1.0")
gi.require_version("Gdk", "3.0")
gi.require_version("Gtk", "3.0")
from gi.repository import Atk, Gdk, GLib, Gtk  # noqa: E402

from dialog_program import OBEYED, Program  # noqa: E402

KEYS = {Gdk.KEY_space: "space", Gdk.KEY_Return: "return"}


class Dialog:
    def __init__(self, program, number, title, text, buttons, default, parent):
        self.program, self.number, self.buttons = program, number, buttons
        self.nested_loop = None
        self.window = Gtk.Dialog(title=title, modal=True)
        self.window.set_transient_for(parent and parent.window)
        self.window.set_default_size(420, 160)
        self.text = Gtk.Label(label=text)
        row = Gtk.Box(spacing=30, margin=20)
        self.widgets = {}
        for label, kind in buttons:
            self.widgets[label] = self.area(label, kind) if kind == "area" else self.button(label, kind)
            row.pack_start(self.widgets[label], True, True, 0)
        if default in self.widgets:
            self.widgets[default].set_can_default(True)
            self.window.set_default(self.widgets[default])
            self.widgets[default].grab_focus()
        content = self.window.get_content_area()
        content.pack_start(self.text, True, True, 0)
        content.pack_start(row, False, False, 0)
        if program.is_described:
            self.text.set_label("")
            self.window.get_accessible().set_description(text)
        self.window.show_all()

    def button(self, label, kind):
        button = Gtk.Button(label=label)
        button.connect("clicked", lambda _: self.program.hit(self, label, kind, "press"))
        if kind in OBEYED:
            self.listen(button, label, kind)
        return button

    def area(self, label, kind):
        area = Gtk.EventBox(can_focus=True)
        area.add(Gtk.Label(label="paint"))
        area.get_accessible().set_role(Atk.Role.PUSH_BUTTON)
        area.get_accessible().set_name(label)
        self.listen(area, label, kind)
        return area

    def listen(self, widget, label, kind):
        def on_key(_, event):
            if event.keyval in KEYS:
                self.program.hit(self, label, kind, KEYS[event.keyval])
            return event.keyval in KEYS

        def on_mouse(_, event):
            width, height = event.window.get_width(), event.window.get_height()
            is_central = abs(event.x - width / 2) <= 2 and abs(event.y - height / 2) <= 2
            self.program.hit(self, label, kind, "mouse" if is_central else "mouse off centre")
            return True

        widget.connect("key-press-event", on_key)
        widget.connect("button-press-event", on_mouse)

    def run(self):
        """Until it is closed, as a handler does that asks back."""
        self.nested_loop = GLib.MainLoop()
        self.nested_loop.run()

    def close(self):
        self.window.destroy()
        if self.nested_loop:
            self.nested_loop.quit()

    def set_text(self, text):
        self.text.set_label(text)

    def disable(self, label):
        self.widgets[label].set_sensitive(False)

    def relabel(self, old, new):
        self.widgets[old].set_label(new)


class Toolkit:
    open = Dialog


if __name__ == "__main__":
    sys.exit(Program(Toolkit).main())
