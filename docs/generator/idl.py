"""Reads the scripted interfaces from the IDL: numbers, names, parameters, results and help strings.

It knows the shape of this project's IDL, not the language. What it cannot read is an error, never left out.
"""

import re
from dataclasses import dataclass
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
IDL = ROOT / "src/resources/KzrSecX.idl"
NUMBERS = ROOT / "src/resources/DispIds.h"

BLOCK = re.compile(r"\[([^\]]*)\]\s*(interface|dispinterface)\s+(\w+)(?:\s*:\s*IDispatch)?\s*\{(.*?)\n    \};", re.S)
METHOD = re.compile(r'\[id\(([\w-]+)\),\s*helpstring\("([^"]*)"\)\]\s*(\w+)\s+(\w+)\((.*?)\);', re.S)
PARAMETER = re.compile(r"\[((?:[^\[\]()]|\([^()]*\))*)\]\s*(\w+)(\*?)\s+(\w+)")
COMMENT = re.compile(r"//.*")


@dataclass
class Parameter:
    name: str
    type: str
    optional: bool


@dataclass
class Method:
    number: int
    name: str
    help: str
    parameters: list
    result: str  # "void" when there is none


@dataclass
class Interface:
    name: str
    uuid: str
    help: str
    dispatch_only: bool
    methods: list


def numbers():
    found = re.findall(r"#define (DISPID_\w+) \(?(-?\d+)\)?", NUMBERS.read_text())
    return {name: int(value) for name, value in found}


def parameters_of(text):
    """The caller's parameters and the type of the result, which is the last one of a dual method."""
    parameters, result = [], None
    found = PARAMETER.findall(text)
    if len(found) != text.count("[in") + text.count("[out"):
        raise ValueError(f"cannot read the parameters {text!r}")
    for attributes, kind, pointer, name in found:
        if "retval" in attributes:
            result = kind
        elif pointer or "in" not in attributes.replace(" ", "").split(","):
            raise ValueError(f"cannot read the parameter {name}")
        else:
            parameters.append(Parameter(name, kind, "optional" in attributes))
    return parameters, result


def interfaces():
    text = COMMENT.sub("", IDL.read_text())
    known = numbers()
    found = []
    for attributes, kind, name, body in BLOCK.findall(text):
        uuid = re.search(r"uuid\(([\w-]+)\)", attributes).group(1)
        help_text = re.search(r'helpstring\("([^"]*)"\)', attributes).group(1)
        methods = []
        for number, method_help, result, method, inside in METHOD.findall(body):
            parameters, returned = parameters_of(inside)
            value = known[number] if number in known else int(number)
            methods.append(Method(value, method, method_help, parameters,
                                  result if kind == "dispinterface" else returned))
        if len(methods) != body.count("[id("):
            raise ValueError(f"{name}: {body.count('[id(')} methods, of which {len(methods)} could be read")
        found.append(Interface(name, uuid, help_text, kind == "dispinterface", methods))
    if len(found) != len(re.findall(r"^    (?:disp)?interface ", text, re.M)):
        raise ValueError("not every interface could be read")
    return found
