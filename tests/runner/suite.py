"""Which programs, checks and script cases make up the test run of a build, and their sum.

How each kind is run and judged is left to gtest.py and checks.py.
"""

import argparse
import os
import shutil
import sys
import time
from pathlib import Path

import checks
import gtest
from process import ROOT, Bench
from results import Run, Tally

# Fewer than these are a broken build, not a smaller test run.
EXPECTED_WINDOWS = ("unit", "objects", "component", "hardening", "registration", "control")
# Those that look at the DLL they are given; the others test this source tree.
EXPECTED_OF_DLL = ("component", "hardening", "registration", "control")
# Where the libraries of the software key could be had.
EXPECTED_OF_SOFTKEY = ("softkey", "softkey_server", "softkey_component")
EXPECTED_NATIVE = ("native", "native_threads", "softkey_core")


def label_of(program):
    """kzr_unit_tests.exe is called unit."""
    return program.stem.removeprefix("kzr_").removesuffix("_tests")


def programs_in(folder, pattern):
    found = [path for path in folder.rglob(pattern) if path.is_file() and os.access(path, os.X_OK)]
    return {label_of(path): path for path in sorted(found)}


def run_programs(bench, tally, programs, expected, wanted, wine):
    """Runs the expected programs in their order, then whatever else was found."""
    matched = 0
    for label in list(expected) + sorted(set(programs) - set(expected)):
        if label in programs:
            matched += gtest.run_program(bench, tally, programs[label], label, wanted, wine)
        else:
            tally.add(Run(label, 0, [("the test program", "it was not built")], 0))
    return matched


def run_checks(bench, tally, options):
    """The checks that are programs of the build machine; each knows how to test itself."""
    if options.programs_only:
        return 0
    python = [sys.executable, "-B"]
    imports = [*python, ROOT / "tests/imports/check", "--dll", bench.dll]
    if not options.foreign_dll:
        imports += ["--symbols", bench.dll.with_suffix(".debug")]
    table = {"imports": imports, "imports self-test": [*python, ROOT / "tests/imports/check", "--self-test"],
             "pascal": [ROOT / "tests/pascal/check", bench.build],
             "samples": [*python, ROOT / "tests/samples/check", bench.build]}
    if (bench.dll.parent / "KzrSoftKey_x64.dll").is_file():
        table["samples with keys"] = [*python, ROOT / "tests/samples/with-keys", bench.build]
    else:
        print("samples with keys: NOT run, since the software key was not built", flush=True)
    if not options.foreign_dll:
        table["sample languages"] = [*python, ROOT / "tests/samples/languages", bench.build]
        table["docs"] = [*python, ROOT / "tests/docs/check", bench.build]
        table["includes"] = [*python, ROOT / "tests/check_includes"]
        if bench.build.name == "release":  # the others are not what is delivered
            table["bench"] = [*python, ROOT / "tests/bench/run", "--short", "--build", bench.build, "--dll", bench.dll]
            table["demo"] = [ROOT / "script/demo", "--no-build", "--cases"]
        table["includes self-test"] = [*python, ROOT / "tests/check_includes", "--self-test"]
        table["fuzz"] = [*python, ROOT / "tests/native/fuzz", "--build", options.native]
        for name in ("messages_and_keys", "xml_and_chains"):
            table[f"interop {name}"] = [*python, ROOT / "tests/softkey/interop" / name, "--build", options.native]
        table["coverage self-test"] = [*python, ROOT / "tests/coverage", "--self-test"]
        table["runner self-test"] = [*python, ROOT / "tests/runner/selftest.py"]
    chosen = [label for label in table if not options.filter or options.filter in label]
    for label in chosen:
        checks.run_check(bench, tally, label, table[label])
    return len(chosen)


