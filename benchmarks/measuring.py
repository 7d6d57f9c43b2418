"""Runs programs in alternating order, and keeps how long each took and how much memory it needed at most."""

import os
import statistics
import subprocess
import time
from collections.abc import Callable
from dataclasses import dataclass, field

OURS = "Catalist"


def elapsed_time(_output, elapsed):
    return {"": elapsed}


def printed_times(output, _elapsed):
    """What a program prints: lines with the name of a measure, if there are several, and its seconds."""
    return {" ".join(words[:-1]): float(words[-1]) for words in map(str.split, output.splitlines())}


@dataclass
class Contender:
    name: str
    command: list
    times: Callable = elapsed_time
    result: Callable = lambda _output: None  # has to be the same for all that are compared


@dataclass
class Row:
    what: str
    who: str
    seconds: list = field(default_factory=list)
    peak: int = 0  # bytes

    @property
    def median(self):
        return round(statistics.median(self.seconds), 6)


class Laboratory:
    """Measures in a folder of its own, which also stands for the home of whoever runs the programs."""

    def __init__(self, folder, runs):
        self.folder = folder
        self.runs = runs
        folder.mkdir(parents=True, exist_ok=True)
        self.environment = dict(os.environ, HOME=str(folder), XDG_DATA_HOME=str(folder), LC_ALL="C.UTF-8",
                                QT_QPA_PLATFORM="offscreen")

    def run(self, contender):
        """Its output, how long it took in seconds, and its peak memory in bytes."""
        output = self.folder / "output.txt"
        memory = self.folder / "memory.txt"
        with output.open("wb") as stream:
            start = time.perf_counter()
            # Nobody draws a line of progress on a terminal.
            done = subprocess.run(["time", "--quiet", "--format=%M", f"--output={memory}", *contender.command],
                                  stdout=stream, stderr=subprocess.PIPE, env=self.environment, check=False)
            elapsed = time.perf_counter() - start
        if done.returncode != 0:
            raise SystemExit(f"{contender.name}: {done.stderr.decode(errors='replace')}")
        return output.read_text(encoding="utf-8"), elapsed, int(memory.read_text()) * 1024

    def compare(self, what, contenders):
        rows = {}
        for count in range(self.runs + 1):
            expected = None
            # Nobody is always the first.
            turn = count % len(contenders)
            for contender in contenders[turn:] + contenders[:turn]:
                output, elapsed, peak = self.run(contender)
                result = contender.result(output)
                if expected is not None and result != expected:
                    raise SystemExit(f"{what}: {contender.name} has another result than the one before")
                expected = result
                if count == 0:
                    continue
                for measure, seconds in contender.times(output, elapsed).items():
                    title = f"{what}, {measure}" if measure else what
                    row = rows.setdefault((title, contender.name), Row(title, contender.name))
                    row.seconds.append(seconds)
                    row.peak = max(row.peak, peak)
        # By what was measured, each with all contenders.
        titles = [title for title, _ in rows]
        names = [contender.name for contender in contenders]
        return sorted(rows.values(), key=lambda row: (titles.index(row.what), names.index(row.who)))
