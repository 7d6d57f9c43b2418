"""The data that is measured with: made once, the same on every machine, and kept below the build folder."""

import json
import random
import shutil
import struct
import zlib
from pathlib import Path

HEADER = "NAME;AUTHOR;VERSION;HARDWARE;DATE;DESCRIPTION;FILES_FOLDERS;ICON;MIN_TXVER\n"
HARDWARE = [674, 675, 676, 677, 678, 679, 680, 652, 653, 3857, 3858, 3859, 3860]
WORDS = "altitude battery climb descent engine flight glider heading launch motor radio sensor timer trim vario".split()
KB = 1000
MB = 1000 * KB

APP_COUNTS = (100, 1_000, 10_000, 100_000)
FILE_COUNTS = (1_000, 10_000, 100_000)
PAGE_SIZES = (1, 10, 100, 1_000)
PICTURES = 10
FILE_TO_ADD = "new.lua"


def json_cell(values):
    return json.dumps(values, ensure_ascii=False, separators=(",", ":"), sort_keys=True)


def app_line(rng, number, files, descriptions):
    names = {language: f"{rng.choice(WORDS).title()} {number} {language}" for language in ("de", "en", "fr")}
    hardware = sorted(rng.sample(HARDWARE, rng.randint(1, 6)))
    return ";".join((
        json_cell(names),
        f"{rng.choice(WORDS).title()} & {rng.choice(WORDS).title()}",
        f"{rng.randint(0, 9)}.{rng.randint(0, 30)}.{rng.randint(0, 99)}",
        ",".join(str(each) for each in hardware),
        f"{rng.randint(1, 28):02}-{rng.randint(1, 12):02}-{rng.randint(2015, 2026)}",
        json_cell(descriptions),
        ",".join(files),
        f"icons/{number}.png",
        f"{rng.randint(4, 6)}.{rng.randint(0, 30):02}",
    )) + "\n"


def write_catalogue(folder, lines):
    folder.mkdir(parents=True, exist_ok=True)
    (folder / "Apps.csv").write_text(HEADER + "".join(lines), encoding="utf-8", newline="\n")


def write_file(rng, path, size):
    path.parent.mkdir(parents=True, exist_ok=True)
    with path.open("wb") as file:
        for start in range(0, size, MB):
            file.write(rng.randbytes(min(MB, size - start)))


def make_tree(folder, rng, sizes, folders, apps):
    """Files spread evenly over folders, each of which is listed by one app or, when the apps are that many, its files."""
    per_folder = len(sizes) // folders
    listed = [[] for _ in range(apps)]
    for index in range(folders):
        place = f"tree/{index:03}"
        names = [f"{place}/{number:05}.bin" for number in range(per_folder)]
        for name, size in zip(names, sizes[index * per_folder:]):
            write_file(rng, folder / name, size)
        listed[index % apps] += names if apps == folders else [place]
    write_catalogue(folder, [app_line(rng, app, listed[app], {}) for app in range(apps)])


def make_trees(folder):
    rng = random.Random(6)
    make_tree(folder / "large", rng, [300 * MB] * 2, folders=1, apps=1)
    make_tree(folder / "many", rng, [rng.randint(0, 16 * KB) for _ in range(20_000)], folders=400, apps=10)
    make_tree(folder / "even", rng, [20 * KB] * 5_000, folders=50, apps=10)
    make_tree(folder / "listed", rng, [rng.randint(0, 16 * KB) for _ in range(200 * 50)], folders=200, apps=200)


def make_growing_trees(folder):
    write_catalogue(folder / "files-0", [])
    for count in FILE_COUNTS:
        rng = random.Random(count)
        make_tree(folder / f"files-{count}", rng, [rng.randint(0, 2 * KB) for _ in range(count)], folders=count // 50,
                  apps=count // 100)


def make_catalogues(folder):
    for count in APP_COUNTS:
        rng = random.Random(count)
        place = folder / f"apps-{count}"
        write_catalogue(place, [
            app_line(rng, app, [f"app{app}/main.lua", f"app{app}/lib"],
                     {language: f"descriptions/app{app}.{language}.html" for language in ("de", "en")})
            for app in range(count)
        ])
        (place / FILE_TO_ADD).write_text("return {}\n")


def png(rng, width, height):
    """A picture of its own, as noisy as a photograph is."""
    def chunk(kind, content):
        return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))

    rows = b"".join(b"\0" + rng.randbytes(3 * width) for _ in range(height))
    header = struct.pack(">IIBBBBB", width, height, 8, 2, 0, 0, 0)
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", zlib.compress(rows)) + chunk(b"IEND", b"")


def page(rng, size, pictures):
    """HTML of about as many bytes, with the pictures spread over it."""
    parts = ["<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"></head><body>\n<h1>App</h1>\n"]
    images = [f"<p><img src=\"picture{number}.png\"></p>\n" for number in range(pictures)]
    length = len(parts[0]) + sum(map(len, images))
    while length < size:
        text = " ".join(rng.choice(WORDS) for _ in range(30))
        part = f"<h2>{rng.choice(WORDS)}</h2>\n<p>{text}, <b>{rng.choice(WORDS)}</b>.</p>\n"
        parts.append(part)
        length += len(part)
    step = len(parts) / max(pictures, 1)
    for number in reversed(range(pictures)):
        parts.insert(1 + round(number * step), images[number])
    parts.append("</body></html>\n")
    return "".join(parts)


def page_name(size, pictures):
    return f"page-{size}-{pictures}.html"


def make_pages(folder):
    rng = random.Random(10)
    folder.mkdir(parents=True, exist_ok=True)
    for number in range(PICTURES):
        (folder / f"picture{number}.png").write_bytes(png(rng, 320, 240))
    descriptions = {}
    for size in PAGE_SIZES:
        for pictures in (0, PICTURES):
            name = page_name(size, pictures)
            (folder / name).write_text(page(rng, size * KB, pictures), encoding="utf-8")
            descriptions[f"{size}-{pictures}"] = name
    write_catalogue(folder, [app_line(rng, 0, [], descriptions)])


def make_data(folder):
    """Does nothing when a run before has made the same."""
    source = Path(__file__).read_bytes()
    stamp = folder / "data.py"
    if stamp.is_file() and stamp.read_bytes() == source:
        return
    shutil.rmtree(folder, ignore_errors=True)
    unfinished = folder.with_name(folder.name + ".new")
    shutil.rmtree(unfinished, ignore_errors=True)
    make_trees(unfinished)
    make_growing_trees(unfinished)
    make_catalogues(unfinished)
    make_pages(unfinished / "pages")
    (unfinished / stamp.name).write_bytes(source)
    unfinished.rename(folder)