def run_some_programs(bench, tally, options):
    """For tests with counts of their own; these programs may be the only ones that were built."""
    matched = 0
    for label in options.only:
        if label in EXPECTED_NATIVE:
            programs = programs_in(options.native, f"kzr_{label}_tests")
        else:
            programs = programs_in(options.build / "tests", f"kzr_{label}_tests.exe")
        matched += run_programs(bench, tally, programs, (label,), options.filter, wine=label not in EXPECTED_NATIVE)
    if not matched and not tally.failed:
        tally.add(Run("filter", 0, [(options.filter or "all", "no test has such a name")], 0))


def run_everything(bench, tally, options):
    if options.only:
        run_some_programs(bench, tally, options)
        return
    matched = run_checks(bench, tally, options)
    if not options.foreign_dll and not options.programs_only:
        native = programs_in(options.native, "kzr_*_tests")
        matched += run_programs(bench, tally, native, EXPECTED_NATIVE, options.filter, wine=False)

    windows = programs_in(options.build / "tests", "kzr_*_tests.exe")
    expected = EXPECTED_WINDOWS
    if (ROOT / "build/third-party/lib/libcrypto.a").is_file():
        # Of the software key's, one looks at the DLL; the others' builds are no different.
        expected += ("softkey_component",) if options.programs_only else EXPECTED_OF_SOFTKEY
    else:
        print("test: THE SOFTWARE KEY IS NOT TESTED: run script/third-party", flush=True)
    if options.foreign_dll:
        expected = EXPECTED_OF_DLL
        for label in ("unit", "objects", "softkey", "softkey_server"):
            windows.pop(label, None)
    matched += run_programs(bench, tally, windows, expected, options.filter, wine=True)

    matched += checks.run_scripts(bench, tally, ROOT / "tests/script",
                                  lambda name: gtest.matches("script", name, options.filter))
    if matched == 0:
        tally.add(Run("filter", 0, [(options.filter or "all", "no test has such a name")], 0))


def main():
    parser = argparse.ArgumentParser(prog="tests/runner")
    parser.add_argument("--build", type=Path, required=True, help="build folder of the Windows programs")
    parser.add_argument("--native", type=Path, help="build folder of the native programs")
    parser.add_argument("--dll", type=Path, required=True, help="the DLL under test")
    parser.add_argument("--foreign-dll", action="store_true",
                        help="the DLL is not of this tree: run only what looks at the DLL")
    parser.add_argument("--programs-only", action="store_true",
                        help="Windows programs and scripts: the build is no product, and natively nothing differs")
    parser.add_argument("--only", metavar="PROGRAM", action="append",
                        help="this program's tests and nothing else; may be repeated")
    parser.add_argument("--timeout", type=float, default=600, help="seconds that one program may take")
    parser.add_argument("--tails", type=int, default=30, help="lines shown of each failed program")
    parser.add_argument("filter", nargs="?", help="part of a test's name, or a pattern with * and ?")
    options = parser.parse_args()
    # Programs run in folders of their own, where a relative path means something else.
    options.build = options.build.resolve()
    options.native = options.native.resolve() if options.native else options.build.parent / "native-sanitize"
    started = time.monotonic()

    # A run that was cut short leaves the log's switch behind; the tests begin without it.
    shutil.rmtree(options.build / "wine/drive_c/users/kzr/AppData/LocalLow/TOLV/log", ignore_errors=True)
    tally = Tally()
    bench = Bench(options.build, options.dll.resolve(), options.build / "test-logs", options.timeout)
    if bench.dll.is_file():
        run_everything(bench, tally, options)
    else:
        tally.add(Run("the DLL", 0, [(str(bench.dll), "there is no such file")], 0))
    if bench.wine_used and not bench.end_wine("-w"):
        tally.add(Run("wine", 0, [("its end", "a program was left running")], 30))
        bench.end_wine("-k")

    tally.show_failures(options.tails)
    print(f"test: done in {time.monotonic() - started:.1f} s; logs in {bench.logs}")
    print(tally.last_line(), flush=True)
    return 1 if tally.failed or not tally.passed else 0

