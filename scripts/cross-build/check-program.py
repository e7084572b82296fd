#!/usr/bin/env python3
"""Checks the program that scripts/cross-build-macos.sh has put together, and prints what it checked.

  scripts/cross-build/check-program.py [--renew] APPLICATION SDK [ROOT]

APPLICATION: the application's folder; SDK: the SDK that it was linked against; ROOT: the tree that it was built from,
this repository without it.
--renew: writes docs/platform-calls.md anew instead of comparing it with the program.
Prints a line a check, and each fault with what it is about. Status 1: faults; 2: called wrongly.
"""

import pathlib
import plistlib
import re
import sys
import xml.parsers.expat

import macho
import platform_calls
import sources
import stubs

NAMES = "scripts/cross-build/run-time-names.txt"
OLDEST_SYSTEMS = {"arm64": (11, 0), "x86_64": (10, 15)}
PLATFORM_MACOS = 1
# Where the list of run-time names ends and the SDK's stubs begin.
RUN_TIME = set(stubs.LIBRARIES.values())


class Check:
    """One application, with the faults found so far."""

    def __init__(self, application, sdk, root):
        self.root = pathlib.Path(root)
        self.contents = pathlib.Path(application) / "Contents"
        self.sdk = pathlib.Path(sdk)
        self.faults = []
        with open(self.contents / "Info.plist", "rb") as file:
            self.information = plistlib.load(file)
        parts = macho.read(self.contents / "MacOS" / self.information["CFBundleExecutable"])
        self.parts = sorted(parts, key=lambda part: part.processor)
        self.names = stubs.read_names(self.root / NAMES)
        self.exports = read_exports(self.sdk)
        self.private = sources.private_symbols(self.root)

    def fault(self, text):
        self.faults.append(text)

    def processors(self):
        """Both are there, and say for which systems they are made and with which SDK."""
        found = [part.processor for part in self.parts]
        if sorted(found) != sorted(OLDEST_SYSTEMS):
            self.fault("the program is for %s, not for %s" % (", ".join(found), ", ".join(OLDEST_SYSTEMS)))
        for part in self.parts:
            expected = OLDEST_SYSTEMS.get(part.processor)
            if part.build_version is None:
                self.fault("%s: the program does not say for which systems it is made" % part.processor)
                continue
            platform, oldest, sdk = part.build_version
            if platform != PLATFORM_MACOS or oldest != expected:
                self.fault("%s: made for platform %d from %d.%d on" % (part.processor, platform, *oldest))
            # Programs made with an older one are told that every newer system is 10.16.
            if sdk < (11, 0):
                self.fault("%s: says that its SDK is %d.%d" % (part.processor, *sdk))
            if not part.is_signed:
                self.fault("%s: no signature at all; arm64 starts no such program" % part.processor)
        made = ["%s from macOS %d.%d on (SDK %d.%d)" % (part.processor, *part.build_version[1], *part.build_version[2])
                for part in self.parts if part.build_version]
        print("Program: %s." % ", ".join(made))

    def symbols(self):
        """Each one is known to exist in the library that it is bound to."""
        for part in self.parts:
            in_stubs = in_list = 0
            for symbol in part.imports:
                if symbol.library in RUN_TIME and symbol.name in self.listed(symbol.library, part.processor):
                    in_list += 1
                elif symbol.name in self.exports.get(symbol.library, {}).get(part.processor, ()):
                    in_stubs += 1
                else:
                    self.fault("%s: %s, of %s, is neither in the SDK's stub of it nor in %s" %
                               (part.processor, symbol.name, symbol.library, NAMES))
            print("Symbols, %s: %d undefined; %d are in the SDK's stubs, %d in %s." %
                  (part.processor, len(part.imports), in_stubs, in_list, NAMES))
            for path, how in part.libraries:
                if "/PrivateFrameworks/" in path or not path.startswith(("/System/Library/Frameworks/", "/usr/lib/")):
                    self.fault("%s: %s is %s, which is no public library of the system" % (part.processor, path, how))

    def listed(self, place, processor):
        library = next(name for name, path in stubs.LIBRARIES.items() if path == place)
        return self.names[library][processor]

    def private_symbols(self):
        """None is linked: neither one that the sources look up by name nor one that no header declares."""
        linked = {symbol.name.removeprefix("_") for part in self.parts for symbol in part.imports}
        for symbol in self.private:
            if symbol.name in linked:
                self.fault("%s is private and linked; it must be looked up by name" % symbol.name)
        public = {sources.declared_name(symbol.name) for part in self.parts for symbol in part.imports
                  if symbol.library not in RUN_TIME and not symbol.library.startswith("/usr/lib/libobjc")}
        public -= sources.OF_THE_COMPILER
        for name in sorted(public - sources.words_of_headers(self.sdk, public)):
            self.fault("%s is linked, but no header of the SDK has it" % name)
        for fault in sources.private_faults(self.root):
            self.fault(fault)
        print("Private symbols: %d are looked up by name, none is linked; the headers have all %d linked names." %
              (len(self.private), len(public)))

    def ports(self):
        """Each port function has one of the adapter's own, for both processors."""
        ports = sources.ports(self.root)
        count = 0
        for port in ports:
            for fault in port.faults:
                self.fault(fault)
            count += sum(port.functions.values())
            for part in self.parts:
                for name, overloads in port.functions.items():
                    mangled = re.compile(r"__ZNK?3vlm6native12_GLOBAL__N_1%d%s%d%s[^.]*$" % (
                        len(port.adapter), port.adapter, len(name), name))
                    found = sum(1 for symbol in part.definitions if mangled.match(symbol))
                    if found < overloads:
                        self.fault("%s: %s::%s is not overridden by %s (%d of %d)" %
                                   (part.processor, port.name, name, port.adapter, found, overloads))
        print("Ports: %d with %d functions, each overridden by its adapter for both processors." % (len(ports), count))

    def bundle(self):
        """What Info.plist promises is in the bundle, and every property list can be read."""
        lists = [self.contents / "Info.plist", *sorted((self.root / "Sources/Programs/Daemon").glob("*.plist")),
                 *sorted((self.root / "Sources/Programs/Daemon").glob("*.entitlements")),
                 *sorted(self.contents.rglob("*.strings"))]
        read = {}
        for path in lists:
            try:
                read[path] = plistlib.loads(path.read_bytes())
            except (ValueError, OSError, plistlib.InvalidFileException, xml.parsers.expat.ExpatError) as error:
                self.fault("%s: no property list: %s" % (path, error))
        information = self.information
        for name in sorted(set(re.findall(r"@\w+@", (self.contents / "Info.plist").read_text()))):
            self.fault("Info.plist: %s was not filled in" % name)
        principal = "_OBJC_CLASS_$_" + information.get("NSPrincipalClass", "")
        for part in self.parts:
            if principal not in part.definitions:
                self.fault("Info.plist: %s: no class %s in the program" % (part.processor, principal))
        oldest = {processor: "%d.%d" % version for processor, version in OLDEST_SYSTEMS.items()}
        if information.get("LSMinimumSystemVersionByArchitecture") != oldest:
            self.fault("Info.plist: LSMinimumSystemVersionByArchitecture is not that of the program: %s" % oldest)
        if information.get("LSMinimumSystemVersion") != min(oldest.values()):
            self.fault("Info.plist: LSMinimumSystemVersion is not %s" % min(oldest.values()))
        icon = self.contents / "Resources" / (information.get("CFBundleIconFile", "") + ".icns")
        if not icon.is_file():
            self.fault("Info.plist: no icon file %s" % icon)
        for path, content in read.items():
            if path.name == information.get("CFBundleIdentifier", "") + ".plist":
                self.launch_agent(path, content)
        print("Bundle: %s %s; %d property lists can be read; executable, principal class and icon are there." %
              (information.get("CFBundleIdentifier"), information.get("CFBundleVersion"), len(read)))

    def launch_agent(self, path, content):
        executable = "/%s.app/Contents/MacOS/%s" % ((self.information["CFBundleExecutable"],) * 2)
        if content.get("Label") != self.information["CFBundleIdentifier"]:
            self.fault("%s: its label is not the bundle's identifier" % path.name)
        if not content.get("ProgramArguments", [""])[0].endswith("/Contents/Library/LoginItems" + executable):
            self.fault("%s: does not start %s" % (path.name, executable))


