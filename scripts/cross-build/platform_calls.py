"""Writes docs/platform-calls.md from the linked program: what it asks of macOS, by the library that answers."""

import pathlib
import re

import sources
import stubs

DOCUMENT = "docs/platform-calls.md"
CLASS = "_OBJC_CLASS_$_"
LIBSYSTEM = stubs.LIBRARIES["libSystem"]

# Declared by headers of C, or called by the compiler of itself: whether they are called, or inlined, is up to the
# optimiser, and none of them is the system's.
OF_C = {"_NSConcreteStackBlock", "_Unwind_Resume", "__assert_rtn", "__error", "__stack_chk_fail", "__stack_chk_guard",
        "__stderrp", "bzero", "fprintf", "memchr", "memcmp", "memcpy", "memmove", "memset", "memset_pattern16", "puts",
        "snprintf", "strcmp", "strerror", "strlen", "strtod", "strtof", "strtoul"}


class Use:
    """A name of a library that the program uses, on one processor or both."""

    def __init__(self):
        self.processors = set()
        self.is_called = False
        self.is_weak = False


def collect(parts):
    """Uses by library and name as headers spell it; classes under their symbol."""
    uses = {}
    for part in parts:
        for symbol in part.imports:
            # What is caught is asked of its class.
            symbol_name = symbol.name.replace("_OBJC_EHTYPE_$_", CLASS)
            is_class = symbol_name.startswith(CLASS)
            name = symbol_name if is_class else sources.declared_name(symbol_name)
            if symbol.name.startswith("_OBJC_METACLASS_$_") or name in sources.OF_THE_COMPILER:
                continue
            use = uses.setdefault(symbol.library, {}).setdefault(name, Use())
            use.processors.add(part.processor)
            use.is_called |= symbol.is_called
            use.is_weak |= symbol.is_weak
    return uses


def spelled(name, use):
    notes = []
    if len(use.processors) == 1:
        notes.append("%s only" % min(use.processors))
    if use.is_weak:
        notes.append("missing on the oldest systems, so asked for first")
    return "`%s`%s" % (name.removeprefix(CLASS), " (%s)" % ", ".join(notes) if notes else "")


def listing(title, names):
    """A paragraph of names; nothing when there are none."""
    return ["", "%s: %s." % (title, ", ".join(names))] if names else []


def library_section(place, names):
    """One library's functions, constants and classes."""
    functions = [spelled(name, use) for name, use in sorted(names.items()) if use.is_called]
    classes = [spelled(name, use) for name, use in sorted(names.items()) if name.startswith(CLASS)]
    others = [spelled(name, use) for name, use in sorted(names.items())
              if not use.is_called and not name.startswith(CLASS)]
    return (["", "### %s" % pathlib.PurePosixPath(place).name.removesuffix(".dylib")] +
            listing("Functions", functions) + listing("Constants", others) + listing("Classes", classes))


def own_selectors(parts):
    """Methods that the program's own classes have."""
    found = set()
    for part in parts:
        for name in part.definitions:
            method = re.match(r"[-+]\[\w+ ([\w:]+)\]$", name)
            if method:
                found.add(method.group(1))
    return found


def declarations(selector):
    """What a header may declare a message by: its first word, or the property that it sets."""
    word = selector.split(":")[0]
    if re.match(r"set[A-Z]\w*:$", selector):
        return {word, word[3].lower() + word[4:]}
    return {word}


