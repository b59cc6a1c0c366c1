"""Writes docs/reference.md: every scripted method, from the IDL and the table of facts."""

import facts

TYPES = {"BSTR": "string", "short": "short", "long": "long", "void": "nothing"}

HEAD = """\
# Reference

Every scripted method of the component, with what it gives, what it gives on failure, and what it asks the backend.
This file is generated (`python3 docs/generator`) from `src/resources/KzrSecX.idl` and `docs/reference/methods.json`;
a test compares it with the type library of the built DLL, and another one makes every call and looks at the answer and
at the backend calls.

## Reading it

- A method raises no script error: what it gives tells how it went. Only what never reaches it (a misspelt name, too few
  arguments, an argument that cannot be converted) is an error of the script.
- A `?` marks an argument that may be left out; it then is `""`. `short` has 16 bits, `long` 32.
- Names are spelt as they have always been (`checkValidaty`, `creatKeyFile`, `SecertSegment`); upper and lower case do
  not count.
- An object cannot be created without a backend. When one is created, the component reads the user list and
  the names of the keys (`SOF_GetUserList`, and `GetDeviceInfo` 9, 8 and 7 for each user), and remembers them for all
  objects of the process. Methods that take a container, a CSP name or a library look there.
- A call that ends in the guard (a fault inside the backend, no memory, an impossible argument) gives the empty answer,
  `0` or an empty text, and the log says `receive a fatal error!!!`. Where `0` stands for success a careful caller
  therefore looks at what came of it as well: the signature, the file. The control's methods end in a script error.
- "Failure" is a backend call that fails, or that answers with an empty text or with no. What the backend said stands
  in the [log](log.md).

Arguments of backend calls are the method's own by their names, or one of these:

| Argument | What is sent |
|---|---|
| `id(container)` | `container/serial number`, as the backend names it; `""` when no key has the container. What follows a `/` in the container's name does not count |
| `idByCsp(name)` `idByLibrary(name)` | the same of the first container on a key with this CSP name or extension library |
| `number(container)` `numberByLibrary(name)` | the serial number of that key |
| `certificate` | the current certificate |
| `signing` `exchange` `digest` `file` `saved` | what the call before gave: certificates, digest, the file as Base64, the algorithm that was set |
| `blanks(n)` | a text of n blanks |
| `each number` | one call, or group of calls, for the serial number of each key or user |

The symmetric methods set the backend's algorithm for their one operation and set the one before again. A file is
encrypted or decrypted when the call does not fail, whatever it answers.
"""

INTROS = {
    "ICertificate": "The current certificate, its fields, its validity.",
    "ICrypto": "Signing, verifying, encrypting, hashing, random data.",
    "IDeviceMgr": "Keys: login, PINs, their files and serial numbers.",
    "IUtil": "Base64, facts about users, renaming files.",
    "_DUSBKeyPnPActiveX": "The ActiveX control. On a page its class identifier is "
                          "`clsid:565B8FB4-EE30-4EE3-9B5B-E285678F1F9D`. The first call makes the control's "
                          "window and reads the user list; a window that cannot be made is an error of the script.",
}
KINDS = {
    "unsupported": "The log says `not support!`.",
    "accepted": "Accepted, and nothing else.",
}


def signature(method):
    arguments = ", ".join(f"{p.name}{'?' if p.optional else ''}: {TYPES[p.type]}" for p in method.parameters)
    return f"{method.name}({arguments}): {TYPES[method.result]}"


def shown(value):
    if value is None:
        return "–"
    if isinstance(value, str) and not value.startswith('"'):
        return facts.GIVES[value]
    return f"`{value}`"


def calls(case, between):
    return between.join(f"`{call}`" for call in case["calls"]) or "none"


def describe(method, entry):
    lines = [f"### {method.name}", "", f"`{signature(method)}` · number {method.number}", "", f"{method.help}.", ""]
    cases = facts.cases_of(entry)
    if "cases" in entry:
        lines += ["| | Gives | On failure | Backend calls |", "|---|---|---|---|"]
        for case in cases:
            when = case["when"][0].upper() + case["when"][1:]
            lines.append(f"| {when} | {shown(case['gives'])} | {shown(case['fails'])} | {calls(case, ', ')} |")
    else:
        case = cases[0]
        failure = f"; on failure {shown(case['fails'])}" if case["fails"] is not None else ""
        lines.append(f"- Gives {shown(case['gives'])}{failure}.")
        if case["calls"]:
            lines.append(f"- Backend calls: {calls(case, ', ')}.")
    remarks = " ".join(part for part in (KINDS.get(entry.get("kind")), entry.get("notes")) if part)
    if remarks:
        lines += ["", remarks] if "cases" in entry else [f"- {remarks}"]
    return lines + [""]


def render():
    interfaces, table = facts.load()
    lines = [HEAD]
    for name, program in facts.OBJECTS.items():
        interface = next(i for i in interfaces if i.name == name)
        lines += [f"## {program}", "", f"{INTROS[name]} {len(interface.methods)} methods, interface `{name}` "
                  f"`{{{interface.uuid}}}`{'' if interface.dispatch_only else ', dual'}.", ""]
        lines += [" · ".join(f"[{m.name}](#{anchor(name, m.name)})" for m in interface.methods), ""]
        for method in interface.methods:
            lines += [f'<a id="{anchor(name, method.name)}"></a>', ""] + describe(method, table[name][method.name])
    events = next(i for i in interfaces if i.name == facts.EVENTS)
    lines += ["## Events of the control", "", f"Interface `{events.name}` `{{{events.uuid}}}`.", ""]
    for method in events.methods:
        lines += [f"### {method.name}", "", f"`{signature(method)}` · number {method.number}", "", f"{method.help}.",
                  "", "It comes for every event of the backend, on the thread of the control's window, and nothing is "
                  "read again by then: call `getUserList` for the news.", ""]
    return "\n".join(lines).rstrip("\n") + "\n"


def anchor(interface, method):
    return f"{interface.strip('_').lower()}-{method.lower()}"
