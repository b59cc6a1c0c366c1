"""The objects' methods with their numbers of arguments, from the IDL: for samples that cannot run here."""

import re
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).resolve().parents[2] / "docs/generator"))

import facts  # noqa: E402

# What the samples call their objects.
VARIABLES = {"certificate": "ICertificate", "crypto": "ICrypto", "manager": "IDeviceMgr", "util": "IUtil",
             "control": "_DUSBKeyPnPActiveX"}
SUFFIXES = {".ps1", ".cs", ".py", ".hta", ".html", ".js", ".vbs", ".ts"}
CALL = re.compile(r"(?<![\w.])\$?(certificate|crypto|manager|util|control)\.(\w+)\(")


def methods():
    """By interface: the least and the greatest number of arguments of each method."""
    return {interface.name: {method.name: (sum(not p.optional for p in method.parameters), len(method.parameters))
                             for method in interface.methods} for interface in facts.load()[0]}


def count_arguments(text, start):
    """The number of arguments in the parentheses that open before `start`."""
    depth, at, quote, commas, anything = 1, start, None, 0, False
    while depth:
        letter = text[at]
        if quote:
            quote = None if letter == quote else quote
        elif letter in "\"'":
            quote, anything = letter, True
        elif letter in "([{":
            depth += 1
        elif letter in ")]}":
            depth -= 1
        elif letter == "," and depth == 1:
            commas += 1
        anything = anything or (depth and not letter.isspace())
        at += 1
    return commas + 1 if anything else 0


def calls_in(text):
    """Each call of an object's method: interface, method, number of arguments."""
    for found in CALL.finditer(text):
        yield VARIABLES[found.group(1)], found.group(2), count_arguments(text, found.end())


def names_and_counts(folder):
    known, seen = methods(), 0
    for path in sorted(folder.rglob("*")):
        if path.suffix not in SUFFIXES or path.name.endswith(".d.ts"):
            continue
        calls = list(calls_in(path.read_text(encoding="ascii")))
        wrong = [f"{interface}.{method} with {count}" for interface, method, count in calls
                 if method not in known[interface]
                 or not known[interface][method][0] <= count <= known[interface][method][1]]
        seen += len(calls)
        yield f"{path.relative_to(folder)} calls methods that there are", "; ".join(wrong) or None
    yield "the samples call methods", None if seen > 100 else f"only {seen} calls were found"
