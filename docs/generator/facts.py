"""The table docs/reference/methods.json: what each method gives, what it gives on failure, and its backend calls
in their order. The names, numbers and parameters are the IDL's; both have to name the same methods.

An entry is one case, or has several under "cases", each with the text "when". Of a case
    calls   backend calls in order; their arguments are explained in reference.py, ARGUMENTS
    gives   a number, a quoted text, or a word of GIVES
    fails   the same, for when the backend refuses; null when there is nothing to refuse
    with    arguments for the test that makes the calls (tests/docs)
    kind    "unsupported", "accepted" or "fixed": methods that are only kept for old pages
"""

import json
from pathlib import Path

import idl

TABLE = Path(__file__).resolve().parents[1] / "reference/methods.json"

# What the objects are called where they are made, in the order of the reference.
OBJECTS = {
    "ICertificate": "TOLVSecCOM.Certificate",
    "ICrypto": "TOLVSecCOM.Crypto",
    "IDeviceMgr": "TOLVSecCOM.DeviceMgr",
    "IUtil": "TOLVSecCOM.Util",
    "_DUSBKeyPnPActiveX": "USBKEYPNPACTIVEX.USBKeyPnPActiveXCtrl.1",
}
EVENTS = "_DUSBKeyPnPActiveXEvents"

GIVES = {
    "text": "the backend's text",
    "number": "the backend's number",
    "certificate": "the current certificate",
    "lower": "the backend's text in lower case",
    "date": "the date",
    "days": "the days",
    "containers": "the containers",
    "serial1": "the serial number",
    "serial2": "the serial number",
    "csp1": "the name",
    "library1": "the name",
    "count": "the number, as a text",
    "users": "the list",
    "keys": "the list",
    "nothing": "nothing",
}


def cases_of(entry):
    return entry.get("cases", [entry])


def load():
    """The interfaces, and their facts by interface and method."""
    table = json.loads(TABLE.read_text(encoding="ascii"))
    interfaces = idl.interfaces()
    wanted = {interface.name: {method.name for method in interface.methods}
              for interface in interfaces if interface.name in OBJECTS}
    named = {interface: set(methods) for interface, methods in table.items()}
    if wanted != named:
        raise ValueError(f"the IDL and {TABLE.name} name different methods: "
                         f"{[sorted(wanted[i] ^ named.get(i, set())) for i in wanted]}")
    return interfaces, table
