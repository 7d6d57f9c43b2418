"""Measures the program beside others: ./dev bench [--quick] [--record]

--quick   two runs of each instead of seven, to see that everything works
--record  writes the machine, the goals and the table into docs/performance.md
"""

import json
import sys
from pathlib import Path

from data import APP_COUNTS, KB, PAGE_SIZES, PICTURES, make_data, page_name
from measuring import OURS, Contender, Laboratory, told_times
from report import Goals, has_sha_instructions, machine, milliseconds, record, table

HERE = Path(__file__).resolve().parent
BUILD = HERE.parent / "build" / "release"
DATA = BUILD / "benchmarks" / "data"
SCRATCH = BUILD / "benchmarks" / "scratch"
CLI = BUILD / "src" / "catalist-cli"
DOCUMENT = HERE.parent / "docs" / "performance.md"
NO_SHA_INSTRUCTIONS = "OPENSSL_ia32cap=:~0x20000000"  # what libcrypto does not see on this kind of processor
URL = "https://apps.example.org/"
TREES = {
    "large": "2 files of 300 MB",
    "many": "20,000 files of 0 to 16 KB",
    "even": "5,000 files of 20 KB",
    "listed": "200 apps with 50 files",
}
OTHERS = ("rhash", "sha1sum", "hashdeep", "openssl")
FLOOR = "plain widgets"
PART = "a part of it"
PARTS = ("its hashes alone", "its JSON alone")
PLAIN = "Catalist without SHA instructions"


def publishing(tree):
    return f"Publishing {TREES[tree]}"


def project(count, action):
    return f"{count:,} apps, {action}"


def window(action, what):
    return f"{action}, {what}"


def page(size, pictures):
    return f"{size:,} KB" + (f" with {pictures} pictures" if pictures else "")


def export_hashes(index):
    def read(_output):
        apps = json.loads(index.read_text(encoding="utf-8"))["applications"]
        return {file["url"].removeprefix(URL): file["hash"] for app in apps for file in app["files"]}
    return read


def listed_hashes(catalogue, split):
    """Hashes by path, from lines that are split into both."""
    def read(output):
        pairs = (split(line) for line in output.splitlines() if line[0] not in "%#")
        return {path.removeprefix(f"{catalogue}/"): digest for digest, path in pairs}
    return read


def before_path(line):
    return line[:40], line[42:]  # a mark and a blank, or two blanks, between them


def hashdeep_line(line):
    _size, digest, path = line.split(",", 2)
    return digest, path


def publish(laboratory):
    rows = []
    for tree in TREES:
        catalogue = DATA / tree
        files = catalogue / "tree"
        index = SCRATCH / "Apps.json"
        export = [CLI, "export", catalogue, "--url", URL, "--output", index]
        found = f"find '{files}' -type f -print0 | xargs -0"
        hashes = listed_hashes(catalogue, before_path)
        rows += laboratory.compare(publishing(tree), [
            Contender(OURS, export, result=export_hashes(index)),
            Contender("rhash", ["rhash", "--sha1", "-r", files], result=hashes),
            Contender("sha1sum", ["sh", "-c", f"{found} sha1sum"], result=hashes),
            Contender("hashdeep", ["hashdeep", "-c", "sha1", "-r", files],
                      result=listed_hashes(catalogue, hashdeep_line)),
            Contender("openssl", ["sh", "-c", f"{found} openssl dgst -sha1 -r"], result=hashes),
            Contender(PLAIN, ["env", NO_SHA_INSTRUCTIONS, *export], result=export_hashes(index)),
            Contender(PART, [BUILD / "benchmarks" / "catalist_bench_index", index, catalogue], told_times,
                      export_hashes(index)),
        ])
    return rows


def open_and_save(laboratory):
    rows = []
    saved = SCRATCH / "Apps.csv"
    # Nothing is there to be kept in the history, which the reader does without.
    script = ["sh", "-c", 'rm -f "$0"; exec "$@" "$0"', saved]

    def content(_output):
        return saved.read_bytes()

    for count in APP_COUNTS[1:]:
        file = DATA / f"apps-{count}" / "Apps.csv"
        rows += laboratory.compare(f"{count:,} apps", [
            Contender(OURS, [*script, BUILD / "benchmarks" / "catalist_bench_project", file],
                      told_times, content),
            Contender("Python", [*script, sys.executable, HERE / "read_apps.py", file], told_times, content),
        ])
    return rows


