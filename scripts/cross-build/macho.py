"""Reads programs and object files of macOS (mach-o/loader.h, mach-o/nlist.h, mach-o/fat.h), as far as checks need."""

import struct

PROCESSORS = {0x01000007: "x86_64", 0x0100000C: "arm64"}

FAT_MAGIC = 0xCAFEBABE
MACHO_MAGIC_64 = 0xFEEDFACF

LC_SEGMENT_64, LC_SYMTAB, LC_DYSYMTAB, LC_BUILD_VERSION, LC_CODE_SIGNATURE = 0x19, 0x2, 0xB, 0x32, 0x1D
# The last bit asks the loader to know the command.
LOADED_DYLIBS = {0xC: "loaded", 0x80000018: "weak", 0x8000001F: "re-exported", 0x20: "lazy", 0x80000023: "upward"}

# nlist_64: type and description bits, and the library that a symbol without a definition is bound to.
N_STAB, N_TYPE, N_UNDF, N_EXT = 0xE0, 0x0E, 0x0, 0x01
N_WEAK_REF = 0x0040
SPECIAL_ORDINALS = {0: "this program", 254: "dynamic lookup", 255: "the executable"}
# Section types.
S_ZEROFILL, S_SYMBOL_STUBS = 0x1, 0x8


class Import:
    """A symbol that a library has to define."""

    def __init__(self, name, library, is_weak):
        self.name = name
        # Path of the library, or one of SPECIAL_ORDINALS.
        self.library = library
        # May be missing at run time; its address is null then.
        self.is_weak = is_weak
        # Jumped to; otherwise only its address is taken, as that of a constant.
        self.is_called = False


class Section:
    """Its address in the running program and its bytes, none for one that is filled with zeros."""

    def __init__(self, address, data):
        self.address = address
        self.data = data


class Program:
    """One processor's part of a file."""

    def __init__(self, data):
        magic, cpu, _, self.file_type, commands, _, _, _ = struct.unpack_from("<8I", data)
        if magic != MACHO_MAGIC_64:
            raise ValueError("no 64-bit Mach-O file")
        self.processor = PROCESSORS.get(cpu, hex(cpu))
        # In the order of their ordinals: path and how.
        self.libraries = []
        self.imports = []
        # Names of what it defines itself, local ones too.
        self.definitions = set()
        # By (segment, section).
        self.sections = {}
        # Platform, oldest system, SDK; versions as (major, minor). None when it does not say.
        self.build_version = None
        self.is_signed = False
        # First indirect symbol and number of the calls that go through the section of stubs.
        self._stubs = (0, 0)
        symbols, indirect = None, 0
        offset = 32
        for _ in range(commands):
            command, size = struct.unpack_from("<2I", data, offset)
            if command in LOADED_DYLIBS:
                start = offset + struct.unpack_from("<I", data, offset + 8)[0]
                path = data[start:offset + size].split(b"\0")[0].decode()
                self.libraries.append((path, LOADED_DYLIBS[command]))
            elif command == LC_SYMTAB:
                symbols = struct.unpack_from("<4I", data, offset + 8)
            elif command == LC_DYSYMTAB:
                indirect = struct.unpack_from("<I", data, offset + 56)[0]
            elif command == LC_BUILD_VERSION:
                platform, oldest, sdk = struct.unpack_from("<3I", data, offset + 8)
                self.build_version = (platform, (oldest >> 16, oldest >> 8 & 255), (sdk >> 16, sdk >> 8 & 255))
            elif command == LC_CODE_SIGNATURE:
                self.is_signed = True
            elif command == LC_SEGMENT_64:
                self._read_sections(data, offset)
            offset += size
        if symbols:
            self._read_symbols(data, *symbols, indirect)

    def _read_sections(self, data, offset):
        count = struct.unpack_from("<I", data, offset + 64)[0]
        for at in range(offset + 72, offset + 72 + count * 80, 80):
            section, segment, address, size, start, _, _, _, flags, first, stub_size = struct.unpack_from(
                "<16s16s2Q7I", data, at)
            name = (segment.rstrip(b"\0").decode(), section.rstrip(b"\0").decode())
            self.sections[name] = Section(address, b"" if flags & 0xFF == S_ZEROFILL else data[start:start + size])
            if flags & 0xFF == S_SYMBOL_STUBS:
                self._stubs = (first, size // stub_size)

    def _read_symbols(self, data, start, count, texts, _, indirect):
        called = set(struct.unpack_from("<%dI" % self._stubs[1], data, indirect + 4 * self._stubs[0]))
        for index in range(count):
            text, kind, _, description, _ = struct.unpack_from("<IBBHQ", data, start + 16 * index)
            if kind & N_STAB:
                continue
            name = data[texts + text:data.index(b"\0", texts + text)].decode()
            if kind & N_TYPE != N_UNDF:
                self.definitions.add(name)
            elif kind & N_EXT:
                found = Import(name, self._library(description >> 8), bool(description & N_WEAK_REF))
                found.is_called = index in called
                self.imports.append(found)

    def _library(self, ordinal):
        if 0 < ordinal <= len(self.libraries):
            return self.libraries[ordinal - 1][0]
        return SPECIAL_ORDINALS.get(ordinal, "library %d of %d" % (ordinal, len(self.libraries)))

    def selectors(self):
        """The Objective-C messages that it sends, or hands on."""
        names = self.sections.get(("__TEXT", "__objc_methname"))
        references = self.sections.get(("__DATA", "__objc_selrefs"))
        if names is None or references is None:
            return set()
        found = set()
        for (address,) in struct.iter_unpack("<Q", references.data):
            start = address - names.address
            if not 0 <= start < len(names.data):
                raise ValueError("a selector lies outside of the section of names")
            found.add(names.data[start:names.data.index(b"\0", start)].decode())
        return found


def read(path):
    """The parts of a file, one a processor."""
    with open(path, "rb") as file:
        data = file.read()
    magic, count = struct.unpack_from(">2I", data)
    if magic != FAT_MAGIC:
        return [Program(data)]
    parts = []
    for index in range(count):
        _, _, offset, size, _ = struct.unpack_from(">5I", data, 8 + index * 20)
        parts.append(Program(data[offset:offset + size]))
    return parts
