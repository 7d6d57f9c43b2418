"""Draws groups of bars: the times of the others as multiples of the program's."""

import io

import matplotlib
from matplotlib.figure import Figure

BLUE, GREY, ORANGE = "#0072b2", "#a6a6a6", "#e69f00"  # distinct for every kind of sight
DARK = "#333333"
WIDTH, ROW = 800, 15  # pixels
GAP = 1.7  # rows from the last bar of a group to the title of the next


def draw_group(axes, top, title, bars):
    """Bars are names, colours, multiples and their labels. Returns the place of the next group."""
    beside = axes.get_yaxis_transform()
    axes.text(-0.51, top, title, transform=beside, weight="bold", va="center")
    for number, (name, colour, multiple, label) in enumerate(bars, 1):
        place = top + number
        axes.barh(place, multiple, height=0.8, color=colour)
        axes.text(-0.02, place, name, transform=beside, ha="right", va="center")
        axes.text(max(multiple, 1) + 0.05, place, label, va="center")
    axes.vlines(1, top + 0.5, place + 0.5, color=DARK, linewidth=0.8)
    return place + GAP


def draw(path, heading, key, columns):
    """Columns are lists of groups, each a title and its bars; the key is what the colours stand for, and colours."""
    # The same bytes for the same bars. Text stays text, which is small and can be searched.
    matplotlib.rcParams.update({"svg.hashsalt": "catalist", "svg.fonttype": "none", "font.size": 8.25,
                                "text.color": DARK})
    rows = max(sum(len(bars) + GAP for _, bars in groups) for groups in columns)
    height = ROW * (rows + 4)
    figure = Figure(figsize=(WIDTH / 96, height / 96))
    page = figure.add_axes((0, 0, 1, 1), xlim=(0, WIDTH), ylim=(height, 0))
    page.axis("off")
    page.text(8, ROW, heading, va="center", size=9.75)
    for number, (meaning, colour) in enumerate(key):
        page.barh(2.4 * ROW, 12, left=8 + 200 * number, height=12, color=colour)
        page.text(26 + 200 * number, 2.4 * ROW, meaning, va="center")
    longest = max(multiple for groups in columns for _, bars in groups for _, _, multiple, _ in bars)
    for column, groups in enumerate(columns):
        axes = figure.add_axes((0.17 + 0.5 * column, 0, 0.315, ROW * rows / height),
                               xlim=(0, longest * 1.15), ylim=(rows - 0.5, -0.5))
        axes.axis("off")
        top = 0
        for title, bars in groups:
            top = draw_group(axes, top, title, bars)
    drawing = io.StringIO()
    figure.savefig(drawing, format="svg", metadata={"Date": None, "Creator": None})
    path.write_text("".join(line.rstrip() + "\n" for line in drawing.getvalue().splitlines()), encoding="utf-8")
