"""Measures the program beside others: ./dev bench [--quick] [--record]

--quick   two runs of each instead of seven, to see that everything works
--record  writes the machine, the goals and the table into docs/performance.md
"""

import json
import sys
from pathlib import Path

from data import APP_COUNTS, KB, PAGE_SIZES, PICTURES, make_data, page_name
from measuring import OURS, Contender, Laboratory, told_times
from report import Goals, has_sha_instructions, machine, record, table

HERE = Path(__file__).resolve().parent
BUILD = HERE.parent / "build" / "release"
DATA = BUILD / "benchmarks" / "data"
SCRATCH = BUILD / "benchmarks" / "scratch"
DOCUMENT = HERE.parent / "docs" / "performance.md"
URL = "https://apps.example.org/"
TREES = {
    "large": "2 files of 300 MB",
    "many": "20,000 files of 0 to 16 KB",
    "even": "5,000 files of 20 KB",
    "listed": "200 apps with 50 files",
}
FLOOR = "plain widgets"
PART = "a part of it"


def publishing(tree):
    return f"Publishing {TREES[tree]}"


def json_alone(tree):
    return f"{publishing(tree)}, its JSON alone"


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
        cli = BUILD / "src" / "catalist-cli"
        found = f"find '{files}' -type f -print0 | xargs -0"
        hashes = listed_hashes(catalogue, before_path)
        rows += laboratory.compare(publishing(tree), [
            Contender(OURS, [cli, "export", catalogue, "--url", URL, "--output", index], result=export_hashes(index)),
            Contender("rhash", ["rhash", "--sha1", "-r", files], result=hashes),
            Contender("sha1sum", ["sh", "-c", f"{found} sha1sum"], result=hashes),
            Contender("hashdeep", ["hashdeep", "-c", "sha1", "-r", files],
                      result=listed_hashes(catalogue, hashdeep_line)),
            Contender("openssl", ["sh", "-c", f"{found} openssl dgst -sha1 -r"], result=hashes),
        ])
        rows += laboratory.compare(publishing(tree), [
            Contender(PART, [BUILD / "benchmarks" / "catalist_bench_index", index, catalogue], told_times),
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
        goals.ratio(publishing(tree), 1.0 if has_sha_instructions() else 1.1)
    few, many = goals.ours(publishing("large")), goals.ours(publishing("many"))
    goals.limit("Memory for each published file", 3, (many.peak - few.peak) / 20_000 / KB, " KB")
    for action in ("opening", "saving"):
        tens, hundreds = (goals.ours(project(count, action)).median for count in APP_COUNTS[2:])
        goals.ratio(project(APP_COUNTS[-1], action), 0.5)
        goals.limit(f"Ten times the apps, {action}", 11, hundreds / tens)
    goals.time(window("Selecting", "10,000 apps"), 50)
    goals.time(window("Apply", "10,000 apps"), 50)
    goals.ratio(window("Apply", "10,000 apps"), 1.2)
    for pictures in (0, PICTURES):
        goals.time(window("Keystroke", page(100, pictures)), 50)
        goals.ratio(window("Keystroke", page(100, pictures)), 1.2)
    return goals


def beside_the_json(rows):
    """How far publishing is from the fastest of the others, if that wrote the same document with the toolkit."""
    beside = Goals(rows, "with the JSON of the toolkit added to the fastest of the others")
    for tree in TREES:
        beside.ratio(publishing(tree), 1.2, json_alone(tree))
    return beside


def main():
    options = sys.argv[1:]
    if set(options) - {"--quick", "--record"} or len(options) > 1:
        raise SystemExit(__doc__)
    begin = machine()
    print("Making the data" if not DATA.is_dir() else "Measuring", file=sys.stderr)
    make_data(DATA)
    laboratory = Laboratory(SCRATCH, 2 if "--quick" in options else 7)
    rows = publish(laboratory) + open_and_save(laboratory) + use_window(laboratory)
    text = f"{begin}\n{goals(rows)}\n{beside_the_json(rows)}\n{table(rows)}"
    print(text)
    if "--record" in options:
        record(DOCUMENT, text)


main()
