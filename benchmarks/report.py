"""What a run has found, as data and as a part of a page: the machine, the goals, the rows."""

import json
import os
import platform
import re
import shutil
import subprocess
import textwrap
from datetime import date
from pathlib import Path

from measuring import OURS

BEGIN = "<!-- Written by ./dev bench --record -->\n"
END = "<!-- The end of what is written -->\n"
PACKAGES = ("libqt6core6", "libssl3", "coreutils", "rhash", "hashdeep", "openssl", "curl", "nginx-light", "g++")
PICTURE = Path("pictures") / "performance.svg"
CORES = len(os.sched_getaffinity(0))


class Goals:
    """Each is a figure and its limit."""

    def __init__(self, rows):
        self.rows = rows
        self.all = []

    def row(self, what, who=OURS):
        return next(row for row in self.rows if row.what == what and row.who == who)

    def limit(self, what, most, value, unit="", why=""):
        """Why it is missed, if it is."""
        is_met = value <= most
        goal = {"what": what, "limit": most, "value": round(value, 3), "unit": unit, "met": is_met}
        self.all.append(goal if is_met else goal | {"why": why})

    def ratio(self, what, most, others, who=OURS, why=""):
        """To the fastest of the others."""
        fastest = min((self.row(what, name) for name in others), key=lambda row: row.median)
        subject = what if who == OURS else f"{what}, {who}"
        self.limit(f"{subject}, to {fastest.who}", most, self.row(what, who).median / fastest.median, why=why)

    def time(self, what, most, why=""):
        self.limit(what, most, self.row(what).median * 1000, "ms", why)


def first_match(path, pattern):
    match = re.search(pattern, Path(path).read_text(encoding="utf-8"), re.MULTILINE)
    return match.group(1) if match else "unknown"


def has_sha_instructions():
    return re.search(r"\b(sha_ni|sha1)\b", Path("/proc/cpuinfo").read_text(encoding="utf-8")) is not None


def installed(package):
    if not shutil.which("dpkg-query"):
        return "not a package"
    found = subprocess.run(["dpkg-query", "--show", "--showformat=${Version}", package],
                           capture_output=True, text=True, check=False)
    return found.stdout or "not a package"


def sha1_of(program):
    libraries = subprocess.run(["ldd", program], capture_output=True, text=True, check=True).stdout
    return "libcrypto" if "libcrypto" in libraries else "Qt"


def machine(program):
    return {
        "date": date.today().isoformat(),
        "load_at_start": round(os.getloadavg()[0], 1),
        "processor": first_match("/proc/cpuinfo", r"^model name.*: (.*)"),
        "cores": CORES,
        "sha_instructions": has_sha_instructions(),
        "memory_gb": round(int(first_match("/proc/meminfo", r"^MemTotal:\s+(\d+)")) * 1024 / 1e9, 1),
        "system": first_match("/etc/os-release", r"^PRETTY_NAME=.(.*?).$"),
        "kernel": f"{platform.system()} {platform.release()}",
        "versions": {package: installed(package) for package in PACKAGES} | {"Python": platform.python_version()},
        "sha1_from": sha1_of(program),
    }


def write_data(path, machine, goals, rows):
    figures = [{name: goal[name] for name in goal if name != "why"} for goal in goals]
    data = {"machine": machine, "goals": figures, "rows": [{
        "what": row.what,
        "who": row.who,
        "min_seconds": round(min(row.seconds), 6),
        "median_seconds": row.median,
        "max_seconds": round(max(row.seconds), 6),
        "peak_bytes": row.peak,
    } for row in rows]}
    path.write_text(json.dumps(data, indent=2, ensure_ascii=False, sort_keys=True) + "\n", encoding="utf-8")


def page_part(machine, goals, growth):
    missed = [goal for goal in goals if not goal["met"]]
    about = (f"{machine['date']}: {machine['processor']}, {machine['cores']} cores, "
             f"{'with' if machine['sha_instructions'] else 'without'} SHA instructions; "
             f"{machine['memory_gb']:.0f} GB of memory; {machine['system']}; load {machine['load_at_start']} at the "
             f"start; medians of {machine['runs']} runs. {len(goals) - len(missed)} of {len(goals)} goals are met.")
    paragraphs = [textwrap.fill(about, 120), f"![Bars: the times of the others as multiples of Catalist's]({PICTURE})"]
    if missed:
        table = ["| missed goal | at most | is |", "| --- | ---: | ---: |"]
        for goal in missed:
            unit = f" {goal['unit']}".rstrip()
            table.append(f"| {goal['what']} | {goal['limit']:g}{unit} | {goal['value']:.2f}{unit} |")
        paragraphs.append("\n".join(table))
    reasons = dict.fromkeys(goal["why"] for goal in missed if goal["why"])
    paragraphs += [textwrap.fill(why, 120, break_on_hyphens=False) for why in reasons]
    paragraphs += ["Publishing grows with the files as follows.", growth]
    return "\n\n".join(paragraphs) + "\n"


def put_into(document, text):
    """Puts the text between the two marks of the document."""
    before, _, rest = document.read_text(encoding="utf-8").partition(BEGIN)
    document.write_text(before + BEGIN + "\n" + text + "\n" + END + rest.partition(END)[2], encoding="utf-8")