def read_exports(sdk):
    """What the SDK's stubs define: names by processor, by the place of the library. What a library passes on counts as
    its own: the linker binds to the one that was asked for."""
    exports = {}
    for stub in sorted(sdk.rglob("*.tbd")):
        documents = stubs.read_stub(stub)
        own = exports.setdefault(documents[0][0], {processor: set() for processor in stubs.TARGETS})
        for _, names in documents:
            for processor in names:
                own[processor] |= names[processor]
    return exports


def main(arguments):
    renew = arguments[:1] == ["--renew"]
    if renew:
        arguments = arguments[1:]
    if len(arguments) not in (2, 3):
        print(__doc__.strip(), file=sys.stderr)
        return 2
    try:
        root = arguments[2] if len(arguments) == 3 else pathlib.Path(__file__).resolve().parent.parent.parent
        check = Check(arguments[0], arguments[1], root)
        check.processors()
        check.symbols()
        check.private_symbols()
        check.ports()
        check.bundle()
        check.faults += platform_calls.write_or_compare(root, check.sdk, check.parts, renew)
    except (stubs.Fault, sources.Fault) as fault:
        print("check-program.py: %s" % fault, file=sys.stderr)
        return 1
    for fault in check.faults:
        print("check-program.py: %s" % fault, file=sys.stderr)
    return 1 if check.faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
