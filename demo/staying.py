"""Leaves the desktop up for a person: how to watch it, how to be the phone, how to open a dialog."""

import secrets
import shlex
import socket
import string
import time

import processes

_TEXT = """
Everything is up: a desktop, the relay, the agent and a paired phone. Ctrl-C ends it all.

  Watch it      with a VNC viewer: 127.0.0.1:{port}, password {password}
  Ask           {inside} zenity --question --text 'Delete the old report?'
  Be the phone  {inside} tallyfox-phone list
                {inside} tallyfox-phone answer ID Yes
  More          {inside} tallyfox-phone --help
                {inside} xterm
  Logs          {logs}
"""


def stay(stage):
    """Returns when one of the parties ends by itself; a person ends it by interrupting."""
    password = "".join(secrets.choice(string.ascii_letters + string.digits) for _ in range(8))
    port, viewer = _share_display(stage, password)
    print(_TEXT.format(port=port, password=password, inside=_write_inside(stage), logs=stage.desktop.logs), flush=True)
    parties = {"display": stage.desktop.display, "relay": stage.relay.process, "agent": stage.agent.process,
               "VNC server": viewer}
    while True:
        for name, process in parties.items():
            if process.poll() is not None:
                print(f"The {name} ended by itself with {process.returncode}; so everything ends.")
                return 1
        time.sleep(0.5)


def _share_display(stage, password):
    """Shares the display on this machine's loopback alone. Every account of the machine reaches that, hence a password,
    new each time and kept from the process list; the protocol takes eight characters."""
    file = stage.desktop.home / "vnc-password"
    file.touch(mode=0o600)
    file.write_text(password + "\n", encoding="ascii")
    with socket.create_server(("127.0.0.1", 0)) as free:
        port = free.getsockname()[1]
    viewer = processes.start(["x11vnc", "-norc", "-display", stage.desktop.environment["DISPLAY"], "-localhost",
                              "-noipv6", "-no6", "-rfbport", str(port), "-passwdfile", str(file), "-forever",
                              "-shared"], stage.desktop.environment, stage.desktop.logs / "vnc.log")
    if not viewer.lines.wait(lambda line: line == f"PORT={port}"):
        raise RuntimeError("the VNC server did not start; see vnc.log")
    return port, viewer


def _write_inside(stage):
    """A command that runs another one on the private desktop."""
    script = stage.desktop.home.parent / "inside"
    environment = dict(stage.desktop.environment)
    environment["PATH"] = f"{stage.desktop.home / '.local/bin'}:{environment['PATH']}"
    lines = [f"export {name}={shlex.quote(value)}" for name, value in environment.items()]
    script.write_text("\n".join(["#!/bin/sh", *lines, 'exec "$@"', ""]), encoding="utf-8")
    script.chmod(0o700)
    return script
