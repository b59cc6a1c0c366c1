"""Runs what reports by lines: the checks of the project and the cases for script hosts.

Such a program writes "ok - name" or "not ok - name: why" for each case and the line END when it has
come to its end. A script host exits 0 after any script error, so without that line nothing has passed.
"""

import re

from process import windows_path
from results import Run

CASE = re.compile(r"^(ok|not ok) - (.+)$", re.M)
END = re.compile(r"^END$", re.M)

HOST_SUFFIXES = (".js", ".vbs")


def judge(ended):
    """Passed count and failures. A program that names no cases is one case itself."""
    cases = CASE.findall(ended.output)
    passed = sum(1 for state, _ in cases if state == "ok")
    failures = []
    for state, text in cases:
        if state == "not ok":
            name, _, reason = text.partition(": ")
            failures.append((name, reason))
    if not END.search(ended.output):
        failures.append(("reaching the end", f"no END line ({ended.how()})"))
    elif ended.code != 0 and not failures:
        failures.append(("the exit code", ended.how()))
    elif not cases and not failures:
        passed = 1
    return passed, failures


def run_check(bench, tally, label, arguments):
    log = bench.log_file(label)
    ended = bench.run(arguments, log)
    passed, failures = judge(ended)
    tally.add(Run(label, passed, failures, ended.seconds, log, output=ended.output))


def register(bench, tally, label, *arguments):
    """Runs regsvr32 on the DLL; whether it worked is a case of its own."""
    log = bench.log_file(label)
    ended = bench.run(["regsvr32", "/s", *arguments, windows_path(bench.dll)], log, wine_locale="C.UTF-8")
    failures = [] if ended.code == 0 else [("regsvr32", ended.how())]
    tally.add(Run(label, 1 - len(failures), failures, ended.seconds, log, output=ended.output))
    return not failures


def run_scripts(bench, tally, folder, wanted):
    """Registers the DLL and runs every script of the folder in the platform's own script host."""
    scripts = sorted(path for path in folder.iterdir() if path.suffix in HOST_SUFFIXES)
    scripts = [path for path in scripts if wanted(path.name)]
    if not scripts:
        return 0
    if register(bench, tally, "script registration"):
        for path in scripts:
            label = f"script {path.name}"
            log = bench.log_file(label)
            ended = bench.run(["cscript", "//nologo", windows_path(path)], log, cwd=folder,
                              wine_locale="C.UTF-8")
            passed, failures = judge(ended)
            tally.add(Run(label, passed, failures, ended.seconds, log, output=ended.output))
    else:
        tally.add(Run("scripts", 0, [(path.name, "the DLL is not registered") for path in scripts], 0))
    register(bench, tally, "script unregistration", "/u")
    return len(scripts)
