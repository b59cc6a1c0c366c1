"""Runs one program of the demonstration and judges how it ended.

What is run, and in which order, stands in story.py.
"""

import os
import subprocess
import tempfile
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


class StepFailed(Exception):
    """A step did not do what it should; the text says what was expected and what came."""


class Machine:
    """The private Windows machine of the demonstration: its Wine prefix, its folders, the products."""

    # The ANSI code page of a Chinese machine: programs write GBK.
    LOCALE, CODE_PAGE = "zh_CN.UTF-8", "gbk"

    def __init__(self, build, products):
        self.build = Path(build).resolve()
        self.products = Path(products).resolve()
        self.drive = self.build / "wine/drive_c"
        self.work = self.drive / "demo"
        self.samples = ROOT / "samples"
        # As a service or a login script would set it: the demonstration leaves the user's own keys alone.
        self.environment = dict(os.environ, KZR_SOFTKEY_HOME=r"C:\demo\softkey")

    def windows(self, path):
        """A path of this machine as Windows programs name it."""
        path = Path(path).resolve()
        try:
            return "C:\\" + str(path.relative_to(self.drive.resolve())).replace("/", "\\")
        except ValueError:
            return "Z:" + str(path).replace("/", "\\")

    def wine_command(self, arguments, locale=LOCALE):
        return [str(ROOT / "script/wine"), "--build", str(self.build), "--locale", locale, *map(str, arguments)]

    def start(self, arguments):
        return Running(self.wine_command(arguments), self)

    def product(self, arguments, code=0):
        """One of our own programs; returns what it printed. They use no code page: they write UTF-8, and this
        locale brings Chinese arguments to them where the other one has not been installed."""
        command = self.wine_command([self.products / arguments[0], *arguments[1:]], "C.UTF-8")
        return self._finish(command, code, "utf-8")

    def system(self, arguments, code=0):
        """A program of Windows."""
        return self._finish(self.wine_command(arguments), code, self.CODE_PAGE)

    def sample(self, name, *arguments, code=0):
        """A script of samples/ in the script host. It has to reach its END: a host ends with 0 even for a script
        that it could not read."""
        script = self.windows(self.samples / name)
        text = self._finish(self.wine_command(["cscript", "//nologo", script, *arguments]), code, self.CODE_PAGE)
        lines = text.splitlines()
        if not lines or lines[-1] != "END":
            raise StepFailed(f"{name} did not come to its end:\n{text}")
        return "\n".join(lines[:-1])

    def native(self, arguments, code=0):
        """A program of the build machine that knows nothing of ours. It runs in the working folder."""
        return self._finish([str(argument) for argument in arguments], code, "utf-8")

    def _finish(self, command, code, encoding):
        return Running(command, self).finish(code, encoding)


class Running:
    """A started program. It writes to a file: Windows' own services, which the first program starts, outlive it and
    would keep a pipe open."""

    def __init__(self, command, machine):
        self.command = command
        self.output = tempfile.TemporaryFile()
        try:
            self.process = subprocess.Popen(command, env=machine.environment, cwd=machine.work, stdout=self.output,
                                            stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
        except FileNotFoundError as missing:
            raise StepFailed(f"{missing.filename} is not installed; script/bootstrap installs it") from missing

    def text(self, encoding="utf-8"):
        """What it has printed so far. The program shares the file's position, which therefore must not move."""
        size = os.fstat(self.output.fileno()).st_size
        return os.pread(self.output.fileno(), size, 0).decode(encoding, errors="replace").replace("\r", "").rstrip("\n")

    def wait_for(self, words, seconds=30):
        until = time.monotonic() + seconds
        while words not in self.text():
            if self.process.poll() is not None or time.monotonic() > until:
                self.process.kill()
                raise StepFailed(f'no "{words}" came within {seconds} s:\n{self.text()}')
            time.sleep(0.02)

    def finish(self, code=0, encoding="utf-8", seconds=60):
        """Waits for its end and returns what it printed."""
        try:
            ended = self.process.wait(seconds)
        except subprocess.TimeoutExpired as late:
            self.process.kill()
            raise StepFailed(f"{' '.join(self.command)} did not end within {seconds} s\n{self.text()}") from late
        text = self.text(encoding)
        if ended != code:
            raise StepFailed(f"exit code {ended} instead of {code} from {' '.join(self.command)}\n{text}")
        return text


class Clock:
    def __init__(self):
        self.started = time.monotonic()

    def __str__(self):
        return f"{time.monotonic() - self.started:.1f} s"
