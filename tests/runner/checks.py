"""Runs what reports by lines: the checks of the project and the cases for script hosts.

Such a program writes "ok - name" or "not ok - name: why" for each case and the line END when it has
come to its end. A script host exits 0 after any script error, so without that line nothing has passed.
"""

import re

from gtest import DEFAULT_PAGE, LOCALES
from process import windows_path
from results import Run

CASE = re.compile(r"^(ok|not ok) - (.+)$", re.M)
END = re.compile(r"^END$", re.M)

HOST_SUFFIXES = (".js", ".vbs")
# Among the comments that a script opens with.
PAGES = re.compile(r"^(?://|') Code pages: (.*)$", re.M)


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


def register(bench, tally, label, module, *arguments):
    """Runs regsvr32 on a DLL; whether it worked is a case of its own."""
    log = bench.log_file(label)
    ended = bench.run(["regsvr32", "/s", *arguments, windows_path(module)], log, wine_locale="C.UTF-8")
    failures = [] if ended.code == 0 else [("regsvr32", ended.how())]
    tally.add(Run(label, 1 - len(failures), failures, ended.seconds, log, output=ended.output))
    return not failures


def run_scripts(bench, tally, folder, wanted):
    """Registers the DLL and a backend to go with it, and runs every script below the folder in the platform's
    own script host. A file of the script's name with the suffix .rules tells what the backend answers; the
    variable KZR_TEST_CODE_PAGE tells the script its page."""
    scripts = sorted(path for path in folder.rglob("*") if path.suffix in HOST_SUFFIXES)
    scripts = [path for path in scripts if wanted(str(path.relative_to(folder)))]
    if not scripts:
        return 0
    backend = bench.build / "tests/kzr_test_backend.dll"
    ready = register(bench, tally, "script registration", bench.dll)
    ready = register(bench, tally, "script backend registration", backend) and ready
    if ready:
        for path in scripts:
            run_script(bench, tally, folder, path)
    else:
        tally.add(Run("scripts", 0, [(path.name, "the DLLs are not registered") for path in scripts], 0))
    register(bench, tally, "script backend unregistration", backend, "/u")
    register(bench, tally, "script unregistration", bench.dll, "/u")
    return len(scripts)


def pages_of(path):
    """The code pages that a script wants to run under: a line of its own, "Code pages: 936, 1252"."""
    wanted = PAGES.search(path.read_text(encoding="utf-8", errors="replace"))
    return [int(page) for page in re.findall(r"\d+", wanted.group(1))] if wanted else [DEFAULT_PAGE]


def run_script(bench, tally, folder, path):
    for page in pages_of(path):
        label = f"script {path.relative_to(folder)}"
        if page != DEFAULT_PAGE:
            label += f" (code page {page})"
        if page in LOCALES:
            run_under_page(bench, tally, label, path, page)
        else:
            tally.add(Run(label, 0, [(path.name, "no locale gives this code page")], 0))


def run_under_page(bench, tally, label, path, page):
    log = bench.log_file(label)
    rules = path.with_suffix(".rules")
    environment = {"KZR_TEST_BACKEND_RULES": windows_path(rules) if rules.is_file() else "",
                   "KZR_TEST_CODE_PAGE": str(page)}
    ended = bench.run(["cscript", "//nologo", windows_path(path)], log, cwd=path.parent,
                      wine_locale=LOCALES[page], environment=environment)
    passed, failures = judge(ended)
    tally.add(Run(label, passed, failures, ended.seconds, log, output=ended.output))
