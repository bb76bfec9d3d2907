"""What the programs of the Mac are made of."""

import dataclasses
import pathlib
import re

# The rooms whose code runs everywhere; the seam itself is "platform".
PORTABLE_ROOMS = ("base", "model", "platform", "detection", "actions", "relay", "pairing", "system", "ui", "app",
                  "platform/posix")


@dataclasses.dataclass
class Program:
    name: str
    sources: list
    frameworks: list
    # Undefined symbols that a library of this program alone brings.
    brought: tuple = ()


def frameworks(root):
    """The frameworks of the Mac that the application is linked with, from the list that CMake reads too."""
    listed = (root / "src/platform/macos/frameworks.txt").read_text(encoding="utf-8").splitlines()
    return [name for name in (line.strip() for line in listed) if name and not name.startswith("#")]


def sources_in(folder, *, below=False):
    found = folder.rglob("*") if below else folder.glob("*")
    return sorted(path for path in found if path.suffix in (".cpp", ".mm") and path.is_file())


def portable(root):
    # The Mac's own random source stands for OpenSSL's.
    replaced = root / "src/base/SecureRandom.cpp"
    return [source for room in PORTABLE_ROOMS for source in sources_in(root / "src" / room) if source != replaced]


def backend(root, has_sparkle):
    """The Mac's own sources: with the headers of the update framework its updater, else what stands in for it."""
    left_out = "SparkleAbsent" if has_sparkle else "SparkleUpdater"
    return [source for source in sources_in(root / "src/platform/macos", below=True) if source.stem != left_out]


def product(root, has_sparkle):
    return Program("Tallyfox", portable(root) + backend(root, has_sparkle), frameworks(root))


def contract_tests(root, has_sparkle):
    """The contract suites over the Mac's backend, where they are written; none otherwise."""
    tests = sources_in(pathlib.Path(root, "tests/contract/macos"), below=True)
    if not tests:
        return []
    tested = [source for source in backend(root, has_sparkle) if source.stem != "main"]
    memory = sources_in(root / "src/platform/memory")
    googletest = (re.compile(r"^__Z.*7testing"), re.compile(r"^_main$"))
    return [Program("test_contract_macos", portable(root) + tested + memory + tests, frameworks(root), googletest)]
