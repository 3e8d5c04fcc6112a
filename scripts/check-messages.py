#!/usr/bin/env python3
"""Compares the texts that src/ logs or reports with the messages that docs/log.md explains: each has the other.

A text of the source may leave words to a value ("%s failed."); the document then has the messages that it becomes.
"""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')
# Parts of messages, and texts that are no message.
FRAGMENTS = {"%s%s", "%f", "%llu", " L%05u] "}
# Says nothing by itself, so that it would stand for any message.
ANYTHING = {"%s", "%s: %s", "%s: %s", "%s(%d)", "%s, (%d)"}
# Whole texts of the guard, which have no placeholder.
WHOLE = re.compile(r"^\w+: (ERROR|WARNING)[.:] I(nvalid|NVALID) class pointer\.$")


def source_texts():
    for path in sorted((ROOT / "src").rglob("*")):
        if path.suffix not in {".cpp", ".h"} or "platform" in path.parts:
            continue
        code = re.sub(r"(?m)^\s*//.*$|\s// .*$", "", path.read_text())
        code = re.sub(r'"\s*\n\s*"', "", code)  # adjacent literals are one text
        for match in LITERAL.finditer(code):
            text = match.group(1).removesuffix("\\n").removeprefix("\\t").replace('\\\\', '\\')
            if "%" in text and text not in FRAGMENTS:
                yield text
            elif WHOLE.match(text):
                yield "%s" + text[text.index(":"):]


def documented_texts():
    rows = "\n".join(re.findall(r"(?m)^\|.*$", (ROOT / "docs" / "log.md").read_text()))
    return {text for text in re.findall(r"`([^`]+)`", rows) if "%" in text}


def becomes(source):
    """A pattern for what a text of the source becomes when its words are left to values."""
    return re.compile("^" + r"(?:%\w+|[\w .'>=:-]+?)".join(map(re.escape, source.split("%s"))) + "$")


def main():
    sources = sorted(set(source_texts()))
    documented = documented_texts()
    patterns = {text: becomes(text) for text in sources}
    wrong = 0
    for text, pattern in patterns.items():
        if not any(pattern.match(known) for known in documented):
            print(f"not in docs/log.md: {text}")
            wrong += 1
    for known in sorted(documented):
        if not any(pattern.match(known) for text, pattern in patterns.items()
                   if text not in ANYTHING or text == known):
            print(f"in docs/log.md, but nothing in src/ writes it: {known}")
            wrong += 1
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
