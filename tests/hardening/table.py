"""Prints what a run of the hardening tests has done: area, count, seed, time, findings.

Reads what the programs wrote, a file each. A test that was begun and never ended counts as a finding. Of programs that
test other things too, only suites that tell a count or a seed, or that found something, get a row.
"""

import re
import sys
from pathlib import Path

STARTED = re.compile(r"^\[ RUN +\] (\w+)[/.]")
DONE = re.compile(r"^\[ +(OK|FAILED|SKIPPED) +\] ([\w/]+)\.[\w/]+(?:, where .*)? \((\d+) ms\)")
DID = re.compile(r"^did: ([^:]+): (\d+) (.+)$")
SEED = re.compile(r"^KZR_SEED=(\d+)")


class Area:
    def __init__(self):
        self.counts, self.seeds = {}, []
        self.milliseconds = self.passed = self.findings = self.skipped = 0


def read(lines, areas, suites):
    running = None
    for line in lines:
        if match := STARTED.match(line):
            if running:
                suites.setdefault(running, Area()).findings += 1
            running = match[1]
        elif match := DID.match(line):
            area = suites.setdefault(running, Area())
            area.counts[match[3]] = area.counts.get(match[3], 0) + int(match[2])
            areas.setdefault(running, match[1])
        elif match := SEED.match(line):
            suites.setdefault(running, Area()).seeds.append(match[1])
        elif match := DONE.match(line):
            area = suites.setdefault(match[2].split("/")[-1] if running is None else running, Area())
            area.milliseconds += int(match[3])
            area.passed += match[1] == "OK"
            area.findings += match[1] == "FAILED"
            area.skipped += match[1] == "SKIPPED"
            running = None
    if running:
        suites.setdefault(running, Area()).findings += 1


def read_all(paths):
    areas, suites = {}, {}
    for path in paths:
        own = {}
        read(Path(path).read_text("utf-8", "replace").replace("\r", "").splitlines(), areas, own)
        everything = Path(path).name.startswith("hardening")
        suites.update({name: area for name, area in own.items()
                       if everything or name.startswith("Plant") or area.counts or area.seeds or area.findings})
    return areas, suites


def rows_of(name, suite, area):
    """A row for each thing that was counted; area, suite, seed, time and findings stand in the first."""
    counts = [f"{count:,} {unit}" for unit, count in area.counts.items()]
    skipped = f", {area.skipped} skipped" if area.skipped else ""
    first = [name, suite, (counts or [f"{area.passed + area.findings} tests"])[0], " ".join(area.seeds),
             f"{area.milliseconds / 1000:.1f} s", f"{area.findings or 'none'}{skipped}"]
    return [first] + [["", "", count, "", "", ""] for count in counts[1:]]


def main():
    areas, suites = read_all(sys.argv[1:])
    rows = [["area", "suite", "count", "seed", "time", "findings"]]
    for suite in sorted(suites, key=lambda each: (areas.get(each, "~"), each)):
        rows += rows_of(areas.get(suite, "-"), suite, suites[suite])
    widths = [max(len(line[column]) for line in rows) for column in range(len(rows[0]))]
    for line in rows:
        print("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip())
    seconds = sum(area.milliseconds for area in suites.values()) / 1000
    findings = sum(area.findings for area in suites.values())
    print(f"{len(suites)} suites, {seconds:.0f} s, findings: {findings or 'none'}")
    return 0 if suites and not findings else 1


if __name__ == "__main__":
    sys.exit(main())
