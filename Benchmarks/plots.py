"""Draws measured points as SVG files, on logarithmic axes unless a value is not positive."""

import math
import os

WIDTH, HEIGHT, LEFT, RIGHT, TOP, BOTTOM = 560, 340, 76, 20, 36, 44

# Name of the points, title, names of the axes.
PLOTS = [
    ("bytes_per_query_in_flight", "Memory of queries in flight", "queries in flight", "bytes each"),
    ("rss_kb_growth_over_queries", "Memory over a million queries", "queries", "growth in KiB"),
    ("decode_us_over_articles", "Decoding: articles of 1 KB", "articles", "µs"),
    ("decode_us_over_labels", "Decoding: labels of one article", "labels", "µs"),
    ("decode_us_over_body_bytes", "Decoding: size of one body", "bytes", "µs"),
]


def axis(values, begin, end):
    """Maps values to places, and lists ticks as pairs of value and place."""
    if min(values) > 0:
        low, high = math.floor(math.log10(min(values))), math.ceil(math.log10(max(values)))
        high = max(high, low + 1)
        place = lambda v: begin + (end - begin) * (math.log10(v) - low) / (high - low)
        ticks = [10.0**i for i in range(low, high + 1)]
    else:
        low, high = min(values), max(*values, min(values) + 1)
        place = lambda v: begin + (end - begin) * (v - low) / (high - low)
        ticks = [low + (high - low) * i / 4 for i in range(5)]
    return place, [(tick, place(tick)) for tick in ticks]


def svg(points, title, x_name, y_name):
    bottom, right = HEIGHT - BOTTOM, WIDTH - RIGHT
    x_of, x_ticks = axis([x for x, _ in points], LEFT, right)
    y_of, y_ticks = axis([y for _, y in points], bottom, TOP)
    text = lambda x, y, anchor, what: (
        f'<text x="{x:.1f}" y="{y:.1f}" text-anchor="{anchor}">{what}</text>')
    line = lambda x1, y1, x2, y2: f'<path d="M{x1:.1f} {y1:.1f}L{x2:.1f} {y2:.1f}" stroke="#ddd"/>'
    parts = [text(LEFT, 20, "start", f"<tspan font-weight='bold'>{title}</tspan> ({y_name})"),
             text(right, HEIGHT - 8, "end", x_name)]
    for tick, x in x_ticks:
        parts += [line(x, TOP, x, bottom), text(x, bottom + 16, "middle", f"{tick:,.4g}")]
    for tick, y in y_ticks:
        parts += [line(LEFT, y, right, y), text(LEFT - 6, y + 4, "end", f"{tick:,.4g}")]
    places = [(x_of(x), y_of(y)) for x, y in points]
    path = "L".join(f"{x:.1f} {y:.1f}" for x, y in places)
    parts.append(f'<path d="M{path}" fill="none" stroke="#06c" stroke-width="2"/>')
    parts += [f'<circle cx="{x:.1f}" cy="{y:.1f}" r="3" fill="#06c"/>' for x, y in places]
    return (f'<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {HEIGHT}" '
            f'font-family="sans-serif" font-size="12"><rect width="100%" height="100%" '
            f'fill="#fff"/>\n' + "\n".join(parts) + "\n</svg>\n")


def draw_all(points, directory):
    os.makedirs(directory, exist_ok=True)
    for name, *titles in PLOTS:
        if name in points:
            with open(os.path.join(directory, name + ".svg"), "w", encoding="utf-8") as file:
                file.write(svg(points[name], *titles))
