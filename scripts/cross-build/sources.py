"""Reads what checks need from the project's sources and from the SDK's headers."""

import pathlib
import re
import subprocess


# Exported by a framework for what the compiler writes, here for constant texts; no header has it.
OF_THE_COMPILER = {"__CFConstantStringClassReference"}


class Fault(Exception):
    """A source file is not written as it is read here."""


class Port:
    """A class of Sources/Platform that macOS stands behind."""

    def __init__(self, name, functions, faults):
        self.name = name
        self.adapter = "Native" + name
        # Number of overloads by function.
        self.functions = functions
        # Functions that an adapter could leave out unnoticed.
        self.faults = faults


class PrivateSymbol:
    """A function of the platform that no header declares."""

    def __init__(self, name, meaning):
        self.name = name
        # What it takes and returns.
        self.meaning = meaning
        # Place of the library that it is looked up in; None when it is not.
        self.library = None


def without_comments(text):
    return re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.DOTALL)


def ports(root):
    """The ports, in the order of the adapters' factories."""
    platform = pathlib.Path(root, "Sources/Platform")
    factories = without_comments((platform / "MacOS/Adapters.h").read_text())
    names = re.findall(r"std::unique_ptr<(\w+)> makeNative\1\(", factories)
    headers = {header: without_comments(header.read_text()) for header in sorted(platform.glob("*.h"))}
    return [port(name, headers) for name in names]


def port(name, headers):
    for header, text in headers.items():
        body = re.search(r"^class %s \{\n(.*?)^\};" % name, text, re.MULTILINE | re.DOTALL)
        if body:
            break
    else:
        raise Fault("no header of Sources/Platform has a class %s" % name)
    functions, faults = {}, []
    for declaration in re.findall(r"\bvirtual\b([^;{]*[;{])", body.group(1)):
        function = re.search(r"(~?\w+)\s*\(", declaration).group(1)
        if function.startswith("~"):
            continue
        functions[function] = functions.get(function, 0) + 1
        if not re.search(r"=\s*0\s*;$", declaration):
            faults.append("%s: %s::%s is not pure: an adapter could leave it out" % (header.name, name, function))
    if not functions:
        raise Fault("%s: no function found in the port %s" % (header.name, name))
    return Port(name, functions, faults)


def private_symbols(root):
    """What PrivateSymbols.h declares, in its order, with the libraries of PrivateSymbols.mm."""
    folder = pathlib.Path(root, "Sources/Platform/MacOS")
    struct = re.search(r"struct PrivateSymbols \{(.*?)^\};", (folder / "PrivateSymbols.h").read_text(),
                       re.MULTILINE | re.DOTALL).group(1)
    symbols = {}
    for comment, name in re.findall(r"((?:^ *///[^\n]*\n)*)^ *[^\n/]*\(\*(\w+)\)\(", struct, re.MULTILINE):
        symbols[name] = PrivateSymbol(name, " ".join(line.strip(" /") for line in comment.splitlines()))
    code = without_comments_but_texts((folder / "PrivateSymbols.mm").read_text())
    libraries = dict(re.findall(r"const Library (\w+)\(\s*\"([^\"]+)\"\)", code))
    for variable, text, member in re.findall(r"(\w+)\.lookUp\(\s*\"(\w+)\",\s*symbols\.(\w+)\)", code):
        if text != member or member not in symbols or variable not in libraries:
            raise Fault("PrivateSymbols.mm: %s is looked up for the member %s" % (text, member))
        if symbols[member].library:
            raise Fault("PrivateSymbols.mm: %s is looked up twice" % text)
        symbols[member].library = libraries[variable]
    if not symbols:
        raise Fault("PrivateSymbols.h: no private symbol found")
    return list(symbols.values())


def without_comments_but_texts(text):
    """Line comments alone: a path in a text has none before it on its line here."""
    return re.sub(r"^\s*//[^\n]*", "", text, flags=re.MULTILINE)


def private_faults(root):
    """Members without a meaning or that nobody looks up, and look-ups elsewhere."""
    faults = []
    for symbol in private_symbols(root):
        if not symbol.meaning:
            faults.append("PrivateSymbols.h: no line says what %s takes and returns" % symbol.name)
        if not symbol.library:
            faults.append("PrivateSymbols.mm: nobody looks %s up" % symbol.name)
    for path in native_files(root):
        if path.name != "PrivateSymbols.mm" and re.search(r"\bdlsym\s*\(", path.read_text()):
            faults.append("%s: looks a symbol up; PrivateSymbols.mm does that" % path.relative_to(root))
    return faults


def named_classes(root):
    """Classes that are looked up by name: (class, file)."""
    found = set()
    for path in native_files(root):
        for name in re.findall(r"NSClassFromString\(@\"(\w+)\"\)", path.read_text()):
            found.add((name, str(path.relative_to(root))))
    return sorted(found)


def native_files(root):
    return sorted(path for path in pathlib.Path(root, "Sources").rglob("*.mm"))


def declared_name(symbol):
    """How a header spells what a symbol table has."""
    for prefix in ("_OBJC_CLASS_$_", "_OBJC_METACLASS_$_", "_OBJC_EHTYPE_$_"):
        if symbol.startswith(prefix):
            return symbol[len(prefix):]
    return symbol.removeprefix("_").split("$")[0]


def words_of_headers(sdk, words):
    """Those of the words that stand in some header of the SDK, its C++ library left out."""
    if not words:
        return set()
    command = ["grep", "-rhowF", "--include=*.h", "-f", "-", "System/Library/Frameworks"]
    # The folder of headers without the kernel's and the C++ library's copies, which say nothing about programs.
    include = [str(path.relative_to(sdk)) for path in sorted(pathlib.Path(sdk, "usr/include").iterdir())
               if path.name != "c++"]
    found = subprocess.run(command + include, cwd=sdk, input="\n".join(sorted(words)), text=True, capture_output=True,
                           check=False)
    if found.returncode > 1:
        raise Fault("grep: " + found.stderr.strip())
    return set(found.stdout.split())
