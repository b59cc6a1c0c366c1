"""Counts what passed and failed, prints progress, and shows at the end what failed and why."""

import re


class Run:
    """The result of one program, script or check."""

    def __init__(self, label, passed, failures, seconds, log=None, skipped=0, output=""):
        self.label = label
        self.passed = passed
        # Name and reason of each failed case.
        self.failures = failures
        self.seconds = seconds
        self.log = log
        self.skipped = skipped
        self.output = output


class Tally:
    def __init__(self):
        self.runs = []

    @property
    def passed(self):
        return sum(run.passed for run in self.runs)

    @property
    def failed(self):
        return sum(len(run.failures) for run in self.runs)

    def add(self, run):
        self.runs.append(run)
        text = f"{run.label}: {run.passed} passed, {len(run.failures)} failed"
        if run.skipped:
            text += f", {run.skipped} skipped"
        print(f"{text} in {run.seconds:.1f} s", flush=True)
        for name, reason in run.failures[:20]:
            print(f"    failed: {name}" + (f": {reason}" if reason else ""))
        if len(run.failures) > 20:
            print(f"    ... and {len(run.failures) - 20} more")
        if run.failures and run.log:
            print(f"    see {run.log}", flush=True)

    def show_failures(self, lines):
        """The part of each failed run's output that belongs to the failure, at most `lines` each."""
        for run in self.runs:
            if not run.failures:
                continue
            print(f"\n--- {run.label}" + (f" ({run.log})" if run.log else ""))
            for line in excerpt(run, lines):
                print(line)

    def last_line(self):
        return f"{self.passed} passed, {self.failed} failed"


def excerpt(run, lines):
    """What the failed tests wrote; the end of the output when it holds no such thing."""
    found = []
    for name, _ in run.failures:
        block = re.search(r"\[ RUN      \] " + re.escape(name) + r"\n(.*?)"
                          r"\[  FAILED  \] " + re.escape(name), run.output, re.S)
        if block:
            found += [f"{name}:"] + block.group(1).splitlines()
    if found and not any(reason for _, reason in run.failures):
        return found[:lines]
    # A reason of our own tells that the program did not come to its end: its last words count too.
    return found[:lines // 2] + run.output.splitlines()[-(lines - len(found[:lines // 2])):]
