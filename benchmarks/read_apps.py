"""Opens and saves an Apps.csv as one would in a script: read_apps.py APPS.CSV SAVED

Prints how long each took, in seconds. Every column becomes a value, as in the editor, and the file is saved as safely:
beside the old one, flushed to the disk, and then put in its place.
"""

import json
import os
import sys
import time
from dataclasses import dataclass
from datetime import date


@dataclass
class App:
    names: dict
    author: str
    version: tuple
    hardware: list
    date: date
    descriptions: dict
    files: list
    icon: str
    min_tx_version: tuple


def read_version(cell):
    return tuple(int(segment) for segment in cell.split("."))


def read_date(cell):
    day, month, year = cell.split("-")
    return date(int(year), int(month), int(day))


def read_apps(path):
    apps = []
    with open(path, encoding="utf-8") as file:
        for line in file:
            cells = line.rstrip("\n").split(";")
            if cells[0] == "NAME":
                continue
            apps.append(App(
                json.loads(cells[0]),
                cells[1],
                read_version(cells[2]),
                [int(text) for text in cells[3].split(",")],
                read_date(cells[4]),
                json.loads(cells[5]),
                cells[6].split(",") if cells[6] else [],
                cells[7],
                read_version(cells[8]),
            ))
    return apps


def json_cell(values):
    return json.dumps(values, ensure_ascii=False, separators=(",", ":"), sort_keys=True)


def app_line(app):
    return ";".join((
        json_cell(app.names),
        app.author,
        ".".join(map(str, app.version)),
        ",".join(map(str, app.hardware)),
        app.date.strftime("%d-%m-%Y"),
        json_cell(app.descriptions),
        ",".join(app.files),
        app.icon,
        f"{app.min_tx_version[0]}.{app.min_tx_version[1]:02}",
    )) + "\n"


def save_apps(path, apps):
    staged = path + ".new"
    with open(staged, "w", encoding="utf-8", newline="\n") as file:
        file.write("NAME;AUTHOR;VERSION;HARDWARE;DATE;DESCRIPTION;FILES_FOLDERS;ICON;MIN_TXVER\n")
        for app in apps:
            file.write(app_line(app))
        file.flush()
        os.fsync(file.fileno())
    os.replace(staged, path)


def main():
    start = time.perf_counter()
    apps = read_apps(sys.argv[1])
    opened = time.perf_counter()
    save_apps(sys.argv[2], apps)
    saved = time.perf_counter()
    print("opening", opened - start)
    print("saving", saved - opened)


main()
