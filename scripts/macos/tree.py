"""A tree of the Mac's headers, made to look like a whole SDK, and the headers of other libraries beside it."""

import pathlib
import re
import shutil


class TreeError(Exception):
    """What is wrong with a tree or a tool, in one line."""


def linked_folder(folder):
    """An empty folder for links to elsewhere."""
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    return folder


class Tree:
    """The folders that the compiler and the linker search.

    sdk: a folder laid out as an SDK, of links where the given one is laid out otherwise
    third_party: a folder with links to the headers of the libraries that the application brings
    framework_folders: where frameworks lie that the SDK lacks
    """

    def __init__(self, given, more_frameworks, sparkle, build):
        self.sdk = self._as_sdk(given, build)
        self.framework_folders = []
        if more_frameworks is not None:
            if not any(more_frameworks.glob("*.framework")):
                raise TreeError(f"{more_frameworks} holds no frameworks.")
            self.framework_folders.append(more_frameworks.resolve())
        self.third_party = self._third_party(linked_folder(build / "third-party"))
        if sparkle is not None:
            self._add_sparkle(sparkle, build)
        self.cxx_headers = self._cxx_headers()

    def require_frameworks(self, names):
        for name in names:
            if self.framework(name) is None:
                raise TreeError(f"The tree has no {name}.framework; --frameworks DIR can name a folder that has it.")

    def framework(self, name):
        """Where a framework lies; nothing if nowhere."""
        for folder in (self.sdk / "System/Library/Frameworks", *self.framework_folders):
            if (folder / f"{name}.framework").is_dir():
                return folder / f"{name}.framework"
        return None

    @property
    def system_library(self):
        """The description of the Mac's system library, which parts of an SDK lack."""
        return self.sdk / "usr/lib/libSystem.tbd"

    @staticmethod
    def _as_sdk(given, build):
        if not given.is_dir():
            raise TreeError(f"There is no folder {given}.")
        given = given.resolve()
        if (given / "System/Library/Frameworks").is_dir():
            sdk, parts = given, ("System/Library/Frameworks", "usr/include", "usr/lib")
        else:
            sdk, parts = build / "sdk", ("Frameworks", "include", "lib")
        for part in parts:
            if not (given / part).is_dir():
                raise TreeError(f"{given} is no tree of the Mac's headers: it has no {part}.")
        if sdk != given:
            linked_folder(sdk)
            (sdk / "usr").mkdir()
            for part in parts[1:]:
                (sdk / "usr" / part).symlink_to(given / part)
            frameworks = sdk / "System/Library/Frameworks"
            frameworks.mkdir(parents=True)
            for framework in (given / parts[0]).glob("*.framework"):
                Tree._link_framework(framework, frameworks / framework.name)
        return sdk

    @staticmethod
    def _link_framework(given, framework):
        """Links to a framework's parts. Other frameworks name it by its place on a Mac, a folder per version."""
        framework.mkdir()
        for part in given.iterdir():
            if part.name != "Versions":
                (framework / part.name).symlink_to(part)
        description = given / f"{given.stem}.tbd"
        if not description.is_file():
            return
        named = re.search(r"install-name:\s*'?(\S+?)'?\s", description.read_text(encoding="utf-8", errors="replace"))
        place = pathlib.PurePosixPath(named[1]).parent if named else None
        if place is not None and place.parts[-2] == "Versions":
            (framework / "Versions" / place.name).mkdir(parents=True)
            (framework / "Versions" / place.name / description.name).symlink_to(description)

    @staticmethod
    def _third_party(folder):
        """Links to the headers that Debian's packages have: /usr/include itself would bring Linux's C library along."""
        include = pathlib.Path("/usr/include")
        for name, package in (("fmt", "libfmt-dev"), ("nlohmann", "nlohmann-json3-dev"), ("openssl", "libssl-dev"),
                              ("qrcodegen", "libqrcodegencpp-dev"), ("unicode", "libicu-dev")):
            if not (include / name).is_dir():
                raise TreeError(f"The headers of {name} are missing: install {package}.")
            (folder / name).mkdir()
            # OpenSSL keeps what depends on the machine in a folder of that machine.
            for header in (*include.glob(f"*-linux-gnu/{name}/*"), *(include / name).iterdir()):
                if not (folder / name / header.name).exists():
                    (folder / name / header.name).symlink_to(header)
        # Of the tests alone, so not missed.
        for name in ("gtest", "gmock", "boost"):
            if (include / name).is_dir():
                (folder / name).symlink_to(include / name)
        return folder

    def _add_sparkle(self, given, build):
        if given.name == "Sparkle.framework" and (given / "Headers").is_dir():
            self.framework_folders.append(given.resolve().parent)
        elif (given / "Sparkle.framework/Headers").is_dir():
            self.framework_folders.append(given.resolve())
        elif (given / "Sparkle/Sparkle.h").is_file():
            self.framework_folders.append(self._sparkle_of_sources(given.resolve() / "Sparkle", build))
        else:
            raise TreeError(f"{given} holds neither Sparkle.framework nor Sparkle's sources.")

    @staticmethod
    def _sparkle_of_sources(sources, build):
        """A framework of the headers that Sparkle publishes: those that its chief header names, and theirs."""
        folder = linked_folder(build / "sparkle")
        headers = linked_folder(folder / "Sparkle.framework/Headers")
        waiting = ["Sparkle.h"]
        while waiting:
            name = waiting.pop()
            source = next(sources.rglob(name), None)
            if source is None or (headers / name).exists():
                continue
            (headers / name).symlink_to(source)
            text = source.read_text(encoding="utf-8")
            waiting += re.findall(r'#\s*(?:import|include)\s*(?:<Sparkle/|")([\w+]+\.h)[>"]', text)
        return folder

    def _cxx_headers(self):
        own = self.sdk / "usr/include/c++/v1"
        if (own / "vector").is_file():
            return own
        debian = pathlib.Path("/usr/lib/llvm-19/include/c++/v1")
        if (debian / "vector").is_file():
            return debian
        raise TreeError("The tree has no C++ library: install libc++-19-dev.")
