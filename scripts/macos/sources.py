"""What the programs of the Mac are made of."""

import dataclasses
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


def backend(root, *, sparkle):
    """The Mac's backend without its main. Where Sparkle's headers are, updates come by it, else there are none."""
    other = "SparkleAbsent.mm" if sparkle else "SparkleUpdater.mm"
    return [source for source in sources_in(root / "src/platform/macos", below=True)
            if source.name not in ("main.mm", other)]


def programs(root, *, sparkle):
    """The application, with Sparkle also as it is built without; the contract suites over its backend with the program
    that those act upon; and the tests of what needs Apple headers but no desktop."""
    main = [root / "src/platform/macos/main.mm"]
    every = [Program("Tallyfox", portable(root) + backend(root, sparkle=False) + main, frameworks(root))]
    if sparkle:
        every.append(Program("Tallyfox-with-Sparkle", portable(root) + backend(root, sparkle=True) + main,
                             frameworks(root)))
    tests = root / "tests/contract/macos"
    libraries = portable(root) + sources_in(root / "src/platform/memory") + backend(root, sparkle=sparkle)
    # GoogleTest also brings the main of the last one.
    brought = (re.compile(r"^__Z.*7testing"), re.compile(r"^__Z.*5boost"))
    for name, folder, more in (("test_contract_macos", tests, ()), ("contract-stage", tests / "stage", ()),
                               ("test_macos", root / "tests/macos", (re.compile(r"^_main$"),))):
        every.append(Program(name, libraries + sources_in(folder), frameworks(root), brought + more))
    return every
