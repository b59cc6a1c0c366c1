"""Writes samples/typescript/kzrsecx.d.ts: the objects and the control for TypeScript, and for checked JavaScript."""

import facts

TYPES = {"BSTR": "string", "short": "number", "long": "number", "void": "void"}

HEAD = """\
// The scripted objects of KzrSecX for TypeScript and for checked JavaScript. Generated from the type library's IDL by
// docs/generator; do not edit.
//
// With the compiler's library "scripthost" (tsconfig: "lib": ["es5", "dom", "scripthost"]) the names of the objects
// give their types: new ActiveXObject("TOLVSecCOM.Crypto") is a KzrSecX.Crypto.
"""

CLASSES = {
    "ICertificate": "Certificate",
    "ICrypto": "Crypto",
    "IDeviceMgr": "DeviceMgr",
    "IUtil": "Util",
    "_DUSBKeyPnPActiveX": "USBKeyPnPActiveX",
}


def parameters(method):
    return ", ".join(f"{p.name}{'?' if p.optional else ''}: {TYPES[p.type]}" for p in method.parameters)


def members(interface):
    for method in interface.methods:
        yield f"        /** {method.help}. */"
        line = f"        {method.name}({parameters(method)}): {TYPES[method.result]};"
        yield line if len(line) <= 118 else line.replace("(", "(\n            ", 1)


def render():
    interfaces = {interface.name: interface for interface in facts.load()[0]}
    lines = [HEAD, "declare namespace KzrSecX {"]
    for name, title in CLASSES.items():
        lines += [f"    /** {facts.OBJECTS[name]} */", f"    interface {title} {{"]
        lines += [*members(interfaces[name]), "    }", ""]
    events = interfaces[facts.EVENTS]
    lines += ["    /** The control's events, by name. */", "    interface USBKeyPnPActiveXEvents {"]
    lines += [*members(events), "    }", ""]
    lines += ["    /** The element that holds the control on a page; events come through attachEvent. */",
              "    interface USBKeyPnPActiveXElement extends HTMLObjectElement, USBKeyPnPActiveX {",
              "        attachEvent<K extends keyof USBKeyPnPActiveXEvents>(event: K, "
              "handler: USBKeyPnPActiveXEvents[K]): boolean;",
              "        detachEvent<K extends keyof USBKeyPnPActiveXEvents>(event: K, "
              "handler: USBKeyPnPActiveXEvents[K]): void;", "    }", "}", ""]
    lines.append("interface ActiveXObject {")
    for name, title in CLASSES.items():
        program = facts.OBJECTS[name]
        programs = [program] if program.endswith(".1") else [program, f"{program}.1"]
        lines += [f'    new (name: "{known}"): KzrSecX.{title};' for known in programs]
    lines.append("}")
    return "\n".join(lines) + "\n"
