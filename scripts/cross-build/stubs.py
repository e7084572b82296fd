#!/usr/bin/env python3
"""Library stubs (.tbd) for the link of scripts/cross-build-macos.sh.

  scripts/cross-build/stubs.py NAMES SDK FOLDER

Writes into FOLDER, which it makes, a stub for each library of the list NAMES (run-time-names.txt) that the SDK has no
stub of. Such a stub has the names of the list and no others, so that the linker refuses what the list does not have.
Prints nothing. Status 1: the list is wrong; 2: called wrongly.
"""

import os
import pathlib
import re
import sys

# What a library of the list is called for the linker, and where it lies on a Mac.
LIBRARIES = {"libSystem": "/usr/lib/libSystem.B.dylib", "libc++": "/usr/lib/libc++.1.dylib"}
TARGETS = {"arm64": "arm64-macos", "x86_64": "x86_64-macos"}


class Fault(Exception):
    """Says what is wrong with a file."""


def read_names(path):
    """Names by library and processor, as sets."""
    names = {library: {processor: set() for processor in TARGETS} for library in LIBRARIES}
    for number, line in enumerate(pathlib.Path(path).read_text().splitlines(), 1):
        words = line.split("#")[0].split()
        if not words:
            continue
        if len(words) not in (2, 3) or words[0] not in LIBRARIES or (len(words) == 3 and words[2] not in TARGETS):
            raise Fault("%s:%d: not a library of %s, a name and perhaps a processor of %s" %
                        (path, number, ", ".join(LIBRARIES), ", ".join(TARGETS)))
        for processor in words[2:] or TARGETS:
            if words[1] in names[words[0]][processor]:
                raise Fault("%s:%d: %s stands there twice" % (path, number, words[1]))
            names[words[0]][processor].add(words[1])
    return names


def stub_text(library, names):
    """The stub of a library, in version 4 of the format. Without a version of its own: no program asks for one."""
    lines = ["--- !tapi-tbd", "tbd-version: 4", "targets: [ %s ]" % ", ".join(TARGETS.values()),
             "install-name: '%s'" % LIBRARIES[library], "exports:"]
    for processor, target in TARGETS.items():
        quoted = ", ".join("'%s'" % name for name in sorted(names[processor]))
        lines += ["  - targets: [ %s ]" % target, "    symbols: [ %s ]" % quoted]
    return "\n".join(lines + ["...", ""])


def read_stub(path):
    """The documents of a stub: pairs of the library's place on a Mac and its names by processor. A file has several
    when a library passes on what private ones define."""
    text = pathlib.Path(path).read_text()
    if "tbd-version:     4" not in text and "tbd-version: 4" not in text:
        raise Fault("%s: not version 4 of the stub format, the only one that is read here" % path)
    documents = []
    for document in text.split("--- !tapi-tbd")[1:]:
        place = re.search(r"^install-name:\s*'?([^'\s]+)", document, re.MULTILINE).group(1)
        names = {processor: set() for processor in TARGETS}
        # What it passes on under its own name stands in "reexports", in the same form.
        for targets, body in re.findall(r"^  - targets:\s*\[([^]]*)\](.*?)(?=^  - targets:|^\S|\Z)", document,
                                        re.MULTILINE | re.DOTALL):
            found = set()
            for kind, listed in re.findall(r"^    ([a-z-]+):\s*\[([^]]*)\]", body, re.MULTILINE):
                for name in listed.split(","):
                    found.update(in_symbol_table(kind, name.strip(" '\"\n")))
            for processor, target in TARGETS.items():
                if target in [one.strip() for one in targets.split(",")]:
                    names[processor] |= found
        documents.append((place, names))
    return documents


def in_symbol_table(kind, name):
    """How a symbol table spells what a stub lists under this kind."""
    if kind == "objc-classes":
        return ["_OBJC_CLASS_$_" + name, "_OBJC_METACLASS_$_" + name]
    prefixes = {"objc-eh-types": "_OBJC_EHTYPE_$_", "objc-ivars": "_OBJC_IVAR_$_"}
    return [prefixes.get(kind, "") + name]


def main(arguments):
    if len(arguments) != 3:
        print(__doc__.strip(), file=sys.stderr)
        return 2
    names, sdk, folder = arguments
    try:
        listed = read_names(names)
    except Fault as fault:
        print("stubs.py: %s" % fault, file=sys.stderr)
        return 1
    os.makedirs(folder, exist_ok=True)
    for library in LIBRARIES:
        stub = pathlib.Path(folder, library + ".tbd")
        if pathlib.Path(sdk, "usr/lib", library + ".tbd").exists():
            stub.unlink(missing_ok=True)
        else:
            stub.write_text(stub_text(library, listed[library]))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
