"""Measures the program beside others: ./dev bench [--quick] [--record]

--quick   two runs of each instead of seven, to see that everything works
--record  writes docs/performance.json, the picture, and what docs/performance.md says of them
"""

import json
import math
import re
import subprocess
import sys
from pathlib import Path

from data import APP_COUNTS, FILE_COUNTS, KB, PAGE_SIZES, PICTURES, make_data, page_name
from measuring import OURS, Contender, Laboratory, printed_times
from picture import BLUE, GREY, ORANGE, draw
from report import CORES, PICTURE, Goals, has_sha_instructions, machine, page_part, put_into, write_data
from webserver import served

HERE = Path(__file__).resolve().parent
BUILD = HERE.parent / "build" / "release"
DATA = BUILD / "benchmarks" / "data"
SCRATCH = BUILD / "benchmarks" / "scratch"
CLI = BUILD / "src" / "catalist-cli"
DOCS = HERE.parent / "docs"
NO_SHA_INSTRUCTIONS = "OPENSSL_ia32cap=:~0x20000000"  # what libcrypto does not see on this kind of processor
URL = "https://apps.example.org/"
TREES = {
    "large": ("2 files of 300 MB", 2),
    "many": ("20,000 files of 0 to 16 KB", 20_000),
    "even": ("5,000 files of 20 KB", 5_000),
    "listed": ("200 apps with 50 files", 10_000),
}
# Each with its command, and in how many parts xargs gives a core its share of the files, which is where it was fastest.
OTHERS = {
    "rhash": ("rhash --sha1", 8),
    "openssl": ("openssl dgst -sha1 -r", 4),
    "sha1sum": ("sha1sum", 8),
    "hashdeep": ("hashdeep -c sha1", 4),
}
REQUESTS = 8  # at a time
FETCHED = "curl and sha1sum"
WALKERS = ("rhash", "hashdeep")  # those that find the files of a folder themselves
TEARERS = ("openssl", "hashdeep")  # those whose lines are torn when several write to the same file
FLOOR = "plain widgets"
PLAIN = "Catalist without SHA instructions"
ONE_CORE = "Catalist on one core"
# At most this multiple of the fastest of the others on one core.
PUBLISHING_LIMITS = {"large": 0.6, "many": 0.8, "even": 0.75, "listed": 0.8}

WHY_LARGE = ("**Publishing large files** is nearly all SHA-1, as it is for the others. All that use SHA instructions "
             "of the processor are about equally fast, and chance decides which of them is first.")
WHY_SMALL = ("**Publishing small files** is more than hashing them, which all cores share. One of them also walks over "
             "the folders, builds an index of all files, and writes it as JSON. The others only print a line for each "
             "file.")
WHY_MEMORY = ("**The memory for each file** holds its entry in the index, twice at the end, and the path that the catalogue "
              "lists.")
WHY_SHORT_PAGE = ("**A keystroke in a short page** lays it out twice, once without the scroll bar, which the plain "
                  "widgets always show.")
WHY_KEYSTROKE = ("**A keystroke** renders the whole description again. With long ones nearly all of the time is Qt's, "
                 "which reads the page and lays it out. Plain widgets wait for that too.")


def verifying(tree):
    return f"Verifying {TREES[tree][0]} on a server"


def publishing(tree):
    return f"Publishing {TREES[tree][0]}"


def on_all_cores(name):
    return f"{name} on {CORES} cores"


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


def listed_hashes(catalogue):
    """Hashes by path, from lines that have the hash before the path, and from those of the parts, if there are any."""
    line = re.compile(rf"^(?:\d+,)?([0-9a-f]{{40}})(?:,|  | \*){re.escape(str(catalogue))}/(.*)$", re.MULTILINE)

    def read(output):
        for part in SCRATCH.glob("part.*"):
            output += part.read_text(encoding="utf-8")
            part.unlink()
        return {path: digest for digest, path in line.findall(output)}
    return read


def hashers(catalogue, count):
    """The others, first one process of each, and then as many at a time as there are cores."""
    files = catalogue / "tree"
    find = f"find '{files}' -type f -print0 | xargs -0"
    part = f"""sh -c 'exec "$@" >"$0.$$"' '{SCRATCH}/part'"""
    result = listed_hashes(catalogue)
    one, all_cores = [], []
    for name, (command, parts) in OTHERS.items():
        one.append(Contender(name, [*command.split(), "-r", files] if name in WALKERS else
                             ["sh", "-c", f"{find} {command}"], result=result))
        at_once = f"-P {CORES} -n {math.ceil(count / CORES / parts)} {part if name in TEARERS else ''}"
        all_cores.append(Contender(on_all_cores(name), ["sh", "-c", f"{find} {at_once} {command}"], result=result))
    return one + all_cores


