#!/usr/bin/env python3
"""Holds the localised texts of Resources against what the code asks for: none missing, none left over.

  scripts/check-texts.py [ROOT]

ROOT: the tree to check, this repository without it. Reads every call in Sources/ that asks for a text by table and
number, and every table of every language. Prints each fault with the file it is about. Status 1: faults.
"""

import pathlib
import plistlib
import re
import sys
import xml.etree.ElementTree
import xml.parsers.expat

# English is what the others are translated from.
LANGUAGES = ("de", "en", "fr", "ja")

# Functions that ask for texts, with what their arguments are. A function that hands a number on to one of these must
# be added, or the check cannot say which number it is and complains.
TABLE, NUMBER = "table", "number"
ASKING = {
    "GetBundleIndNSString": (TABLE, NUMBER),
    "GetBundleNSString": (TABLE, NUMBER, None),
    "menuText": (NUMBER,),
    "daemonText": (NUMBER,),
    "Dlog_DaemonNotif": (NUMBER, NUMBER),
    "Dlog_DaemonNotifWithExpl": (NUMBER, None),
}
# The table of those that are given none.
TABLE_OF = {"menuText": "MenuItems", "daemonText": "Daemon", "Dlog_DaemonNotif": "Daemon",
            "Dlog_DaemonNotifWithExpl": "Daemon"}
# What the functions above hand on to one another, by file: it is counted where they are called.
HANDED_ON = {
    "Sources/Models/VLMMode+Names.cpp": {"index"},
    "Sources/Shared/BundleTexts.cpp": {"key"},
    "Sources/Shared/Dlog.cpp": {"index", "titleIndex", "explanationIndex"},
    # The table of key names is held by key_numbers.
    "Sources/Shared/Shortcuts.cpp": {"modifier.wordText", 'format("%d", keyCode)'},
}
# What a number is added to: all values that the code gives it.
VALUES = {
    "mode.isVRR": (0, 1, 2),  # the kinds of variable refresh, and none
    "resolutionType": (0, 1, 2),  # the kinds of custom resolutions
}
# The table of key names: a key without one is asked of the keyboard layout.
KEY_NAMES = "KeysDescr"
LARGEST_KEY_CODE = 127
# The table of Info.plist's own texts: a language without one would show the English ones.
INFORMATION = "InfoPlist"
SHORTCUTS = "Sources/Shared/Shortcuts.cpp"


class Faults:
    def __init__(self):
        self.texts = []

    def add(self, subject, text):
        self.texts.append("%s: %s" % (subject, text))


def without_comments(text):
    return re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.DOTALL)


def constants_of(text):
    """Numbers and texts that a file gives names to, in one declaration or several in a row."""
    found = {}
    for body in re.findall(r"\bconstexpr\b([^;{]*);", text):
        for name, value in re.findall(r"(\bk\w+) = (\d+|\"[^\"]*\")(?=,|$)", body.strip()):
            found[name] = value.strip('"')
    return found


def arguments_after(text, start):
    """The arguments of a call whose bracket opens at `start`."""
    depth, argument, found, in_text = 0, "", [], False
    for at in range(start, len(text)):
        letter = text[at]
        if letter == '"' and text[at - 1] != "\\":
            in_text = not in_text
        if not in_text and letter in "([{":
            depth += 1
            if depth == 1:
                continue
        if not in_text and letter in ")]}":
            depth -= 1
            if depth == 0:
                return found + [" ".join(argument.split())]
        if not in_text and letter == "," and depth == 1:
            found.append(" ".join(argument.split()))
            argument = ""
        else:
            argument += letter
    return found


def is_declaration(text, start):
    """Whether the name is being declared: a type stands before it."""
    before = text[:start].rstrip()
    return bool(re.search(r"(std::string|\bvoid)$", before))


def without_conversion(expression):
    return re.sub(r"^truncateTo<[\w:]+>\((.*)\)$", r"\1", expression)


def numbers_of(expression, constants):
    """The numbers that a sum can be, as texts; None when that cannot be said."""
    found = [0]
    for part in expression.split(" + "):
        part = constants.get(part, part.strip('"'))
        if part in VALUES:
            found = [number + value for number in found for value in VALUES[part]]
        elif part.isdigit():
            found = [number + int(part) for number in found]
        else:
            return None
    return {str(number) for number in found}


def asked_numbers(root, faults):
    """Numbers by table that the code asks for."""
    asked = {}
    for path in sorted(pathlib.Path(root, "Sources").rglob("*")):
        if path.suffix not in (".cpp", ".h", ".mm"):
            continue
        text = without_comments(path.read_text())
        constants = constants_of(text)
        subject = path.relative_to(root).as_posix()
        for call in re.finditer(r"\b(%s)(?=\()" % "|".join(ASKING), text):
            if not is_declaration(text, call.start()):
                arguments = arguments_after(text, call.end())
                note_call(asked, faults, subject, call.group(1), arguments, constants)
    return asked


def note_call(asked, faults, subject, name, arguments, constants):
    table = TABLE_OF.get(name)
    for kind, argument in zip(ASKING[name], arguments):
        argument = without_conversion(argument)
        if kind == TABLE:
            table = constants.get(argument, argument.strip('"'))
        elif kind == NUMBER and argument not in HANDED_ON.get(subject, ()):
            numbers = numbers_of(argument, constants)
            if numbers is None:
                faults.add(subject, "asks the table %s for %s: this check cannot say which numbers that are" %
                           (table, argument))
            else:
                asked.setdefault(table, set()).update(numbers)