def use_window(laboratory):
    program = BUILD / "benchmarks" / "catalist_bench_window"
    rows = []

    def compare(action, what, cases, *arguments):
        rows.extend(laboratory.compare(window(action, what), [
            Contender(who, [program, case, *arguments], told_times) for who, case in cases.items()
        ]))

    for count in APP_COUNTS[:3]:
        file = DATA / f"apps-{count}" / "Apps.csv"
        compare("Opening", f"{count:,} apps", {OURS: "opening"}, file)
        compare("Selecting", f"{count:,} apps", {OURS: "selecting"}, file)
        compare("Apply", f"{count:,} apps", {OURS: "apply", FLOOR: "apply-floor"}, file)
        compare("Adding a file", f"{count:,} apps", {OURS: "adding"}, file)
    for size in PAGE_SIZES:
        for pictures in (0, PICTURES):
            compare("Keystroke", page(size, pictures), {OURS: "keystroke", FLOOR: "keystroke-floor"},
                    DATA / "pages" / "Apps.csv", page_name(size, pictures))
    return rows


def goals(rows):
    goals = Goals(rows)
    for tree in TREES:
        if has_sha_instructions():
            goals.ratio(publishing(tree), 1.0, OTHERS)
    for tree in TREES:
        goals.ratio(publishing(tree), 1.1, ["sha1sum"], PLAIN)
    few = goals.row(publishing("large"))
    goals.limit("Memory for publishing 2 files of 300 MB", 30, few.peak / 1e6, " MB")
    for tree, count in (("many", 20_000), ("listed", 10_000)):
        goals.limit(f"Memory for each of {TREES[tree]}", 3, (goals.row(publishing(tree)).peak - few.peak) / count / KB,
                    " KB")
    for action in ("opening", "saving"):
        goals.ratio(project(APP_COUNTS[-1], action), 0.5, ["Python"])
        for count in APP_COUNTS[2:]:
            once, tenfold = (goals.row(project(apps, action)).median for apps in (count // 10, count))
            goals.limit(f"{count:,} apps, {action}, to a tenth of them", 11, tenfold / once)
    goals.time(window("Selecting", "10,000 apps"), 50)
    goals.time(window("Apply", "10,000 apps"), 50)
    goals.ratio(window("Apply", "10,000 apps"), 1.2, [FLOOR])
    for pictures in (0, PICTURES):
        goals.time(window("Keystroke", page(100, pictures)), 50)
        goals.ratio(window("Keystroke", page(100, pictures)), 1.2, [FLOOR])
    return goals


def parts(rows):
    """What of publishing is neither hashing nor JSON, and how the two alone compare with the fastest of the others."""
    goals = Goals(rows)
    lines = ["| of publishing | hashes ms | JSON ms | the rest ms | hashes and JSON | to |",
             "| --- | ---: | ---: | ---: | ---: | --- |"]
    for tree in TREES:
        whole = goals.row(publishing(tree))
        hashes, document = (goals.row(f"{publishing(tree)}, {part}", PART) for part in PARTS)
        fastest = goals.fastest(publishing(tree), OTHERS)
        both = hashes.median + document.median
        figures = map(milliseconds, (hashes.median, document.median, whole.median - both))
        lines.append(f"| {TREES[tree]} | {' | '.join(figures)} | {both / fastest.median:.2f} | {fastest.who} |")
    return "\n".join(lines) + "\n"


def main():
    options = sys.argv[1:]
    if set(options) - {"--quick", "--record"} or len(options) > 1:
        raise SystemExit(__doc__)
    begin = machine(CLI)
    print("Making the data" if not DATA.is_dir() else "Measuring", file=sys.stderr)
    make_data(DATA)
    laboratory = Laboratory(SCRATCH, 2 if "--quick" in options else 7)
    rows = publish(laboratory) + open_and_save(laboratory) + use_window(laboratory)
    text = f"{begin}\n{goals(rows)}\n{parts(rows)}\n{table(rows)}"
    print(text)
    if "--record" in options:
        record(DOCUMENT, text)


main()
