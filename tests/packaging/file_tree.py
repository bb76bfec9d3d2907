"""What is in a system's file tree, and what came of it."""

import hashlib
import os
import stat
import typing

# What package tools and the dynamic linker write down for themselves about what is installed.
_BOOKKEEPING = ("/var/lib/dpkg/", "/var/lib/apt/", "/var/cache/apt/", "/var/cache/debconf/", "/var/cache/ldconfig/",
                "/var/log/")
_REWRITTEN = ("/etc/ld.so.cache",)


class Change(typing.NamedTuple):
    what: str
    path: str


class FileTree:
    """Each path with what it is: kind, mode, owner, and content or target."""

    def __init__(self, entries):
        self._entries = entries

    @classmethod
    def read(cls, root):
        """All but what is mounted below the root."""
        root, entries = str(root), {}
        device = os.lstat(root).st_dev
        for folder, names, files in os.walk(root):
            for name in names + files:
                path = os.path.join(folder, name)
                status = os.lstat(path)
                inside = path[len(root):]
                if not inside.startswith(_BOOKKEEPING) and inside not in _REWRITTEN:
                    entries[inside] = cls._described(path, status)
            names[:] = [name for name in names if cls._is_on(device, os.path.join(folder, name))]
        return cls(entries)

    @staticmethod
    def _is_on(device, path):
        # An overlay gives folders its own device number, and files the one of their layer.
        return os.lstat(path).st_dev == device

    @staticmethod
    def _described(path, status):
        content = ""
        if stat.S_ISREG(status.st_mode):
            with open(path, "rb") as file:
                content = hashlib.file_digest(file, "sha256").hexdigest()
        elif stat.S_ISLNK(status.st_mode):
            content = os.readlink(path)
        return stat.filemode(status.st_mode), status.st_uid, status.st_gid, content

    def changes(self, after):
        """What became of it, by path."""
        old, new = self._entries, after._entries
        found = [Change("added", path) for path in new.keys() - old.keys()]
        found += [Change("removed", path) for path in old.keys() - new.keys()]
        found += [Change("changed", path) for path in old.keys() & new.keys() if old[path] != new[path]]
        return sorted(found, key=lambda change: change.path)
