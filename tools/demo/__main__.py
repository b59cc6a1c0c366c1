"""The main job on real input, in a private Windows machine: see script/demo, which builds first.

Prints a transcript: what was asked, what came back, how long it took. Ends with 1 at the first step that fails.
"""

import argparse
import shutil
import sys
import textwrap
from pathlib import Path

import story
from run import Clock, Machine, StepFailed


class Transcript:
    """Numbered chapters of steps on standard output."""

    def __init__(self, brief):
        self.brief = brief
        self.chapter = 0
        self.steps = 0

    def title(self, text):
        self.chapter += 1
        print(f"\n{self.chapter}. {text}", flush=True)

    def step(self, asked, run, *, shown=True):
        """Runs a step, prints what it was and what it gave, and returns that."""
        self.steps += 1
        print(f"\n   {asked}", flush=True)
        clock = Clock()
        text = run() or ""
        if shown and text and not self.brief:
            print(textwrap.indent(text, "   | ", lambda line: True))
        print(f"   ok, {clock}", flush=True)
        return text

    def failed(self, failure):
        print(f"\n   FAILED: {failure}\n", flush=True)

    def ended(self, clock):
        print(f"\nAll {self.steps} steps did what they should, in {clock}.\n{story.LAST_WORDS}")


class CaseLines:
    """The same for the test run: a line for each step, END at the end."""

    def __init__(self):
        self.steps = 0
        self.asked = "the start"

    def title(self, text):
        pass

    def step(self, asked, run, *, shown=True):
        self.steps += 1
        self.asked = asked
        text = run() or ""
        print(f"ok - {asked}", flush=True)
        return text

    def failed(self, failure):
        print(f"not ok - {self.asked}: {failure}", flush=True)

    def ended(self, clock):
        print("END")


def clean_machine(machine):
    """Everything of an earlier run but the prefix itself goes."""
    shutil.rmtree(machine.work, ignore_errors=True)
    machine.work.mkdir(parents=True)


def main():
    parser = argparse.ArgumentParser(prog="script/demo", description="Shows the main job on real input.")
    parser.add_argument("--build", type=Path, required=True, help="folder of the private machine")
    parser.add_argument("--products", type=Path, required=True, help="folder of the built products")
    parser.add_argument("--brief", action="store_true", help="leave out what the programs print")
    parser.add_argument("--cases", action="store_true", help="a line for each step, as the test run reads it")
    options = parser.parse_args()

    machine = Machine(options.build, options.products)
    transcript = CaseLines() if options.cases else Transcript(options.brief)
    clock = Clock()
    try:
        clean_machine(machine)
        for chapter in story.CHAPTERS:
            chapter(machine, transcript)
    except StepFailed as failure:
        transcript.failed(failure)
        print(f"demo: step {transcript.steps} failed after {clock}; the machine is in {machine.build}", flush=True)
        return 1
    transcript.ended(clock)
    return 0


if __name__ == "__main__":
    sys.exit(main())
