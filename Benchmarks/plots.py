"""Draws measured figures as SVG files: points on two axes, both logarithmic unless a value is not
positive; curves on linear ones; and bars from zero."""

import math
import os

WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 560, 340, 76, 32, 36, 44
BAR_LEFT, BAR_RIGHT, BAR = 190, 64, 18
OURS, THEIRS = "#06c", "#aab"

# Name of the points, title, names of the axes.
PLOTS = [
    ("bytes_per_query_in_flight", "Memory of queries in flight", "queries in flight", "bytes each"),
    ("rss_kb_growth_over_queries", "Memory over a million queries", "queries", "growth in KiB"),
    ("decode_us_over_articles", "Decoding: articles of 1 KB", "articles", "µs"),
    ("decode_us_over_labels", "Decoding: labels of one article", "labels", "µs"),
    ("decode_us_over_body_bytes", "Decoding: size of one body", "bytes", "µs"),
]

# The same of curves, of which each has its own name after a dot; and the numbers below them.
CURVES = [
    ("fleet_day", "A day of a million installations", "hour", "requests a second", range(0, 25, 6)),
    ("fleet_outage", "Settings around an outage of ten minutes", "minutes after it began", "requests a second",
     range(-10, 31, 10)),
    ("fleet_refreshes", "Settings of 500 displays", "minutes after ten o'clock", "requests a second",
     range(0, 31, 5)),
]

# Name of the bars, title, unit and what is better.
CHARTS = [
    ("e2e_latency_us", "Latency, one question at a time", "µs, less is better"),
    ("e2e_per_second_16", "Throughput, 16 questions in flight", "a second, more is better"),
    ("e2e_cpu_us_1", "Processor time for a question, one at a time", "µs, less is better"),
    ("e2e_cpu_us_16", "Processor time for a question, 16 in flight", "µs, less is better"),
    ("decode_mb_per_second", "Decoding replies", "MB a second, more is better"),
]

# Of bars and their groups, where they don't speak for themselves.
NAMES = {
    "ours": "this library",
    "expert": "by hand: libcurl, simdjson",
    "multi": "libcurl alone, unread",
    "easy": "libcurl easy, nlohmann",
    "libsoup": "libsoup, json-glib",
    "qt": "Qt Network",
    "beast": "Boost.Beast, Boost.JSON",
    "httplib": "cpp-httplib, nlohmann",
    "rapidjson": "RapidJSON",
    "HTTP/1.1": "HTTP/1.1 in the clear",
    "HTTP/2": "HTTP/2 over TLS",
    "three_4k": "three articles of 4 KB",
    "hundred_8k": "a hundred of 8 KB",
    "three_tiny": "three tiny ones",
    "japanese": "in Japanese",
    "japanese_escaped": "in Japanese, escaped",
    "html_escaped": "brackets escaped",
}


def number(value, step):
    """As all numbers of an axis with such steps are written: never with an exponent."""
    return f"{value:,.{max(0, -math.floor(math.log10(step)))}f}"


def linear_ticks(low, high):
    """Some five round numbers from at most `low` to at least `high`, and the step between them."""
    rough = (high - low) / 5 or 1
    power = 10.0 ** math.floor(math.log10(rough))
    step = next(power * factor for factor in (1, 2, 5, 10) if power * factor >= rough)
    first, last = math.floor(low / step), math.ceil(high / step)
    return [i * step for i in range(first, max(last, first + 1) + 1)], step


def axis(values, begin, end, is_logarithmic):
    """Maps values to places, and lists ticks as pairs of text and place."""
    if is_logarithmic:
        low, high = math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))
        high = max(high, low + 1)
        place = lambda v: begin + (end - begin) * (math.log10(v) - low) / (high - low)
        powers = [10.0**i for i in range(low, high + 1)]
        ticks = [(number(power, min(power, 1)), power) for power in powers]
    else:
        values, step = linear_ticks(min(values), max(values))
        place = lambda v: begin + (end - begin) * (v - values[0]) / (values[-1] - values[0])
        ticks = [(number(value, step), value) for value in values]
    return place, [(name, place(tick)) for name, tick in ticks]


def text(x, y, anchor, what, style=""):
    return f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}"{style}>{what}</text>'


def line(x1, y1, x2, y2):
    return f'<path d="M{x1:.1f} {y1:.1f}L{x2:.1f} {y2:.1f}" stroke="#ddd"/>'


def heading(x, title, unit):
    return text(x, 20, "start", f"<tspan font-weight='bold'>{title}</tspan> ({unit})")


