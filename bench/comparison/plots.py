"""Plots as SVG."""

import math
from typing import NamedTuple
from xml.sax.saxutils import escape

COLOURS = ("#1f6feb", "#bc4c00", "#1a7f37", "#8250df", "#9a6700", "#cf222e")
FONT, LETTER, LINE = 13, 7, 24  # pixels: height of letters, their width, distance of lines


class Drawing:
    """Collects elements; coordinates are pixels from the upper left corner."""

    def __init__(self, width, height):
        self._size, self._elements = (width, height), []
        self.add("rect", width="100%", height="100%", fill="white")

    def add(self, element, text=None, **attributes):
        names = " ".join(f'{name.replace("_", "-")}="{value}"' for name, value in attributes.items())
        end = "/>" if text is None else f">{escape(text)}</{element}>"
        self._elements.append(f"<{element} {names}{end}")

    def text(self, x, y, text, anchor="start", **more):
        self.add("text", text, x=f"{x:.1f}", y=f"{y:.1f}", text_anchor=anchor, **more)

    def line(self, x1, y1, x2, y2, colour="#d0d7de", width=1):
        self.add("line", x1=f"{x1:.1f}", y1=f"{y1:.1f}", x2=f"{x2:.1f}", y2=f"{y2:.1f}", stroke=colour,
                 stroke_width=width)

    def dot(self, x, y, colour):
        self.add("circle", cx=f"{x:.1f}", cy=f"{y:.1f}", r=5, fill=colour, fill_opacity=0.85)

    def legend(self, x, y, names):
        for name, colour in zip(names, COLOURS):
            self.dot(x, y - 4, colour)
            self.text(x + 10, y, name)
            x += 30 + LETTER * len(name)

    def svg(self):
        width, height = self._size
        return (f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
                f'viewBox="0 0 {width} {height}" font-family="sans-serif" font-size="{FONT}">\n'
                + "\n".join(self._elements) + "\n</svg>\n")


def ratio_plot(rows, places):
    """`rows`: a name and the ratio at each place that has one. The axis is logarithmic."""
    left, width, top = 40 + LETTER * max(len(name) for name, _ in rows), 560, 70
    bottom = top + LINE * len(rows)
    ratios = [ratio for _, at in rows for ratio in at.values()]
    low, high = math.log2(min([0.125, *ratios])) - 0.2, math.log2(max([2, *ratios])) + 0.2
    drawing = Drawing(left + width + 30, bottom + 40)
    drawing.text(10, 22, "Time of the daemon divided by that of the usual tool", font_weight="bold")
    drawing.legend(left, 48, places)

    def position(ratio):
        return left + width * (math.log2(ratio) - low) / (high - low)

    for power in range(math.ceil(low), math.floor(high) + 1):
        x = position(2.0 ** power)
        drawing.line(x, top, x, bottom, *(("#57606a", 2) if power == 0 else ()))
        drawing.text(x, bottom + 20, f"{2.0 ** power:g}", "middle")
    for number, (name, at) in enumerate(rows):
        y = top + LINE * (number + 0.5)
        drawing.text(left - 12, y + 4, name, "end")
        drawing.line(left, y, left + width, y)
        for place, ratio in at.items():
            drawing.dot(position(ratio), y, COLOURS[places.index(place)])
    return drawing.svg()


class Panel(NamedTuple):
    title: str
    curves: list  # Of points (objects, value).


def scale_plot(names, panels):
    """Panels side by side: values from 0 on over numbers of objects on a logarithmic axis. `names` are the curves'."""
    left, width, gap, top, height = 60, 330, 80, 80, 240
    drawing = Drawing(left + len(panels) * (width + gap) - gap + 30, top + height + 50)
    drawing.legend(left, 24, names)
    for number, panel in enumerate(panels):
        x0 = left + number * (width + gap)
        drawing.text(x0, top - 16, panel.title, font_weight="bold")
        draw_panel(drawing, panel, x0, top, width, height)
    return drawing.svg()


def draw_panel(drawing, panel, x0, top, width, height):
    points = [point for curve in panel.curves for point in curve]
    first, last = (math.log10(end(objects for objects, _ in points)) for end in (min, max))
    step = rounded_step(max(value for _, value in points))
    highest = step * math.ceil(max(value for _, value in points) / step)

    def place(objects, value):
        return (x0 + width * (math.log10(objects) - first) / (last - first or 1), top + height * (1 - value / highest))

    for number in range(round(highest / step) + 1):
        _, y = place(10 ** first, number * step)
        drawing.line(x0, y, x0 + width, y)
        drawing.text(x0 - 8, y + 4, f"{number * step:g}", "end")
    for objects in sorted({objects for objects, _ in points}):
        drawing.text(place(objects, 0)[0], top + height + 20, f"{objects:,}", "middle")
    for curve, colour in zip(panel.curves, COLOURS):
        places = [place(*point) for point in curve]
        drawing.add("polyline", points=" ".join(f"{x:.1f},{y:.1f}" for x, y in places), fill="none", stroke=colour,
                    stroke_width=2)
        for x, y in places:
            drawing.dot(x, y, colour)


def rounded_step(highest):
    """1, 2 or 5 times a power of ten, at most six of which reach the highest value."""
    power = 10 ** math.floor(math.log10(highest / 6))
    return next(step * power for step in (1, 2, 5, 10) if step * power * 6 >= highest)