def compose(root, sdk, parts):
    uses = collect(parts)
    public = {place: names for place, names in uses.items() if place.startswith("/System/Library/Frameworks/")}
    system = {name: use for name, use in uses.get(LIBSYSTEM, {}).items() if name not in OF_C}
    in_headers = sources.words_of_headers(sdk, set(system))
    # The rest of libSystem is the compiler's own.
    public[LIBSYSTEM] = {name: use for name, use in system.items() if name in in_headers}
    sent = set().union(*(part.selectors() for part in parts)) - own_selectors(parts)
    known = sources.words_of_headers(sdk, set().union(*map(declarations, sent)))
    messages = sorted(selector for selector in sent if known & declarations(selector))
    unknown = sorted(sent - set(messages))
    private = [symbol for symbol in sources.private_symbols(root) if symbol.library]
    classes = sources.named_classes(root)

    every = [(name, use) for names in public.values() for name, use in names.items()]
    functions = sum(1 for _, use in every if use.is_called)
    class_count = sum(1 for name, _ in every if name.startswith(CLASS))
    lines = ["# Platform calls", "",
             "What the daemon asks of macOS, read from the linked program of both processors. Nobody edits this by "
             "hand: `scripts/cross-build-macos.sh --renew` writes it, and without `--renew` the script compares it.",
             "",
             "| | number |", "|---|---:|",
             "| public functions | %d |" % functions,
             "| public constants | %d |" % (len(every) - functions - class_count),
             "| public classes | %d |" % class_count,
             "| Objective-C messages to them | %d |" % len(messages),
             "| private functions, looked up by name | %d |" % len(private),
             "| classes, looked up by name | %d |" % len(classes), "",
             "Beside these stand names of C and C++, of the Objective-C run time and of the compiler itself; "
             "`scripts/cross-build/run-time-names.txt` lists those that an SDK may have no stub for.", "",
             "## Public functions, constants and classes"]
    for place in sorted(public, key=lambda place: pathlib.PurePosixPath(place).name.lower()):
        lines += library_section(place, public[place])
    lines += ["", "## Objective-C messages", "", ", ".join("`%s`" % selector for selector in messages) + "."]
    lines += ["", "## Looked up by name", "",
              "No header declares these functions. Each is looked up once, when the first of them is needed; on a "
              "system that lacks it, the port answers that it is not there."]
    for library in dict.fromkeys(symbol.library for symbol in private):
        lines += ["", "### %s" % pathlib.PurePosixPath(library).name, "", "`%s`" % library, "",
                  "| function | takes and returns |", "|---|---|"]
        lines += ["| `%s` | %s |" % (symbol.name, symbol.meaning.rstrip(".")) for symbol in private
                  if symbol.library == library]
    if classes or unknown:
        lines += ["", "### Classes", ""]
        lines += ["- `%s`, in `%s`" % (name, path) for name, path in classes]
        lines += listing("Messages to them that the SDK's headers do not declare", ["`%s`" % one for one in unknown])
    return "\n".join(wrapped(lines)) + "\n"


def wrapped(lines, width=120):
    """Paragraphs broken at blanks; tables and headings as they are."""
    for line in lines:
        if line.startswith(("|", "#")):
            yield line
            continue
        while len(line) > width:
            at = line.rfind(" ", 0, width + 1)
            yield line[:at]
            line = line[at + 1:]
        yield line


def write_or_compare(root, sdk, parts, renew):
    """Faults: what the document has and the program has not, or the other way round."""
    path = pathlib.Path(root, DOCUMENT)
    text = compose(root, sdk, parts)
    before = path.read_text() if path.exists() else ""
    if renew:
        path.write_text(text)
        print("Calls: %s is as the program." % DOCUMENT if text == before else "Calls: %s is renewed." % DOCUMENT)
        return []
    if text == before:
        print("Calls: %s names what the program asks of the system." % DOCUMENT)
        return []
    if not before:
        return ["%s: missing; scripts/cross-build-macos.sh --renew writes it" % DOCUMENT]
    names, names_before = (set(re.findall(r"`([\w:]+)`", one)) for one in (text, before))
    changes = ["%s is new" % name for name in sorted(names - names_before)]
    changes += ["%s is gone" % name for name in sorted(names_before - names)]
    return ["%s: %s; scripts/cross-build-macos.sh --renew writes it anew" %
            (DOCUMENT, ", ".join(changes) if changes else "no longer as the program")]
