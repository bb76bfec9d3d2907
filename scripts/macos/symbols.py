"""Undefined symbols that are none to worry about: the Mac's system library has them, or the real build brings them."""

import re

# What the compiler calls by itself, from its own library or the system's.
COMPILER = (r"^___(isPlatformVersionAtLeast|isOSVersionAtLeast|cpu_indicator_init|(u?div|u?mod|mul|udivmod)ti[34]"
            r"|.*cmpti2|.*tidf)$")

# The C++ library by its mangled names. Memory resources came with macOS 14, though the headers do not mark them.
CXX = (r"^__Z(T[ITVS]|NK?|L|GV|Th\w+_)*St(?!3__13pmr)", r"^__ZNK?St3__1(?!3pmr)", r"^__Z[nd][wal]", r"^__ZT[ISV][a-zP]",
       r"^__ZT[ISV]N10__cxxabiv1", r"^___cxa_", r"^___gxx_personality_v0$", r"^___dynamic_cast$", r"^__Unwind_")

# Of the C library, what the compiler calls without any header, and what no declaration shows.
C = (r"^___stack_chk_(fail|guard)$", r"^___?bzero$", r"^_bzero$", r"^_memset_pattern(4|8|16)$", r"^__tlv_bootstrap$",
     r"^___sincosf?_stret$", r"^___(exp10|mem\w+_chk|str\w+_chk|v?sn?printf_chk)$", r"^dyld_stub_binder$",
     r"^___dso_handle$", r"^__Block_(object_(assign|dispose)|copy|release)$", r"^__NSConcrete(Stack|Global)Block$",
     r"^_(memcpy|memmove|memset|memcmp|abort|atexit)$",
     # Declared by a macro that puts the name together.
     r"^__dispatch_source_type_\w+$")

# Libraries that the application brings: ICU's names end with its version.
BROUGHT = (r"^__Z.*\d+icu_\d\d", r"^_u\w+_\d\d$", r"^__Z.*9qrcodegen")


def declared_in(headers):
    """The functions and variables that C headers declare, generously read."""
    names = set()
    for header in headers:
        text = header.read_text(encoding="utf-8", errors="replace")
        names.update(re.findall(r"\b([A-Za-z_]\w*)\s*\(", text))
        for declaration in re.findall(r"\b(?:extern|\w+_EXPORT)\b[^;{}]*;", text):
            names.update(re.findall(r"\b([A-Za-z_]\w*)\s*(?=[;\[]|__\w+\()", declaration))
    return names


class Symbols:
    def __init__(self, tree):
        openssl = declared_in((tree.third_party / "openssl").iterdir())
        self._declared = {name for name in openssl if re.match(r"[A-Z]", name)}
        patterns = [COMPILER, *BROUGHT]
        if not tree.system_library.is_file():
            patterns += [*CXX, *C]
            include = tree.sdk / "usr/include"
            # Libraries of their own with headers there are linked by name, or not at all.
            foreign = {"c++", "unicode", "openssl"}
            self._declared |= declared_in(header for header in include.resolve().rglob("*.h")
                                          if not foreign & set(header.relative_to(include.resolve()).parts[:1]))
        self._patterns = [re.compile(pattern) for pattern in patterns]

    def is_expected(self, symbol, brought=()):
        """Whether an undefined symbol is expected. `brought`: further patterns, of the program at hand."""
        if any(pattern.search(symbol) for pattern in (*self._patterns, *brought)):
            return True
        # Variants of a function have its name before a "$".
        return symbol.startswith("_") and symbol[1:].split("$")[0] in self._declared
