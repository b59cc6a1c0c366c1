"""What the checks of the samples share: the Wine prefix with the registered DLLs, and how a run is judged."""

import os
import shutil
import subprocess
import tempfile
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
SAMPLES = ROOT / "samples"


def windows_path(path):
    return "Z:" + str(Path(path).resolve()).replace("/", "\\")


def missing_line(lines, expected):
    """The first expected line that does not follow the one before it; None when all are there."""
    at = 0
    for wanted in expected:
        while at < len(lines) and lines[at] != wanted:
            at += 1
        if at == len(lines):
            return wanted
        at += 1
    return None


class Report:
    failed = 0

    def tell(self, name, why):
        if why:
            self.failed += 1
        print(f"not ok - {name}: {why}" if why else f"ok - {name}", flush=True)


class Bench:
    """The prefix, with the log's folder in it: without it the component's lines stand among the programs'."""

    def __init__(self, build, folder):
        self.build = build
        self.work = build / folder
        self.logs = build / "wine/drive_c/users/kzr/AppData/LocalLow/TOLV/log"
        self.backend = windows_path(build / "tests/kzr_test_backend.dll")
        self.dll = os.environ["KZRSECX_DLL"]

    def wine(self, *arguments, cwd=None, rules=""):
        environment = dict(os.environ, KZR_TEST_BACKEND_RULES=rules)
        command = [ROOT / "script/wine", "--build", self.build, *arguments]
        # A file: the session's services, which the first program starts, outlive it and would keep a pipe open.
        with tempfile.TemporaryFile() as file:
            try:
                ended = subprocess.run(command, cwd=cwd, env=environment, stdin=subprocess.DEVNULL, timeout=60,
                                       stdout=file, stderr=subprocess.STDOUT)
            except subprocess.TimeoutExpired:
                return None, "it did not end within a minute"
            file.seek(0)
            return ended.returncode, file.read().decode("cp1252", "replace").replace("\r\n", "\n")

    def __enter__(self):
        self.made_logs = not self.logs.exists()
        if not (self.build / "wine/.complete").exists():
            self.wine("cmd", "/c", "exit")
        # One session for all programs: one that starts while the last one's session ends may fail before its first
        # line. It ends this many seconds after the last program.
        prefix = dict(os.environ, WINEPREFIX=str(self.build / "wine"), LC_ALL="C.UTF-8", USER="kzr", LOGNAME="kzr")
        subprocess.run(["wineserver", "-w"], env=prefix, timeout=60, check=False)
        subprocess.run(["wineserver", "-p10"], env=prefix, timeout=60, check=False)
        self.wine("cscript", "//nologo", "nothing.js")
        self.logs.mkdir(parents=True, exist_ok=True)
        shutil.rmtree(self.work, ignore_errors=True)
        self.work.mkdir(parents=True)
        return self

    def __exit__(self, *_):
        if self.made_logs:
            shutil.rmtree(self.logs, ignore_errors=True)

    def register(self, *options):
        """The DLLs that regsvr32 refused."""
        return [name for name in (self.dll, self.backend)
                if self.wine("regsvr32", "/s", *options, name)[0] != 0]

    def rules_file(self, name, rules):
        file = self.work / f"{name.replace('/', '-')}.rules"
        file.write_text(rules, encoding="utf-8")
        return windows_path(file)

    def run_program(self, name, program, arguments, rules):
        return self.wine(program, *arguments, cwd=self.work, rules=self.rules_file(name, rules))

    def run_sample(self, case, rules=""):
        """The exit code and output of a case's script, and the case's folder, which is the working folder."""
        folder = self.work / case.name
        folder.mkdir()
        for name, text in case.files.items():
            (folder / name).write_text(text)
        # A copy of its own: the script host lets nobody else read the file that it reads, and ends in silence with
        # the code 0 when it is refused that itself.
        own = self.work / f"{case.name}-script"
        own.mkdir()
        script = shutil.copy(SAMPLES / case.script, own)
        code, output = self.wine("cscript", "//nologo", windows_path(script), *case.arguments, cwd=folder, rules=rules)
        return code, output, folder

    @staticmethod
    def judge(code, output, wanted, lines):
        """Why a run failed; None when it passed."""
        if code != wanted:
            return f"exit code {code}, not {wanted}: {output[-300:]!r}"
        line = missing_line(output.split("\n"), lines)
        return None if line is None else f"no line {line!r} at its place: {output[-600:]!r}"
