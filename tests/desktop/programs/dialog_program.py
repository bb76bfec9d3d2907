"""A dialog whose buttons obey what they are told to obey, and which says on standard output what hit it.

usage: PROGRAM TITLE TEXT LABEL=KIND... [--default=LABEL]

What the programs of all toolkits have in common. Lines on standard output:
  Erase press              somebody pressed the button: by its action, or as its toolkit understands keys and clicks
  Erase space, Erase return, Erase mouse
                           a button that is not ordinary got the key, or the left button in its middle
  Erase mouse off centre   the same, elsewhere
  done                     the command from standard input was carried out
Hits of the second, third... dialog begin with its number: "2: Erase press". The program ends with 10 plus the place of
the button that closed the last dialog, from the left.

The default button has the focus at first, else the leftmost. With --described no label shows the text: the dialog's
description says it, to assistive technologies alone.

Kinds: press is an ordinary button; space, return, mouse and nothing obey that alone and have an action that says yes
and does nothing; area obeys the mouse and has no action. Obeying a press, late closes half a second afterwards, disable
greys itself, relabel calls itself Retry, nest asks back in a modal dialog before it closes, alike does so in one with
the same title and size, stop stops the process first, crash ends it.

Commands on standard input, one a line: "disable LABEL", "close" (the first dialog), "text NEW TEXT", "twin" (opens the
same dialog again), and "replace TEXT|LABEL=KIND|..." (closes the first and opens another with the same title)."""

import os
import signal
import sys

from gi.repository import GLib

OBEYED = {"space": "space", "return": "return", "mouse": "mouse", "area": "mouse", "nothing": None}
FIRST_STATUS = 10
NEST_TITLE = "Really?"
NEST_TEXT = "Are you sure that you really want to erase it?"


def say(line):
    print(line, flush=True)


class Program:
    """Runs the dialogs. `toolkit` has open(self, number, title, text, buttons, default, parent), which gives a dialog with
    close(), set_text(text), disable(label), relabel(old, new) and run(), and calls hit() for what it gets."""

    def __init__(self, toolkit):
        self.toolkit = toolkit
        self.title, self.text, *rest = [word for word in sys.argv[1:] if not word.startswith("--")]
        self.is_described = "--described" in sys.argv
        self.buttons = [tuple(word.split("=")) for word in rest]
        defaults = [word.split("=", 1)[1] for word in sys.argv[1:] if word.startswith("--default=")]
        self.default = defaults[0] if defaults else None
        self.dialogs = []
        self.opened = 0
        self.loop = GLib.MainLoop()
        self.status = 0

    def main(self):
        self.open(self.text, self.buttons)
        GLib.io_add_watch(sys.stdin.fileno(), GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP, self.on_command)
        self.loop.run()
        return self.status

    def open(self, text, buttons, title=None, parent=None):
        self.opened += 1
        dialog = self.toolkit.open(self, self.opened, title or self.title, text, buttons, self.default, parent)
        self.dialogs.append(dialog)
        return dialog

    def hit(self, dialog, label, kind, how):
        mark = "" if dialog.number == 1 else f"{dialog.number}: "
        say(f"{mark}{label} {how}")
        if how.split()[0] == OBEYED.get(kind, "press"):
            getattr(self, f"obey_{kind}", self.finish)(dialog, label)

    def finish(self, dialog, label):
        if dialog not in self.dialogs:
            return
        self.status = FIRST_STATUS + [name for name, _ in dialog.buttons].index(label)
        self.dialogs.remove(dialog)
        dialog.close()
        if not self.dialogs:
            self.loop.quit()

    def obey_late(self, dialog, label):
        GLib.timeout_add(500, lambda: self.finish(dialog, label))

    def obey_disable(self, dialog, label):
        dialog.disable(label)

    def obey_relabel(self, dialog, label):
        dialog.relabel(label, "Retry")

    def obey_nest(self, dialog, label, title=NEST_TITLE):
        nested = self.open(NEST_TEXT, [("No", "press"), ("Yes", "press")], title, dialog)
        nested.run()
        self.finish(dialog, label)

    def obey_alike(self, dialog, label):
        self.obey_nest(dialog, label, self.title)

    def obey_stop(self, dialog, label):
        os.kill(os.getpid(), signal.SIGSTOP)
        self.finish(dialog, label)

    def obey_crash(self, _dialog, _label):
        os._exit(99)

    def on_command(self, channel, _condition):
        line = os.read(sys.stdin.fileno(), 4096).decode()
        if not line:
            return False
        for command in line.splitlines():
            word, _, rest = command.partition(" ")
            getattr(self, f"command_{word}")(rest)
            say("done")
        return True

    def command_disable(self, label):
        self.dialogs[0].disable(label)

    def command_close(self, _):
        self.dialogs.pop(0).close()

    def command_text(self, text):
        self.dialogs[0].set_text(text)

    def command_twin(self, _):
        self.open(self.text, self.buttons)

    def command_replace(self, rest):
        self.command_close("")
        text, *buttons = rest.split("|")
        self.open(text, [tuple(word.split("=")) for word in buttons])
