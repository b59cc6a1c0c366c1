"""Starts one program, natively or under Wine, with its output in a log file and a time limit.

What the output means is left to gtest.py and checks.py.
"""

import os
import signal
import subprocess
import time
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]


class Ended:
    """How a program ended: its exit code (None when it had to be stopped), output and time."""

    def __init__(self, code, output, seconds):
        self.code = code
        self.output = output
        self.seconds = seconds

    def how(self):
        if self.code is None:
            return f"stopped after {self.seconds:.0f} s"
        if self.code < 0:
            return f"ended by signal {-self.code}"
        return f"exit code {self.code}"


def windows_path(path):
    """Wine shows the whole file system as drive Z."""
    return "Z:" + str(Path(path).resolve()).replace("/", "\\")


class Bench:
    """The places and limits that all runs share."""

    def __init__(self, build, dll, logs, timeout):
        self.build = Path(build)
        self.dll = Path(dll) if dll else None
        self.logs = Path(logs)
        self.timeout = timeout
        self.wine_used = False

    def log_file(self, name):
        self.logs.mkdir(parents=True, exist_ok=True)
        return self.logs / (name.replace("/", "_").replace(" ", "_") + ".log")

    def run(self, arguments, log, cwd=None, wine_locale=None, environment=None):
        """Runs to the end or the time limit. With a locale the program is a Windows one."""
        env = dict(os.environ, **(environment or {}))
        if self.dll:
            env["KZRSECX_DLL"] = windows_path(self.dll)
        command = [str(argument) for argument in arguments]
        if wine_locale:
            self.wine_used = True
            # Not universal time, from which a build machine's local time could not be told apart.
            env["TZ"] = "KZR-5:30"
            wine = [str(ROOT / "script/wine"), "--build", str(self.build), "--locale", wine_locale]
            command = wine + command
        started = time.monotonic()
        with open(log, "wb") as out:
            try:
                # A session of its own, so that the limit also ends what the program has started.
                child = subprocess.Popen(command, stdin=subprocess.DEVNULL, stdout=out,
                                         stderr=subprocess.STDOUT, cwd=cwd, env=env,
                                         start_new_session=True)
            except OSError as error:
                out.write(f"could not be started: {error}\n".encode())
                child = None
            code = 127
            if child:
                try:
                    code = child.wait(self.timeout)
                except subprocess.TimeoutExpired:
                    os.killpg(child.pid, signal.SIGKILL)
                    child.wait()
                    code = None
                    if wine_locale:
                        self.end_wine("-k")
        output = Path(log).read_bytes().decode("utf-8", "replace").replace("\r\n", "\n")
        return Ended(code, output, time.monotonic() - started)

    def end_wine(self, how):
        """Ends this prefix's server; -w waits until all its programs have gone, -k ends them."""
        env = dict(os.environ, WINEPREFIX=str((self.build / "wine").resolve()))
        try:
            # Without a server there is nothing to end, and the command says so with a code.
            subprocess.run(["wineserver", how], env=env, timeout=30, stdin=subprocess.DEVNULL,
                           stderr=subprocess.DEVNULL, check=False)
            return True
        except subprocess.TimeoutExpired:
            return False
