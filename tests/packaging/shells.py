"""Shells at a terminal of their own: what a line becomes when its owner presses the tab key."""

import os
import pty
import select
import time


class Shell:
    """An interactive shell in emacs mode, which is where both start."""

    def __init__(self, command, environment, setup):
        self._pid, self._terminal = pty.fork()
        if self._pid == 0:
            os.execvpe(command[0], command, environment)
        self._heard = ""
        self.run(setup)

    def close(self):
        os.close(self._terminal)
        os.waitpid(self._pid, 0)

    def run(self, line):
        """Enters a line and waits until it is done."""
        self._send(line + "; echo do''ne\n")
        self._wait_for("done")

    def completed(self, line):
        """The line after the tab key, blanks at its end included."""
        # A command put around the line shows it, so that the terminal's control codes do not count.
        self._send(line + "\t")
        self._send("\x01echo 'line'\"<\x05>\"\n")
        return self._wait_for("line<", ">")

    def _send(self, text):
        os.write(self._terminal, text.encode())

    def _wait_for(self, begin, end="", patience=20.0):
        """What is printed between the two, from now on; both are printed by a command, not by the line editor."""
        deadline = time.monotonic() + patience
        while True:
            at = self._heard.find(begin)
            until = self._heard.find(end, at + len(begin)) if at >= 0 else -1
            if until >= 0:
                found, self._heard = self._heard[at + len(begin):until], self._heard[until + len(end):]
                return found
            if not select.select([self._terminal], [], [], max(0.0, deadline - time.monotonic()))[0]:
                raise RuntimeError(f"the shell said only: {self._heard!r}")
            self._heard += os.read(self._terminal, 4096).decode(errors="replace")
