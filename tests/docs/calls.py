"""Makes every call of the reference's table against the registered DLL and the test backend, and compares what comes
back, and the backend calls that the log shows, with what the table says.

A script of all cases is written and run twice: once with a backend that answers, once with one that refuses.
"""

import datetime
import json
import re

import facts

# What the backend answers. First in a rules file, so that it counts before the built-in answers.
ANSWERS = {
    "SOF_ExportUserCert": ("text", "SIGN"),
    "SOF_ExportExChangeUserCert": ("text", "EXCH"),
    "SOF_GetCertInfo": ("text", "20301231120000Z"),
    "SOF_HashData": ("text", "DIGEST"),
    "Base64EncodeFile": ("text", "FILE64"),
    "SOF_GetPinRetryCount": ("i4", "9"),
    "SOF_ValidateCert": ("i4", "9"),
    "SOF_GetEncryptMethod": ("i4", "257"),
    "SetUserConfig": ("bool", "true"),
}
GOOD_RULES = "GetAllDeviceSN = text SN01;SN02;\n" + "".join(
    f"{method} = {kind} {value}\n" for method, (kind, value) in ANSWERS.items())
# The keys answer, everything else is refused.
BAD_RULES = """\
CreateInstance = empty
SOF_GetUserList = text Alice||c1/SN01&&&Bob||c2/SN02&&&
GetDeviceInfo(SN01, 9) = text CSP1
GetDeviceInfo(SN01, 8) = text EXT1
GetDeviceInfo(SN02, 9) = text CSP2
GetDeviceInfo(SN02, 8) = text EXT2
GetDeviceInfo = text HARD
SetUserConfig = i4 0
* = hresult 80004005
"""
# The control asks for the list itself before it gives it.
NO_LIST_RULES = "SOF_GetUserList = hresult 80004005\n"

# Arguments by the parameter's name; any other text is its own name, any other number 7.
EXAMPLES = {"sContainerName": "c1", "sContainnerName": "c1", "strContainerName": "c1", "sCSPName": "CSP2",
            "sExtLib": "EXT2", "nMaxLen": 3}
LISTS = {"containers": "c2&&&", "serial1": "SN01", "serial2": "SN02", "csp1": "CSP1", "library1": "EXT1", "count": "2",
         "users": "Alice||c1&&&Bob||c2&&&", "keys": "CSP1||EXT1&&&CSP2||EXT2&&&", "certificate": "CERT",
         "number": 9, "lower": "20301231120000z", "date": "2030/12/31"}
# Waits for a person.
NOT_CALLED = {("_DUSBKeyPnPActiveX", "AboutBox")}

CALL = re.compile(r"CAxKzrApp: call KzrAppCOM (\w+), param count\((\d+)\) param\(s\)\((.*)\)$")
UNSUPPORTED = "not support!"

SCRIPT = """\
var objects = {};
function make(key, name) { objects[key] = new ActiveXObject(name); }
function say(index, value) { WScript.Echo("R " + index + " " + typeof value + " " + value); }
try {
%s
    WScript.Echo("END");
} catch (e) {
    WScript.Echo("error " + (e.number >>> 0).toString(16) + " " + e.message);
}
"""


