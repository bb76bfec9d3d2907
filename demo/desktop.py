"""A private desktop: an X display, a window manager, a session bus and an accessibility bus, with a HOME of its own."""

import dataclasses
import math
import os
import pathlib
import re
import shutil
import subprocess
import tempfile
import time

import processes


def _identifiers(line):
    return re.findall(r"0x[0-9a-f]+", line)


@dataclasses.dataclass(frozen=True)
class Frame:
    """A window's place on the display, in pixels."""
    x: float
    y: float
    width: float
    height: float

    def distance(self, other):
        """Between the two centres."""
        return math.hypot(self.x + self.width / 2 - other.x - other.width / 2,
                          self.y + self.height / 2 - other.y - other.height / 2)

    def holds(self, other):
        return (self.x <= other.x and self.y <= other.y and self.x + self.width >= other.x + other.width
                and self.y + self.height >= other.y + other.height)


class Desktop:
    """Nothing of the desktop that this is started from is seen or touched: only PATH and the locale are taken over."""

    def __init__(self, folder, logs):
        self.home = folder / "home"
        self.logs = logs
        runtime = folder / "run"
        temporary = folder / "tmp"
        for path in (self.home, runtime, temporary):
            path.mkdir(mode=0o700, parents=True)
        self.environment = {
            "HOME": str(self.home),
            "PATH": os.environ.get("PATH", "/usr/bin:/bin"),
            "LANG": "C.UTF-8",
            "TMPDIR": str(temporary),
            "XDG_RUNTIME_DIR": str(runtime),
            "XDG_DATA_HOME": str(self.home / ".local/share"),
            "XDG_CONFIG_HOME": str(self.home / ".config"),
            "XDG_CURRENT_DESKTOP": "Openbox",
            "GSETTINGS_BACKEND": "memory",
            "GTK_CSD": "0",
            "NO_AT_BRIDGE": "0",
            "QT_QPA_PLATFORM": "xcb",
        }
        self._start_display()
        self._start_session_bus(runtime)
        self._enable_accessibility()
        self._start_window_manager()
        self._list = self._spy("client-list", "_NET_CLIENT_LIST")
        self._front = self._spy("active-window", "_NET_ACTIVE_WINDOW")

    def _start(self, name, command, **options):
        return processes.start(command, self.environment, self.logs / f"{name}.log", **options)

    def _spy(self, name, property_name):
        spy = self._start(name, ["xprop", "-root", "-spy", property_name])
        spy.lines.wait(lambda line: property_name in line)
        return spy.lines

    def _start_display(self):
        reader, writer = os.pipe()
        # A display that resets when its last client leaves would drop whoever is just connecting.
        self.display = self._start("display", ["Xvfb", "-displayfd", str(writer), "-screen", "0", "1280x800x24",
                                               "-nolisten", "tcp", "-noreset"], pass_fds=[writer])
        os.close(writer)
        with os.fdopen(reader) as numbers:
            number = numbers.readline().strip()
        if not number:
            raise RuntimeError("the X display did not start")
        self.environment["DISPLAY"] = f":{number}"

    def _start_session_bus(self, runtime):
        address = f"unix:path={runtime}/bus"
        # Accessibility is the one service that a call may start: what else this machine has, a keyring above all, must
        # not decide what happens here.
        services = runtime / "services"
        services.mkdir()
        shutil.copy("/usr/share/dbus-1/services/org.a11y.Bus.service", services)
        configuration = runtime / "session.conf"
        configuration.write_text(
            '<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN" '
            '"http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">'
            f"<busconfig><type>session</type><listen>{address}</listen><auth>EXTERNAL</auth>"
            f"<servicedir>{services}</servicedir>"
            '<policy context="default"><allow send_destination="*" eavesdrop="true"/><allow eavesdrop="true"/>'
            '<allow own="*"/></policy></busconfig>', encoding="utf-8")
        bus = self._start("session-bus", ["dbus-daemon", f"--config-file={configuration}", "--nofork",
                                          "--print-address"])
        if not bus.lines.wait(lambda line: line.startswith("unix:")):
            raise RuntimeError("the session bus did not start")
        self.environment["DBUS_SESSION_BUS_ADDRESS"] = address

    def _enable_accessibility(self):
        subprocess.run(["dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
                        "org.freedesktop.DBus.Properties.Set", "string:org.a11y.Status", "string:IsEnabled",
                        "variant:boolean:true"], env=self.environment, check=True, stdout=subprocess.DEVNULL)

    def _start_window_manager(self):
        self._start("window-manager", ["openbox", "--sm-disable"])
        deadline = time.monotonic() + 10
        while "window id" not in self._property("_NET_SUPPORTING_WM_CHECK"):
            if time.monotonic() > deadline:
                raise RuntimeError("the window manager did not start")
            time.sleep(0.02)
        subprocess.run(["xsetroot", "-solid", "#3b5168"], env=self.environment, check=True)

    def _property(self, name):
        return subprocess.run(["xprop", "-root", name], env=self.environment, check=True, text=True,
                              capture_output=True).stdout

    def mark(self):
        """A place in the history of the window list, for the waits below."""
        return self._list.count()

    def windows(self, line=None):
        return set(_identifiers(line if line is not None else self._property("_NET_CLIENT_LIST")))

    def wait_for_new_window(self, before, mark, timeout=20.0):
        """The moment at which a window appeared that was not in `before`, and the window; None when none did."""
        hit = self._list.wait(lambda line: self.windows(line) - before, mark, timeout)
        return (hit[0], (self.windows(hit[1]) - before).pop()) if hit else None

    def frame(self, window):
        """The window without its title bar; None when there is no such window."""
        outcome = subprocess.run(["xwininfo", "-id", window], env=self.environment, text=True, capture_output=True)
        numbers = [re.search(rf"{name}: +(-?\d+)", outcome.stdout)
                   for name in ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")]
        return Frame(*(int(number.group(1)) for number in numbers)) if all(numbers) else None

    def stacking(self):
        """The windows from the lowest to the topmost."""
        return _identifiers(self._property("_NET_CLIENT_LIST_STACKING"))

    def act(self, *words):
        """Does what a person at the keyboard and the mouse would (the words of xdotool)."""
        subprocess.run(["xdotool", *map(str, words)], env=self.environment, check=True, stdout=subprocess.DEVNULL,
                       timeout=20)

    def activate(self, window, timeout=20.0):
        """Brings a window to the front and gives it the keyboard; says whether it got it."""
        mark = self._front.count()
        if int(window, 16) in self._active():
            return True
        self.act("windowactivate", window)
        return self._front.wait(lambda line: int(window, 16) in self._active(line), mark, timeout) is not None

    def _active(self, line=None):
        return {int(text, 16) for text in
                _identifiers(line if line is not None else self._property("_NET_ACTIVE_WINDOW"))}

    def move(self, window, x, y, timeout=20.0):
        """Moves a window; its frame when it has arrived somewhere else, None when it stayed."""
        before, deadline = self.frame(window), time.monotonic() + timeout
        self.act("windowmove", window, x, y)
        while time.monotonic() < deadline:
            after = self.frame(window)
            if after and before and after.distance(before) > 10:
                return after
            time.sleep(0.02)
        return None

    def wait_for_title(self, window, accept, timeout=20.0):
        """Whether the window gets a title that `accept` takes."""
        spy = self._start("titles", ["xprop", "-id", window, "-spy", "_NET_WM_NAME"])
        try:
            return spy.lines.wait(accept, timeout=timeout) is not None
        finally:
            processes.end(spy)

    def wait_until_one_gone(self, windows, mark, timeout=20.0):
        """The moment at which the first of the windows left the list, and which; None when all stayed."""
        hit = self._list.wait(lambda line: windows - self.windows(line), mark, timeout)
        return (hit[0], (windows - self.windows(hit[1])).pop()) if hit else None

    def wait_for_windows(self, windows, mark, timeout=20.0):
        """Whether the list comes to hold exactly these."""
        return self._list.wait(lambda line: self.windows(line) == windows, mark, timeout) is not None

    def code_on_screen(self):
        """What a phone's camera reads off the screen now; None when there is no code."""
        with tempfile.NamedTemporaryFile(suffix=".png") as picture:
            self.screenshot(picture.name)
            read = subprocess.run(["zbarimg", "--raw", "-q", "-Sdisable", "-Sqrcode.enable", picture.name], text=True,
                                  capture_output=True)
        return read.stdout.strip() or None

    def wait_for_code(self, accept=lambda _: True, timeout=20.0):
        """The first code on the screen that `accept` takes; None when there is none."""
        deadline = time.monotonic() + timeout
        while time.monotonic() < deadline:
            code = self.code_on_screen()
            if code and accept(code):
                return code
            time.sleep(0.05)
        return None

    def close(self, window, timeout=20.0):
        """Closes a window that has the usual key for it; says whether it went."""
        mark = self.mark()
        self.activate(window)
        self.act("key", "ctrl+w")
        return self.wait_until_one_gone({window}, mark, timeout) is not None

    def screenshot(self, path):
        subprocess.run(["import", "-silent", "-window", "root", str(path)], env=self.environment, check=True)