def key_numbers(root):
    """Numbers of the table of key names: those that it must have, and those that it may have."""
    text = without_comments(pathlib.Path(root, SHORTCUTS).read_text())
    modifiers = re.search(r"kModifiers = \{(.*?)\};", text, re.DOTALL).group(1)
    must = set(re.findall(r", (\d+)\}", modifiers))
    # A key that people type as a word types nothing visible of its own.
    words = re.search(r"kKeyWords = \{\{(.*?)\}\};", text, re.DOTALL).group(1)
    must |= {str(int(code, 16)) for word, code in re.findall(r"\{\"(\w+)\", (0x\w+)\}", words) if len(word) > 1}
    return must, {str(code) for code in range(LARGEST_KEY_CODE + 1)}


def read_table(path, subject, faults):
    """Texts by key, None when it cannot be read. The property-list reader would keep the last of two with one key."""
    content = path.read_bytes()
    try:
        texts = plistlib.loads(content)
        tree = xml.etree.ElementTree.fromstring(content)
    except (ValueError, plistlib.InvalidFileException, xml.parsers.expat.ExpatError) as error:
        faults.add(subject, "no property list: %s" % error)
        return None
    if not isinstance(texts, dict) or not all(isinstance(text, str) for text in texts.values()):
        faults.add(subject, "not a dictionary of texts")
        return None
    keys = [key.text for key in tree.findall("./dict/key")]
    for key in sorted({key for key in keys if keys.count(key) > 1}):
        faults.add(subject, "%s stands there twice" % key)
    for key, text in texts.items():
        if not text.strip():
            faults.add(subject, "%s is empty" % key)
    if b"<!--" not in content:
        faults.add(subject, "no comment for translators")
    return texts


def compare(subject, texts, must, may, faults):
    for number in sorted(must - set(texts), key=natural):
        faults.add(subject, "%s is missing" % number)
    for number in sorted(set(texts) - must - may, key=natural):
        faults.add(subject, "%s is left over: nobody asks for it" % number)


def natural(number):
    return (int(number), "") if number.isdigit() else (-1, number)


def check_key_names(subject, texts, in_english, faults):
    """Every language names the same keys, and none by one character."""
    for number in sorted(set(texts) ^ set(in_english), key=natural):
        faults.add(subject, "%s is named here or in English, not in both" % number)
    for number, text in texts.items():
        if len(text.encode("utf-16-le")) == 2:
            faults.add(subject, "%s has one character: the keyboard layout would be asked" % number)


def check_language(root, folder, asked, usage, faults):
    """How many texts it has."""
    count = 0
    subject = folder.relative_to(root).as_posix()
    tables = {path.stem: path for path in sorted(folder.glob("*.strings"))}
    for table in sorted(set(asked) - set(tables)):
        faults.add(subject, "no table %s.strings" % table)
    for table, path in tables.items():
        subject = path.relative_to(root).as_posix()
        if table not in asked:
            faults.add(subject, "left over: nobody asks for this table")
            continue
        texts = read_table(path, subject, faults)
        if texts is None:
            continue
        count += len(texts)
        compare(subject, texts, *asked[table], faults)
        english = folder.parent / "en.lproj" / path.name
        if table == KEY_NAMES and english.exists():
            check_key_names(subject, texts, plistlib.loads(english.read_bytes()), faults)
        if table == INFORMATION and folder.stem == "en":
            for key in sorted(key for key in usage if texts.get(key, usage[key]) != usage[key]):
                faults.add(subject, "%s is not the text of Info.plist" % key)
    return count


def check(root):
    faults = Faults()
    # What a table must have, and what it may have besides.
    asked = {table: (numbers, set()) for table, numbers in asked_numbers(root, faults).items()}
    must, may = key_numbers(root)
    asked[KEY_NAMES] = (asked.get(KEY_NAMES, (set(), set()))[0] | must, may)
    information = plistlib.loads(pathlib.Path(root, "Sources/Programs/Daemon/Info.plist.in").read_bytes())
    usage = {key: text for key, text in information.items() if key.endswith("UsageDescription")}
    asked[INFORMATION] = (set(usage), set())

    folders = {folder.stem: folder for folder in sorted(pathlib.Path(root, "Resources").glob("*.lproj"))}
    for language in LANGUAGES:
        if language not in folders:
            faults.add("Resources/%s.lproj" % language, "missing")
    count = sum(check_language(root, folder, asked, usage, faults) for folder in folders.values())
    return sorted(faults.texts), count, folders, asked


def main(arguments):
    if arguments and arguments[0] == "--help":
        print(__doc__.strip())
        return 0
    root = pathlib.Path(arguments[0] if arguments else pathlib.Path(__file__).parent.parent).resolve()
    faults, count, folders, asked = check(root)
    for fault in faults:
        print(fault)
    if faults:
        return 1
    print("Texts: %d in %d tables of %d languages (%s), exactly those that the code asks for." %
          (count, len(asked), len(folders), ", ".join(sorted(folders))))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