def publish(laboratory):
    rows = []
    for tree, (_title, count) in TREES.items():
        catalogue = DATA / tree
        index = SCRATCH / "Apps.json"
        export = [CLI, "export", catalogue, "--url", URL, "--output", index]
        rows += laboratory.compare(publishing(tree), [
            Contender(OURS, export, result=export_hashes(index)),
            Contender(ONE_CORE, [*export, "--jobs", "1"], result=export_hashes(index)),
            *hashers(catalogue, count),
            Contender(PLAIN, ["env", NO_SHA_INSTRUCTIONS, *export], result=export_hashes(index)),
        ])
    return rows


def growing(count):
    return f"Publishing {count:,} files of 0 to 2 KB"


def publish_more(laboratory):
    rows = []
    for count in (0, *FILE_COUNTS):
        export = [CLI, "export", DATA / f"files-{count}", "--url", URL, "--output", SCRATCH / "Apps.json"]
        rows += laboratory.compare(growing(count), [Contender(OURS, export),
                                                    Contender(ONE_CORE, [*export, "--jobs", "1"])])
    return rows


def verify_server(laboratory):
    rows = []
    folder, index, requests = SCRATCH / "fetched", SCRATCH / "Apps.json", SCRATCH / "requests"
    fetch = (f"rm -rf '{folder}' && curl --silent --fail --parallel --parallel-max {REQUESTS} --create-dirs "
             f"--config '{requests}' && find '{folder}' -type f -print0 | xargs -0 sha1sum")
    with served(DATA, SCRATCH) as url:
        for tree in ("large", "even"):
            place = f"{url}{tree}/"
            subprocess.run([CLI, "export", DATA / tree, "--url", place, "--output", index], check=True,
                           stdout=subprocess.DEVNULL)
            apps = json.loads(index.read_text(encoding="utf-8"))["applications"]
            urls = [file["url"] for app in apps for file in app["files"]]
            requests.write_text("".join(f'url = "{one}"\noutput = "{folder}/{one.removeprefix(place)}"\n'
                                        for one in urls))
            rows += laboratory.compare(verifying(tree), [
                Contender(OURS, [CLI, "verify", place, "--index", index, "--jobs", str(REQUESTS),
                                 "--allow", "icon-not-found"],
                          result=lambda output: re.search(r", (\d+) files: no findings", output).group(1)),
                Contender(FETCHED, ["sh", "-c", fetch], result=lambda output: str(len(output.splitlines()))),
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
                      printed_times, content),
            Contender("Python", [*script, sys.executable, HERE / "read_apps.py", file], printed_times, content),
        ])
    return rows


