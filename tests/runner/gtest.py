"""Runs a GoogleTest program once per code page and counts what it reports.

The program is asked first which tests it has. A test that was asked for and reported nothing has
failed, so a program that dies or leaves early never counts as success.
"""

import fnmatch
import re

from process import windows_path
from results import Run

# The locale that makes Wine start a process with this ANSI code page.
LOCALES = {
    1252: "C.UTF-8",
    932: "ja_JP.UTF-8",
    936: "zh_CN.UTF-8",
    949: "ko_KR.UTF-8",
    950: "zh_TW.UTF-8",
    65001: "hi_IN.UTF-8",
}
DEFAULT_PAGE = 1252

SUITE = re.compile(r"^(\w[\w/]*)\.(?:\s+#.*)?$")
TEST = re.compile(r"^  (\w[\w/]*)(?:\s+#.*)?$")
# Not anchored: a line of the test's own may lack its line end.
DONE = re.compile(r"\[ +(OK|FAILED|SKIPPED) +\] ([\w/]+\.[\w/]+)(?:, where .*)? \(\d+ ms\)")
STARTED = re.compile(r"\[ RUN +\] ([\w/]+\.[\w/]+)")
SUMMARY = re.compile(r"\[  PASSED  \] (\d+) tests?\.")
PAGE = re.compile(r"(?:^|/)CodePage(\d+)")


def tests_in(listing):
    """The full names of a --gtest_list_tests output, without the disabled ones."""
    names = []
    suite = None
    for line in listing.splitlines():
        match = SUITE.match(line)
        if match:
            suite = match.group(1)
            continue
        match = TEST.match(line)
        if match and suite and "DISABLED_" not in suite + match.group(1):
            names.append(f"{suite}.{match.group(1)}")
    return names


def page_of(name):
    """Suites named CodePage936... run under that code page, all others under the default one."""
    match = PAGE.search(name.split(".")[0])
    return int(match.group(1)) if match else DEFAULT_PAGE


def matches(label, name, wanted):
    if not wanted:
        return True
    pattern = wanted if re.search(r"[*?\[]", wanted) else f"*{wanted}*"
    return fnmatch.fnmatchcase(f"{label}:{name}", pattern) or fnmatch.fnmatchcase(name, pattern)


def judge(asked, ended):
    """Passed count, failures and skipped count of one run that was asked for these tests."""
    reported = {name: state for state, name in DONE.findall(ended.output)}
    passed = [name for name in asked if reported.get(name) == "OK"]
    skipped = [name for name in asked if reported.get(name) == "SKIPPED"]
    failures = [(name, "") for name in asked if reported.get(name) == "FAILED"]

    silent = [name for name in asked if name not in reported]
    started = set(STARTED.findall(ended.output))
    for name in silent:
        reason = f"the program died in it ({ended.how()})" if name in started else "never ran"
        failures.append((name, reason))

    summary = SUMMARY.search(ended.output)
    if not failures and not summary:
        failures.append(("the program's end", f"no summary ({ended.how()})"))
    elif not failures and ended.code != 0:
        failures.append(("the program's end", f"{ended.how()} although no test failed"))
    elif not failures and int(summary.group(1)) != len(passed):
        failures.append(("the program's end", f"its summary says {summary.group(1)} passed"))
    return len(passed), failures, len(skipped)


def listed_tests(bench, program, label, wine):
    """The program's tests; None, with a failed run, when it cannot tell them."""
    log = bench.log_file(f"{label}-list")
    ended = bench.run([program, "--gtest_list_tests"], log, cwd=program.parent,
                      wine_locale=LOCALES[DEFAULT_PAGE] if wine else None)
    names = tests_in(ended.output)
    if ended.code == 0 and names:
        return names, None
    reason = ended.how() if ended.code != 0 else "it has none"
    return None, Run(label, 0, [("the list of its tests", reason)], ended.seconds, log,
                     output=ended.output)


def run_program(bench, tally, program, label, wanted=None, wine=True):
    """Runs the wanted tests of one program; returns how many it has of them."""
    names, broken = listed_tests(bench, program, label, wine)
    if broken:
        tally.add(broken)
        return 0
    names = [name for name in names if matches(label, name, wanted)]
    pages = sorted({page_of(name) for name in names}, key=lambda page: (page != DEFAULT_PAGE, page))
    for page in pages:
        asked = [name for name in names if page_of(name) == page]
        run_label = label if page == DEFAULT_PAGE else f"{label} (code page {page})"
        if page not in LOCALES:
            tally.add(Run(run_label, 0, [(name, "no locale gives this code page") for name in asked], 0))
            continue
        tally.add(run_tests(bench, program, run_label, asked, LOCALES[page] if wine else None))
    return len(names)


def run_tests(bench, program, label, asked, wine_locale):
    log = bench.log_file(label)
    # Hundreds of names are too long for a command line; through a file they may be any number.
    flags = log.with_suffix(".flags")
    flags.write_text("--gtest_filter=" + ":".join(asked) + "\n--gtest_color=no\n--gtest_brief=0\n")
    flag_file = windows_path(flags) if wine_locale else flags
    ended = bench.run([program, f"--gtest_flagfile={flag_file}"], log, cwd=program.parent,
                      wine_locale=wine_locale)
    passed, failures, skipped = judge(asked, ended)
    return Run(label, passed, failures, ended.seconds, log, skipped, ended.output)