class Planned:
    """One case of the table with the arguments it is tried with."""

    def __init__(self, index, interface, method, case, entry):
        self.index, self.interface, self.method, self.case = index, interface.name, method, case
        self.kind = entry.get("kind")
        given = case.get("with", {})
        self.arguments = {p.name: given.get(p.name, EXAMPLES.get(p.name, p.name if p.type == "BSTR" else 7))
                          for p in method.parameters}
        self.name = f"{interface.name}.{method.name}" + (f" ({case['when']})" if "when" in case else "")

    def line(self):
        arguments = ", ".join(json.dumps(value) for value in self.arguments.values())
        reset = 'objects.ICertificate.importCert("CERT", 1); ' if self.interface == "ICertificate" else ""
        return (f'    {reset}WScript.Echo("B {self.index}"); '
                f"say({self.index}, objects.{self.interface}.{self.method.name}({arguments}));")

    def value_of(self, expression):
        """What an argument of the table's backend call comes to, as the log shows it."""
        places = {"id": {"c1": "c1/SN01"}, "number": {"c1": "SN01"}, "idByCsp": {"CSP2": "c2/SN02"},
                  "idByLibrary": {"EXT2": "c2/SN02"}, "numberByLibrary": {"EXT2": "SN02"}}
        fixed = {"certificate": "CERT", "signing": "SIGN", "exchange": "EXCH", "digest": "DIGEST",
                 "file": "FILE64", "saved": "257", '""': ""}
        if expression in self.arguments:
            return str(self.arguments[expression])
        if expression in fixed:
            return fixed[expression]
        if re.fullmatch(r"-?\d+", expression):
            return expression
        function, _, inside = expression.rstrip(")").partition("(")
        if function == "blanks":
            return " " * self.arguments[inside]
        return places[function][self.arguments[inside]]

    def calls(self):
        """The table's backend calls as (method, arguments joined as the log joins them)."""
        wanted, group = [], []
        for call in [*self.case["calls"], None]:
            if call and "each number" in call:
                group.append(call)
                continue
            for serial in ("SN01", "SN02") if group else ():
                wanted += [self.one_call(text, serial) for text in group]
            group = []
            if call:
                wanted.append(self.one_call(call))
        return wanted

    def one_call(self, text, serial=""):
        method, _, inside = text[:-1].partition("(")
        values = [serial if part == "each number" else self.value_of(part)
                  for part in (inside.split(", ") if inside else [])]
        return method, values

    def given(self):
        """The value when the backend answers."""
        gives = self.case["gives"]
        if isinstance(gives, int):
            return gives
        if gives.startswith('"'):
            return json.loads(gives)
        if gives == "nothing":
            return None
        if gives == "days":
            return self.days()
        if gives != "text":
            return LISTS[gives]
        calls = dict((method, values) for method, values in self.calls())
        method = self.case.get("gives_of", self.calls()[-1][0])
        return ANSWERS[method][1] if method in ANSWERS else f"{method}({','.join(calls[method])})"

    def days(self):
        if self.arguments["sDate"]:
            return 1
        left = datetime.datetime(2030, 12, 31, 12) - datetime.datetime.now()
        return {left.days - 1, left.days, left.days + 1}

    def refused(self):
        fails = self.case["fails"]
        return json.loads(fails) if isinstance(fails, str) else fails


def plan():
    interfaces, table = facts.load()
    planned = []
    for interface in interfaces:
        for method in interface.methods if interface.name in facts.OBJECTS else ():
            if (interface.name, method.name) in NOT_CALLED:
                continue
            entry = table[interface.name][method.name]
            for case in facts.cases_of(entry):
                planned.append(Planned(len(planned), interface, method, case, entry))
    return planned


def script(planned):
    lines = [f'    make("{key}", "{name}");' for key, name in facts.OBJECTS.items()]
    # The control's first call, whichever it is, makes its window and reads the list.
    lines.append(f"    objects.{list(facts.OBJECTS)[-1]}.EnumUsbKey();")
    return SCRIPT % "\n".join(lines + [case.line() for case in planned])


def answers(output):
    """Of each case by its index: type and value, the backend calls, and the lines it wrote."""
    found, lines = {}, None
    for line in output.splitlines():
        begun, ended = re.match(r"B (\d+)$", line), re.match(r"R (\d+) (\w+) ?(.*)$", line)
        if begun:
            lines = []
        elif ended:
            calls = [match.groups() for match in map(CALL.search, lines) if match]
            found[int(ended.group(1))] = (ended.group(2), ended.group(3), calls, lines)
        elif lines is not None:
            lines.append(line)
    return found


def same(expected, kind, value):
    if expected is None:
        return kind == "undefined"
    if isinstance(expected, set):
        return kind == "number" and int(value) in expected
    return (kind, value) == (("number", str(expected)) if isinstance(expected, int) else ("string", expected))


def judge_answer(case, answer):
    kind, value, calls, lines = answer
    if not same(case.given(), kind, value):
        return f"gives {kind} {value!r}, not {case.given()!r}"
    wanted = [(method, str(len(values)), "--".join(values)) for method, values in case.calls()]
    if calls != wanted:
        return f"calls {calls}, not {wanted}"
    if case.kind and (case.kind == "unsupported") != any(UNSUPPORTED in line for line in lines):
        return f"is {case.kind} in the table and something else in the log"
    return None


def judge_refusal(case, answer):
    kind, value, _, _ = answer
    if same(case.refused(), kind, value):
        return None
    return f"gives {kind} {value!r} on failure, not {case.refused()!r}"
