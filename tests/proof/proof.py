"""What the parts of scripts/prove share."""

import argparse
import os
import random
import shutil
import subprocess
import sys
import tempfile
import time
from pathlib import Path

PROJECT = Path(__file__).resolve().parent.parent.parent
DAEMON = "com.vantor.system.privilegedhelper-vk2"


def say(*words):
    print(*words, file=sys.stderr, flush=True)


def cannot_run(reason):
    say(reason)
    sys.exit(2)


def parse_arguments(description, *more):
    """The options that scripts/prove passes, and `random`, which the seed determines. `more` are further numbers, each
    with its value in the short and in the long form."""
    parser = argparse.ArgumentParser(description=description)
    parser.add_argument("--bin", type=Path, default=PROJECT / "build/release/bin")
    parser.add_argument("--seed", type=int, default=random.SystemRandom().randrange(1 << 32))
    parser.add_argument("--long", action="store_true")
    for name, _, _ in more:
        parser.add_argument(f"--{name}", type=int)
    options = parser.parse_args()
    for name, short, long in more:
        if getattr(options, name) is None:
            setattr(options, name, long if options.long else short)
    if os.geteuid() != 0:
        cannot_run("The daemon needs root.")
    options.bin = options.bin.resolve()
    options.random = random.Random(options.seed)
    say("seed", options.seed)
    return options


class Report:
    """The figures of a part."""

    def __init__(self):
        self._all_hold = True

    def figure(self, measure, value, mark, holds):
        self._all_hold = self._all_hold and bool(holds)
        print(measure, value, mark, "yes" if holds else "no", sep="\t", flush=True)

    def end(self):
        sys.exit(0 if self._all_hold else 1)


class Daemon:
    """A daemon that starts when a client connects, with a scratch folder. The end of the `with` block removes both."""

    def __init__(self, options, program=DAEMON, where="/dev/shm"):
        self.folder = Path(tempfile.mkdtemp(prefix="qrt-proof-", dir=where))
        self.folder.chmod(0o755)
        (self.folder / "state").mkdir(mode=0o700)
        (self.folder / "scratch").mkdir()
        self.scratch, self.socket = self.folder / "scratch", self.folder / "socket"
        self._qrtctl, self._log = options.bin / "qrtctl", self.folder / "log"
        with open(self._log, "wb") as log:
            self._activator = subprocess.Popen(
                [PROJECT / "scripts/activator", self.socket, self.folder / "state", options.bin / program],
                stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        while not self.socket.exists():
            if self._activator.poll() is not None:
                cannot_run(self._log.read_text())
            time.sleep(0.01)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._activator.terminate()
        self._activator.wait()
        subprocess.run(["chattr", "-R", "-f", "-ia", self.folder], stderr=subprocess.DEVNULL, check=False)
        shutil.rmtree(self.folder, ignore_errors=True)

    def log(self):
        return self._log.read_text(errors="replace")

    def process(self):
        """The identifier of the running daemon; 0 when it does not run."""
        lines = [line for line in self.log().splitlines() if line.startswith("activator: ")]
        return int(lines[-1].split()[-1]) if lines and " started " in lines[-1] else 0

    def starts(self):
        return self.log().count("activator: started")

    def failures(self):
        """The lines of the ends whose status is not 0."""
        return [line for line in self.log().splitlines()
                if " ended with status " in line and not line.endswith(" status 0")]

    def qrtctl(self, *words, **more):
        """Runs the client and returns how it ended, with what it printed."""
        return subprocess.run([self._qrtctl, "--socket", self.socket, "--yes", *words], capture_output=True, text=True,
                              stdin=subprocess.DEVNULL, check=False, **more)