def use_window(laboratory):
    program = BUILD / "benchmarks" / "catalist_bench_window"
    rows = []

    def compare(action, what, cases, *arguments):
        rows.extend(laboratory.compare(window(action, what), [
            Contender(who, [program, case, *arguments], printed_times) for who, case in cases.items()
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
    for tree, limit in PUBLISHING_LIMITS.items():
        if has_sha_instructions():
            why = WHY_LARGE if tree == "large" else WHY_SMALL
            goals.ratio(publishing(tree), limit, OTHERS, why=why)
            goals.ratio(publishing(tree), 1.0, map(on_all_cores, OTHERS), why=why)
    nothing = goals.row(growing(0))

    def each(count):
        row = goals.row(growing(count))
        return (row.median - nothing.median) / count, (row.peak - nothing.peak) / count

    for count in FILE_COUNTS[1:]:
        for measure, value, first in zip(("time", "memory"), each(count), each(FILE_COUNTS[0])):
            goals.limit(f"{growing(count)}, {measure} for each, to {FILE_COUNTS[0]:,}", 1.2, value / first)
    for tree in TREES:
        goals.ratio(publishing(tree), 1.1, ["sha1sum"], PLAIN, WHY_LARGE if tree == "large" else WHY_SMALL)
    few = goals.row(publishing("large"))
    goals.limit("Memory for publishing 2 files of 300 MB", 30, few.peak / 1e6, "MB")
    for tree in ("many", "listed"):
        title, count = TREES[tree]
        goals.limit(f"Memory for each of {title}", 1, (goals.row(publishing(tree)).peak - few.peak) / count / KB, "KB",
                    WHY_MEMORY)
    for tree in ("large", "even"):
        goals.ratio(verifying(tree), 1.5, [FETCHED])
    for action in ("opening", "saving"):
        goals.ratio(project(APP_COUNTS[-1], action), 0.5, ["Python"])
        for count in APP_COUNTS[2:]:
            once, tenfold = (goals.row(project(apps, action)).median for apps in (count // 10, count))
            goals.limit(f"{count:,} apps, {action}, to a tenth of them", 11, tenfold / once)
    for action, limit in {"Opening": 120, "Selecting": 5, "Apply": 15, "Adding a file": 30}.items():
        goals.time(window(action, "10,000 apps"), limit)
    goals.ratio(window("Keystroke", page(10, 0)), 1.2, [FLOOR], why=WHY_SHORT_PAGE)
    for pictures in (0, PICTURES):
        goals.time(window("Keystroke", page(100, pictures)), 50, WHY_KEYSTROKE)
        goals.ratio(window("Keystroke", page(100, pictures)), 1.2, [FLOOR])
    return goals.all


def growth_table(rows):
    def row(count, who):
        return next(row for row in rows if row.what == growing(count) and row.who == who)

    lines = ["| files of 0 to 2 KB | on one core | on all cores | memory |", "| ---: | ---: | ---: | ---: |"]
    for count in (0, *FILE_COUNTS):
        one, all_cores = row(count, ONE_CORE), row(count, OURS)
        lines.append(f"| {count:,} | {one.median * 1000:,.0f} ms | {all_cores.median * 1000:,.0f} ms | "
                     f"{all_cores.peak / 1e6:.0f} MB |")
    return "\n".join(lines)


def draw_rows(path, rows):
    def group(what, *others):
        times = {row.who: row.median for row in rows if row.what == what}
        bars = [(OURS, BLUE, 1, f"{times[OURS] * 1000:,.0f} ms")]
        for who in others:
            multiple = times[who] / times[OURS]
            bars.append((who, GREY if who in (*OTHERS, "Python", FLOOR) else ORANGE, multiple, f"{multiple:.2f}"))
        return what, bars

    hashers = (*OTHERS, *map(on_all_cores, OTHERS))
    draw(path, "Times as multiples of Catalist's. What ends left of the line is faster than Catalist.",
         [(OURS, BLUE), ("others", GREY), (f"others, {CORES} processes at a time", ORANGE)],
         [[group(publishing("large"), *hashers), group(publishing("even"), *hashers),
           group(project(APP_COUNTS[-1], "opening"), "Python"), group(window("Apply", "10,000 apps"), FLOOR)],
          [group(publishing("many"), *hashers), group(publishing("listed"), *hashers),
           group(project(APP_COUNTS[-1], "saving"), "Python"), group(window("Keystroke", page(100, 0)), FLOOR)]])


def main():
    options = sys.argv[1:]
    if set(options) - {"--quick", "--record"} or len(options) > 1:
        raise SystemExit(__doc__)
    laboratory = Laboratory(SCRATCH, 2 if "--quick" in options else 7)
    about = machine(CLI) | {"runs": laboratory.runs}
    print("Making the data" if not DATA.is_dir() else "Measuring", file=sys.stderr)
    make_data(DATA)
    rows = [row for measure in (publish, publish_more, verify_server, open_and_save, use_window)
            for row in measure(laboratory)]
    figures = goals(rows)
    for row in rows:
        print(f"{row.median * 1000:10,.1f} ms  {row.what}: {row.who}")
    part = page_part(about, figures, growth_table(rows))
    print(f"\n{part}")
    for goal in figures:
        if not goal.get("why", "known"):
            print(f"Please give bench.py a reason why this is missed: {goal['what']}", file=sys.stderr)

    folder = DOCS if "--record" in options else SCRATCH
    (folder / PICTURE).parent.mkdir(exist_ok=True)
    draw_rows(folder / PICTURE, rows)
    write_data(folder / "performance.json", about, figures, rows)
    if "--record" in options:
        put_into(DOCS / "performance.md", part)
    else:
        print(f"The picture and the data are in {SCRATCH}.")


main()
