#!/usr/bin/env python3
"""The dialog of dialog_program.py in GTK 4."""

import sys

import gi

gi.require_version("Gdk", "4.0")
gi.require_version("Gtk", "4.0")
from gi.repository import Gdk, GLib, Gtk  # noqa: E402

from dialog_program import OBEYED, Program  # noqa: E402

KEYS = {Gdk.KEY_space: "space", Gdk.KEY_Return: "return"}


class Dialog:
    def __init__(self, program, number, title, text, buttons, default, parent):
        self.program, self.number, self.buttons = program, number, buttons
        self.nested_loop = None
        self.window = Gtk.Dialog(title=title, modal=True)
        self.window.set_transient_for(parent and parent.window)
        self.window.set_default_size(420, 160)
        self.text = Gtk.Label(label=text, vexpand=True)
        row = Gtk.Box(spacing=30, margin_start=20, margin_end=20, margin_top=20, margin_bottom=20)
        self.widgets = {}
        for label, kind in buttons:
            self.widgets[label] = self.area(label, kind) if kind == "area" else self.button(label, kind)
            self.widgets[label].set_hexpand(True)
            row.append(self.widgets[label])
        if default in self.widgets:
            self.window.set_default_widget(self.widgets[default])
        content = self.window.get_content_area()
        content.append(self.text)
        content.append(row)
        if program.is_described:
            self.text.set_label("")
            self.window.update_property([Gtk.AccessibleProperty.DESCRIPTION], [text])
        self.window.present()
        if default in self.widgets:
            # A dialog that comes up gives its focus to the first button.
            GLib.idle_add(lambda: self.widgets[default].grab_focus() and False)

    def button(self, label, kind):
        # As most programs have it: with a key of its own.
        button = Gtk.Button(label=f"_{label}", use_underline=True)
        button.connect("clicked", lambda _: self.program.hit(self, label, kind, "press"))
        if kind in OBEYED:
            self.listen(button, label, kind)
        return button

    def area(self, label, kind):
        area = Gtk.Box(accessible_role=Gtk.AccessibleRole.BUTTON, focusable=True)
        area.append(Gtk.Label(label="paint"))
        area.update_property([Gtk.AccessibleProperty.LABEL], [label])
        self.listen(area, label, kind)
        return area

    def listen(self, widget, label, kind):
        def on_key(_, value, _code, _state):
            if value in KEYS:
                self.program.hit(self, label, kind, KEYS[value])
            return value in KEYS

        def on_mouse(gesture, _count, x, y):
            gesture.set_state(Gtk.EventSequenceState.CLAIMED)
            is_central = abs(x - widget.get_width() / 2) <= 2 and abs(y - widget.get_height() / 2) <= 2
            self.program.hit(self, label, kind, "mouse" if is_central else "mouse off centre")

        keys = Gtk.EventControllerKey(propagation_phase=Gtk.PropagationPhase.CAPTURE)
        keys.connect("key-pressed", on_key)
        widget.add_controller(keys)
        # The button's own, which would press it too.
        for controller in list(widget.observe_controllers()):
            if isinstance(controller, Gtk.GestureClick):
                widget.remove_controller(controller)
        clicks = Gtk.GestureClick(propagation_phase=Gtk.PropagationPhase.CAPTURE, button=1)
        clicks.connect("pressed", on_mouse)
        widget.add_controller(clicks)

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
    Gtk.init()
    sys.exit(Program(Toolkit).main())
