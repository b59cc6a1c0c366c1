"""Tests the runner on programs that misbehave: nothing but a reported success may count as one."""

import sys
import tempfile
import textwrap
import unittest
from pathlib import Path

import checks
import gtest
import suite
from process import Bench, Ended
from results import Tally, excerpt

LISTING = "Running main()\\nLog.\\n  Writes\\n  Reads  # GetParam() = 4\\nP/CodePage936.\\n  Cuts/0\\n"

# A program with three tests, one of them for code page 936; `body` is what it does when run.
FAKE = """\
#!{python} -B
import os, sys, time
if "--gtest_list_tests" in sys.argv:
    print("{listing}")
    sys.exit(0)
names = open(sys.argv[1].split("=", 1)[1]).readline().strip().split("=", 1)[1].split(":")
def result(state, name): print(f"[ RUN      ] {{name}}\\n[{{state:^10}}] {{name}} (0 ms)", flush=True)
def ok(name): print(f"[ RUN      ] {{name}}\\n[       OK ] {{name}} (0 ms)", flush=True)
def failed(name): print(f"[ RUN      ] {{name}}\\nwhy\\n[  FAILED  ] {{name}}, where GetParam() = 4 (0 ms)", flush=True)
def summary(count): print(f"[  PASSED  ] {{count}} tests.", flush=True)
{body}
"""


class RunnerTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.tally = Tally()
        self.tally.add = self.tally.runs.append
        self.bench = Bench(self.folder, None, self.folder / "logs", timeout=20)

    def program(self, body, listing=LISTING):
        path = self.folder / "kzr_fake_tests"
        path.write_text(FAKE.format(python=sys.executable, listing=listing, body=textwrap.dedent(body)))
        path.chmod(0o755)
        return path

    def run_fake(self, body, wanted=None, **more):
        gtest.run_program(self.bench, self.tally, self.program(body, **more), "fake", wanted, wine=False)
        return self.tally.passed, self.tally.failed

    def reasons(self):
        return " | ".join(f"{name}: {reason}" for run in self.tally.runs for name, reason in run.failures)

    def test_reported_successes_are_counted(self):
        self.assertEqual(self.run_fake("for n in names: ok(n)\nsummary(len(names))"), (3, 0))

    def test_each_code_page_is_a_run_of_its_own(self):
        self.run_fake("for n in names: ok(n)\nsummary(len(names))")
        self.assertEqual([run.label for run in self.tally.runs], ["fake", "fake (code page 936)"])
        self.assertEqual([run.passed for run in self.tally.runs], [2, 1])

    def test_an_unknown_code_page_fails(self):
        listing = "CodePage437.\\n  Draws\\n"
        self.assertEqual(self.run_fake("ok(names[0])\nsummary(1)", listing=listing), (0, 1))

    def test_a_filter_leaves_the_other_tests_out(self):
        self.assertEqual(self.run_fake("for n in names: ok(n)\nsummary(len(names))", wanted="Writes"), (1, 0))

    def test_a_failed_test_is_counted_and_shown(self):
        counts = self.run_fake("""
            for n in names: failed(n) if "Reads" in n else ok(n)
            summary(len(names) - ("Log.Reads" in names))
            sys.exit("Log.Reads" in names)""")
        self.assertEqual(counts, (2, 1))
        self.assertEqual(excerpt(self.tally.runs[0], 10), ["Log.Reads:", "why"])

    def test_a_program_that_dies_fails_in_that_test_and_in_all_after_it(self):
        counts = self.run_fake('print("[ RUN      ] " + names[0], flush=True)\nos.abort()')
        self.assertEqual(counts, (0, 3))
        self.assertIn("Log.Writes: the program died in it (ended by signal 6)", self.reasons())
        self.assertIn("Log.Reads: never ran", self.reasons())

    def test_a_program_without_a_summary_fails(self):
        self.assertEqual(self.run_fake("for n in names: ok(n)"), (3, 2))

    def test_a_program_that_leaves_early_with_code_0_fails(self):
        self.assertEqual(self.run_fake("sys.exit(0)"), (0, 3))

    def test_an_exit_code_without_a_failed_test_fails(self):
        self.assertEqual(self.run_fake("for n in names: ok(n)\nsummary(len(names))\nsys.exit(5)"), (3, 2))

    def test_a_summary_that_counts_otherwise_fails(self):
        self.assertEqual(self.run_fake("for n in names: ok(n)\nsummary(7)"), (3, 2))

    def test_a_skipped_test_is_no_success(self):
        counts = self.run_fake('for n in names: result("  SKIPPED ", n)\nsummary(0)')
        self.assertEqual(counts, (0, 0))
        self.assertEqual(sum(run.skipped for run in self.tally.runs), 3)

    def test_a_program_that_hangs_is_stopped_and_fails(self):
        self.bench.timeout = 1
        counts = self.run_fake('print("[ RUN      ] " + names[0], flush=True)\ntime.sleep(60)',
                               listing="Log.\\n  Writes\\n  Reads\\n")
        self.assertEqual(counts, (0, 2))
        self.assertIn("stopped after 1 s", self.reasons())

    def test_a_program_without_tests_fails(self):
        self.assertEqual(self.run_fake("summary(0)", listing="none"), (0, 1))

    def test_a_program_that_cannot_start_fails(self):
        path = self.folder / "kzr_absent_tests"
        gtest.run_program(self.bench, self.tally, path, "absent", wine=False)
        self.assertEqual((self.tally.passed, self.tally.failed), (0, 1))

    def test_a_program_that_was_not_built_fails(self):
        self.program("for n in names: ok(n)\nsummary(len(names))")
        found = suite.programs_in(self.folder, "kzr_*_tests")
        suite.run_programs(self.bench, self.tally, found, ("fake", "absent"), None, wine=False)
        self.assertEqual((self.tally.passed, self.tally.failed), (3, 1))

    def test_a_program_that_nobody_expected_runs_too(self):
        self.program("for n in names: ok(n)\nsummary(len(names))")
        found = suite.programs_in(self.folder, "kzr_*_tests")
        suite.run_programs(self.bench, self.tally, found, (), None, wine=False)
        self.assertEqual((self.tally.passed, self.tally.failed), (3, 0))

    def run_script(self, body):
        checks.run_check(self.bench, self.tally, "script", [sys.executable, "-B", "-c", textwrap.dedent(body)])
        return self.tally.passed, self.tally.failed

    def script_labels(self, text):
        path = self.folder / "case.js"
        path.write_text(text)
        self.bench.run = lambda *_, wine_locale, **more: Ended(0, f"ok - {wine_locale}\nEND\n", 0)
        checks.run_script(self.bench, self.tally, self.folder, path)
        return [(run.label, run.passed, run.failures) for run in self.tally.runs]

    def test_a_script_runs_once_under_the_usual_code_page(self):
        self.assertEqual(self.script_labels("// What it shows.\n"), [("script case.js", 1, [])])

    def test_a_script_runs_under_each_code_page_that_it_names(self):
        self.assertEqual(self.script_labels("// What it shows.\n// Code pages: 936, 1252\n"),
                         [("script case.js (code page 936)", 1, []), ("script case.js", 1, [])])

    def test_a_script_with_an_unknown_code_page_fails(self):
        self.assertEqual(self.script_labels("' Code pages: 437\n"),
                         [("script case.js (code page 437)", 0,
                           [("case.js", "no locale gives this code page")])])

    def test_a_script_that_reaches_its_end_passes(self):
        self.assertEqual(self.run_script('print("END")'), (1, 0))

    def test_a_script_that_exits_0_before_its_end_fails(self):
        self.assertEqual(self.run_script('print("ok - a")'), (1, 1))

    def test_a_script_that_ends_with_a_code_fails(self):
        self.assertEqual(self.run_script('print("END")\nraise SystemExit(3)'), (0, 1))

    def test_the_cases_of_a_script_are_counted(self):
        self.assertEqual(self.run_script('print("ok - a\\nnot ok - b: why\\nok - c\\nEND")'), (2, 1))
        self.assertEqual(self.reasons(), "b: why")


class Reporter(unittest.TestResult):
    """Writes each case as the line that the runner counts."""

    def addSuccess(self, test):
        super().addSuccess(test)
        print(f"ok - {test._testMethodName}", flush=True)

    def say_failed(self, test, error):
        print(f"not ok - {test._testMethodName}: {str(error[1]).splitlines()[0]}", flush=True)

    def addFailure(self, test, err):
        super().addFailure(test, err)
        self.say_failed(test, err)

    def addError(self, test, err):
        super().addError(test, err)
        self.say_failed(test, err)


if __name__ == "__main__":
    outcome = Reporter()
    unittest.defaultTestLoader.loadTestsFromTestCase(RunnerTest).run(outcome)
    print("END")
    sys.exit(0 if outcome.wasSuccessful() else 1)
