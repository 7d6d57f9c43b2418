"""The table of a run, what the figures should be, and the machine that they are of."""

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
PACKAGES = ("libqt6core6", "libssl3", "coreutils", "rhash", "hashdeep", "openssl", "g++")


def milliseconds(seconds):
    return f"{seconds * 1000:,.1f}" if seconds < 0.1 else f"{seconds * 1000:,.0f}"


def megabytes(size):
    return f"{size / 1e6:.1f}"


def table(rows):
    ours = {row.what: row.median for row in rows if row.who == OURS}
    lines = ["| what | who | min ms | median ms | max ms | Catalist to it | peak MB |",
             "| --- | --- | ---: | ---: | ---: | ---: | ---: |"]
    for row in rows:
        figures = map(milliseconds, (min(row.seconds), row.median, max(row.seconds)))
        compared = row.who != OURS and row.what in ours
        ratio = f"{ours[row.what] / row.median:.2f}" if compared else ""
        lines.append(f"| {row.what} | {row.who} | {' | '.join(figures)} | {ratio} | {megabytes(row.peak)} |")
    return "\n".join(lines) + "\n"


class Goals:
    """Each is a figure and its limit."""

    def __init__(self, rows):
        self.rows = rows
        self.lines = ["| what it should be | at most | is | |", "| --- | ---: | ---: | --- |"]

    def row(self, what, who=OURS):
        return next(row for row in self.rows if row.what == what and row.who == who)

    def fastest(self, what, names):
        return min((self.row(what, name) for name in names), key=lambda row: row.median)

    def limit(self, what, most, value, unit=""):
        verdict = "" if value <= most else "**falls short**"
        self.lines.append(f"| {what} | {most:g}{unit} | {value:.2f}{unit} | {verdict} |")

    def ratio(self, what, most, others, who=OURS):
        """To the fastest of the others."""
        fastest = self.fastest(what, others)
        subject = what if who == OURS else f"{what}, {who}"
        self.limit(f"{subject}, to {fastest.who}", most, self.row(what, who).median / fastest.median)

    def time(self, what, most):
        self.limit(what, most, self.row(what).median * 1000, " ms")

    def __str__(self):
        return "\n".join(self.lines) + "\n"


def first_match(path, pattern):
    match = re.search(pattern, Path(path).read_text(encoding="utf-8"), re.MULTILINE)
    return match.group(1) if match else "unknown"


def has_sha_instructions():
    return re.search(r"\b(sha_ni|sha1)\b", Path("/proc/cpuinfo").read_text(encoding="utf-8")) is not None


def installed(package):
    if not shutil.which("dpkg-query"):
        return f"{package} of its own"
    found = subprocess.run(["dpkg-query", "--show", "--showformat=${Version}", package],
                           capture_output=True, text=True, check=False)
    return f"{package} {found.stdout or 'of its own'}"


def sha1_of(program):
    libraries = subprocess.run(["ldd", program], capture_output=True, text=True, check=True).stdout
    return "libcrypto" if "libcrypto" in libraries else "the toolkit"


def machine(program):
    memory = int(first_match("/proc/meminfo", r"^MemTotal:\s+(\d+)")) / 1e6
    lines = (
        f"- {date.today().isoformat()}, load {os.getloadavg()[0]:.1f} at the beginning",
        f"- {first_match('/proc/cpuinfo', r'^model name.*: (.*)')}, {os.cpu_count()} cores, "
        f"{'with' if has_sha_instructions() else 'without'} SHA instructions; {memory:.0f} GB of memory",
        f"- {first_match('/etc/os-release', r'^PRETTY_NAME=.(.*?).$')}, {platform.system()} {platform.release()}",
        f"- {', '.join(map(installed, PACKAGES))}, Python {platform.python_version()}",
        f"- Catalist takes SHA-1 from {sha1_of(program)}",
    )
    return "".join(textwrap.fill(line, 120, subsequent_indent="  ", break_on_hyphens=False) + "\n" for line in lines)


def record(document, text):
    """Puts the text between the two marks of the document."""
    before, _, rest = document.read_text(encoding="utf-8").partition(BEGIN)
    document.write_text(before + BEGIN + "\n" + text + "\n" + END + rest.partition(END)[2], encoding="utf-8")
