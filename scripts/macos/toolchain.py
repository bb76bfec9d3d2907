"""The compiler and the linker, set as for the application."""

import os
import pathlib
import re
import shutil
import subprocess

from .tree import TreeError

ARCHITECTURES = ("arm64", "x86_64")
OLDEST_SYSTEM = "13.0"
COMPILER = "clang++-19"
LINKER = "ld64.lld-19"
WARNINGS = ("-Wall", "-Wextra", "-Wpedantic", "-Wconversion", "-Wshadow", "-Wunguarded-availability-new", "-Werror")


class Toolchain:
    def __init__(self, root, build, tree):
        for tool, package in ((COMPILER, "clang-19"), (LINKER, "lld-19")):
            if shutil.which(tool) is None:
                raise TreeError(f"{tool} is missing: install {package}.")
        self._root = root
        self._build = build
        self._tree = tree
        self._cache = [] if shutil.which("ccache") is None else ["ccache"]
        self._environment = dict(os.environ, CCACHE_BASEDIR=os.environ.get("CCACHE_BASEDIR", str(root)),
                                 CCACHE_NOHASHDIR="1")

    def object_of(self, source, architecture):
        return self._build / "objects" / architecture / source.relative_to(self._root).with_suffix(
            source.suffix + ".o")

    def compile(self, source, architecture):
        """Compiles one source; gives what the compiler says when it fails, else nothing."""
        target = self.object_of(source, architecture)
        target.parent.mkdir(parents=True, exist_ok=True)
        done = subprocess.run([*self._cache, *self._command(source, architecture), "-c", str(source), "-o", str(target)],
                              env=self._environment, text=True, capture_output=True, check=False)
        return "" if done.returncode == 0 else done.stdout + done.stderr

    def _command(self, source, architecture):
        command = [COMPILER, "-target", f"{architecture}-apple-macos{OLDEST_SYSTEM}", "-isysroot", str(self._tree.sdk),
                   "-std=c++23", "-stdlib=libc++", "-nostdinc++", "-isystem", str(self._tree.cxx_headers),
                   "-isystem", str(self._tree.third_party), f"-I{self._root / 'src'}", f"-I{self._root / 'tests'}",
                   *WARNINGS, "-fno-color-diagnostics", "-fshow-overloads=best",
                   # fmt is compiled along; the application's own version and folders are of no interest here.
                   "-DFMT_HEADER_ONLY", '-DTALLYFOX_VERSION="0"', f'-DTALLYFOX_SOURCE_DIR="{self._root}"',
                   '-DTALLYFOX_STAGE_BUNDLED="/stage"', '-DTALLYFOX_STAGE_BARE="/stage"', "-DBOOST_ASIO_NO_DEPRECATED",
                   "-DBOOST_ASIO_SEPARATE_COMPILATION", "-DBOOST_BEAST_SEPARATE_COMPILATION"]
        for folder in self._tree.framework_folders:
            command += ["-iframework", str(folder)]
        if source.suffix == ".mm":
            command.append("-fobjc-arc")
        return command

    def link(self, program, architecture, symbols):
        """Links a program; gives what is wrong, else nothing. What only the real build brings may stay undefined."""
        command = self._link_command(program, architecture)
        told = self._told_by([*command, "--error-limit=0"])
        # All complaints come at once: the undefined symbols are told from the rest.
        problems = []
        for complaint in re.split(r"(?m)^(?=\S+: (?:error|warning): )", told):
            missing = re.search(r": error: undefined symbol: (\S+)", complaint)
            if complaint.strip() and not (missing and symbols.is_expected(missing[1], program.brought)):
                problems.append(complaint.strip())
        if not problems and told:
            problems.append(self._told_by([*command, "-undefined", "dynamic_lookup"]))
        return "\n".join(problems)

    def _link_command(self, program, architecture):
        tree = self._tree
        objects = self._build / f"{program.name}-{architecture}.objects"
        objects.write_text("".join(f"{self.object_of(source, architecture)}\n" for source in program.sources),
                           encoding="utf-8")
        command = [LINKER, "-arch", architecture, "-platform_version", "macos", OLDEST_SYSTEM, "14.0",
                   "-syslibroot", str(tree.sdk), "-F", str(tree.sdk / "System/Library/Frameworks"),
                   "-L", str(tree.sdk / "usr/lib"), "-lobjc"]
        if tree.system_library.is_file():
            command += ["-lSystem", "-lc++"]
        for folder in tree.framework_folders:
            command += ["-F", str(folder)]
        for framework in program.frameworks:
            command += ["-framework", framework]
        return [*command, "-filelist", str(objects), str(self._compiler_library(architecture)),
                "-o", str(self._build / f"{program.name}-{architecture}")]

    def _compiler_library(self, architecture):
        source = pathlib.Path(__file__).with_name("compiler_library.c")
        target = self._build / f"compiler_library-{architecture}.o"
        subprocess.run([COMPILER, "-x", "c", "-target", f"{architecture}-apple-macos{OLDEST_SYSTEM}", "-c", str(source),
                        "-o", str(target)], check=True)
        return target

    @staticmethod
    def _told_by(command):
        """What the linker says; nothing when it is content."""
        done = subprocess.run(command, text=True, capture_output=True, check=False)
        return done.stdout + done.stderr or ("" if done.returncode == 0 else f"status {done.returncode}")