def document(height, parts):
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height:.0f}" '
            f'font-family="sans-serif" font-size="12"><rect width="100%" height="100%" '
            f'fill="#fff"/>\n' + "\n".join(parts) + "\n</svg>\n")


def grid(x_ticks, y_ticks):
    bottom, right = HEIGHT - BOTTOM, WIDTH - RIGHT
    parts = []
    for name, x in x_ticks:
        parts += [line(x, TOP, x, bottom), text(x, bottom + 16, "middle", name)]
    for name, y in y_ticks:
        parts += [line(LEFT, y, right, y), text(LEFT - 6, y + 4, "end", name)]
    return parts


def plot(points, title, x_name, y_name):
    is_logarithmic = min(map(min, points)) > 0
    x_of, x_ticks = axis([x for x, _ in points], LEFT, WIDTH - RIGHT, is_logarithmic)
    y_of, y_ticks = axis([y for _, y in points], HEIGHT - BOTTOM, TOP, is_logarithmic)
    places = [(x_of(x), y_of(y)) for x, y in points]
    dots = [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3" fill="{OURS}"/>' for x, y in places]
    return document(HEIGHT, [
        heading(LEFT, title, y_name), text(WIDTH - RIGHT, HEIGHT - 8, "end", x_name),
        *grid(x_ticks, y_ticks), curve(places, OURS), *dots])


def curve(places, colour):
    path = "L".join(f"{x:.1f} {y:.1f}" for x, y in places)
    return f'<path d="M{path}" fill="none" stroke="{colour}" stroke-width="2"/>'


def curves(lines, title, x_name, y_name, x_values):
    """From zero up. The last one is ours."""
    y_of, y_ticks = axis([0, *(y for points in lines.values() for _, y in points)], HEIGHT - BOTTOM, TOP, False)
    x_of = lambda x: LEFT + (WIDTH - RIGHT - LEFT) * (x - x_values[0]) / (x_values[-1] - x_values[0])
    x_ticks = [(str(x), x_of(x)) for x in x_values]
    parts = [heading(LEFT, title, y_name), text(WIDTH - RIGHT, HEIGHT - 8, "end", x_name),
             *grid(x_ticks, y_ticks)]
    for i, (name, points) in enumerate(lines.items(), 1):
        colour = OURS if i == len(lines) else THEIRS
        parts += [curve([(x_of(x), y_of(y)) for x, y in points], colour),
                  text(WIDTH - RIGHT - 8, TOP + 18 * i, "end", name, f' fill="{colour}"')]
    return document(HEIGHT, parts)


def chart(groups, title, unit):
    """Horizontal bars. Their lengths and the numbers beside them are the figures, from zero."""
    ticks, step = linear_ticks(0, max(value for bars in groups.values() for _, value in bars))
    x_of = lambda v: BAR_LEFT + (WIDTH - BAR_RIGHT - BAR_LEFT) * v / ticks[-1]
    parts, y = [], TOP
    for group, bars in groups.items():
        parts.append(text(BAR_LEFT, y + 13, "start", NAMES.get(group, group), ' fill="#666"'))
        y += BAR
        for name, value in bars:
            is_ours = name == "ours"
            parts += [
                text(BAR_LEFT - 8, y + 13, "end", NAMES.get(name, name),
                     ' font-weight="bold"' if is_ours else ""),
                f'<rect x="{BAR_LEFT}" y="{y + 2:.1f}" width="{x_of(value) - BAR_LEFT:.1f}" '
                f'height="{BAR - 4}" fill="{OURS if is_ours else THEIRS}"/>',
                text(x_of(value) + 5, y + 13, "start", number(value, min(step, 1)))]
            y += BAR
        y += BAR / 2
    grid = [line(x_of(tick), TOP, x_of(tick), y) for tick in ticks]
    names = [text(x_of(tick), y + 16, "middle", number(tick, step)) for tick in ticks]
    return document(y + BOTTOM - BAR, [heading(8, title, unit), *grid, *parts, *names])


def draw_all(points, bars, directory):
    os.makedirs(directory, exist_ok=True)
    drawings = {name: plot(points[name], *rest) for name, *rest in PLOTS if name in points}
    for name, *rest in CURVES:
        lines = {key.removeprefix(name + "."): points[key] for key in points if key.startswith(name + ".")}
        drawings |= {name: curves(lines, *rest)} if lines else {}
    drawings |= {name: chart(bars[name], *rest) for name, *rest in CHARTS if name in bars}
    for name, drawing in drawings.items():
        with open(os.path.join(directory, name + ".svg"), "w", encoding="utf-8") as file:
            file.write(drawing)
