"""The texts of the log: those in the sources, those in docs/log.md, and whether they are the same.

In the sources they stand as literals in the macros of log/Log.h and in calls of WriteLog. In the document each stands in
the first column of a table, between backquotes, exactly as in the source, and with its level.
"""

import re
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
DOCUMENT = ROOT / "docs/log.md"

CALL = re.compile(r"\b(KZR_TRACE|KZR_TRACE_TEXTS|KZR_NOTICE|KZR_ERROR|KZR_TEXT|WriteLog)\(")
LITERAL = re.compile(r'"((?:[^"\\]|\\.)*)"')
COMMENT = re.compile(r"//[^\n]*")
LEVELS = {"KZR_TRACE": "trace", "KZR_TRACE_TEXTS": "trace", "KZR_NOTICE": "notice", "KZR_ERROR": "error"}
ROW = re.compile(r"^\| `([^`]+)` \| (trace|notice|error) \|", re.M)


def inside(text, start):
    """What stands between the parentheses that open before `start`."""
    depth, at, quoted = 1, start, False
    while depth:
        letter = text[at]
        if quoted and letter == "\\":
            at += 1
        elif letter == '"':
            quoted = not quoted
        elif not quoted:
            depth += {"(": 1, ")": -1}.get(letter, 0)
        at += 1
    return text[start:at - 1]


def first_text(arguments):
    """The first literal of a call, joined from its pieces; None when there is none."""
    found = re.search(r'"(?:[^"\\]|\\.)*"(?:\s*"(?:[^"\\]|\\.)*")*', arguments)
    return "".join(LITERAL.findall(found.group(0))) if found else None


def in_sources():
    """Each text with the files that write it."""
    texts = {}
    for path in sorted((ROOT / "src").rglob("*")):
        if path.suffix not in (".cpp", ".h") or path.name in ("Log.h", "Log.cpp"):
            continue
        source = COMMENT.sub("", path.read_text(encoding="utf-8"))
        for call in CALL.finditer(source):
            text = first_text(inside(source, call.end()))
            if text and text != "%s":
                texts.setdefault(text, set()).add((path.name, LEVELS.get(call.group(1))))
    return texts


def in_document():
    return ROW.findall(DOCUMENT.read_text(encoding="utf-8"))


def results():
    sources, rows = in_sources(), in_document()
    documented = {text for text, _ in rows}
    yield "the sources hold the log's texts", None if len(sources) > 200 else f"only {len(sources)} were found"
    yield "every text of the log is in docs/log.md", listed(set(sources) - documented)
    yield "every text in docs/log.md is in the sources", listed(documented - set(sources))
    # A text's level is the macro's; what a shape writes on a method's behalf has none of its own.
    wrong = {text for text, level in rows for _, known in sources.get(text, ()) if known and known != level}
    yield "docs/log.md has each text's level", listed(wrong)
    twice = {text for text, _ in rows if [text for text, _ in rows].count(text) > 1}
    yield "docs/log.md has each text once", listed(twice)


def listed(texts):
    return "; ".join(sorted(texts)[:10]) + f" ({len(texts)} in all)" if texts else None


LINE = re.compile(r"^\[[\d :.-]+\] \[(\w+)\] tid\[\d+\](?:\w+\(\d+\): )?status\([0-9a-f]+\), (.*)$")


def undocumented(output):
    """The lines of a run that no row of the document stands for, with the level that they were written at."""
    rows = [(re.compile(re.escape(text).replace("%s", ".*").replace("%d", r"-?\d+") + "$"), level)
            for text, level in in_document()]
    found = [match.groups() for match in map(LINE.match, output.splitlines()) if match]
    strange = {f"{level}: {text}" for level, text in found
               if not any(row == level and pattern.match(text) for pattern, row in rows)}
    return len(found), strange
