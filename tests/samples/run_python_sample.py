"""Runs the Python sample with objects that stand in for COM's: they refuse a method that there is not, and a wrong
number of arguments. Usage: run_python_sample.py SAMPLE PIN
"""

import getpass
import runpy
import sys
import types

import objects

ANSWERS = {"userLoginEx": lambda csp, container, library, pin: 0 if pin == "1234" else -1,
           "getKeyRetrysEx": lambda container, library: 7,
           "signFile": lambda path, container: "SIGNATURE",
           "importCert": lambda source, kind, pin="": 0,
           "exportCert": lambda kind, path="": "CERTIFICATE",
           "verifySignFile": lambda path, certificate, signature: 0 if signature == "SIGNATURE" else -1,
           "base64DecodeFile": lambda text, path: 0}


class Object:
    def __init__(self, interface):
        self._methods = objects.methods()[interface]

    def __getattr__(self, name):
        if name not in self._methods:
            raise AttributeError(f"there is no method {name}")
        least, most = self._methods[name]

        def call(*arguments):
            if not least <= len(arguments) <= most:
                raise TypeError(f"{name} takes {least} to {most} arguments, not {len(arguments)}")
            return ANSWERS[name](*arguments)
        return call


def main():
    programs = {program: interface for interface, program in objects.facts.OBJECTS.items()}
    client = types.ModuleType("win32com.client")
    client.Dispatch = lambda name: Object(programs[name])
    package = types.ModuleType("win32com")
    package.client = client
    sys.modules.update({"win32com": package, "win32com.client": client})
    sample, pin = sys.argv[1:]
    getpass.getpass = lambda prompt: pin
    sys.argv = [sample, "c1", "letter.txt"]
    runpy.run_path(sample, run_name="__main__")


main()
