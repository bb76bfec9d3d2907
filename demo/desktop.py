"""A private desktop: an X display, a window manager, a session bus and an accessibility bus, with a HOME of its own."""

import os
import pathlib
import re
import subprocess
import time

import processes


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
            "GTK_CSD": "0",
            "NO_AT_BRIDGE": "0",
            "QT_QPA_PLATFORM": "xcb",
        }
        self._start_display()
        self._start_session_bus(runtime)
        self._enable_accessibility()
        self._start_window_manager()
        self._spy = self._start("client-list", ["xprop", "-root", "-spy", "_NET_CLIENT_LIST"])
        self._spy.lines.wait(lambda line: "_NET_CLIENT_LIST" in line)

    def _start(self, name, command, **options):
        return processes.start(command, self.environment, self.logs / f"{name}.log", **options)

    def _start_display(self):
        reader, writer = os.pipe()
        self._start("display", ["Xvfb", "-displayfd", str(writer), "-screen", "0", "1280x800x24", "-nolisten", "tcp"],
                    pass_fds=[writer])
        os.close(writer)
        with os.fdopen(reader) as numbers:
            number = numbers.readline().strip()
        if not number:
            raise RuntimeError("the X display did not start")
        self.environment["DISPLAY"] = f":{number}"

    def _start_session_bus(self, runtime):
        address = f"unix:path={runtime}/bus"
        self._start("session-bus", ["dbus-daemon", "--session", "--nofork", f"--address={address}"])
        deadline = time.monotonic() + 10
        while not pathlib.Path(runtime, "bus").exists():
            if time.monotonic() > deadline:
                raise RuntimeError("the session bus did not start")
            time.sleep(0.01)
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
        return self._spy.lines.count()

    def windows(self, line=None):
        return set(re.findall(r"0x[0-9a-f]+", line if line is not None else self._property("_NET_CLIENT_LIST")))

    def wait_for_new_window(self, before, mark, timeout=20.0):
        """The moment at which a window appeared that was not in `before`, and the window; None when none did."""
        hit = self._spy.lines.wait(lambda line: self.windows(line) - before, mark, timeout)
        return (hit[0], (self.windows(hit[1]) - before).pop()) if hit else None

    def wait_until_gone(self, window, mark, timeout=20.0):
        """The moment at which the window left the list; None when it stayed."""
        hit = self._spy.lines.wait(lambda line: window not in self.windows(line), mark, timeout)
        return hit[0] if hit else None

    def screenshot(self, path):
        subprocess.run(["import", "-silent", "-window", "root", str(path)], env=self.environment, check=True)
