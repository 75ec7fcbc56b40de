"""The tables of Docs/Scale.md, of the figures of a simulated day."""

SIZES = [10**exponent for exponent in range(3, 9)]
SIMULATED = 1_000_000
KINDS = ["phones", "desks", "servers", "displays", "all"]


def number(value):
    return f"{value:,.0f}" if value >= 10 else f"{value:.2g}"


def table(header, rows):
    lines = [header, ["---", *["---:"] * (len(header) - 1)], *rows]
    return "".join(f"| {' | '.join(line)} |\n" for line in lines)


def render(figures):
    of = lambda kind, name: figures[f"fleet.{kind}.{name}"]
    percent = lambda kind, name: f"{of(kind, name):.0%}"
    over = lambda kind, name: f"{of(kind, name) / of(kind, 'usual_peak'):.2f}"

    peaks = ["requests", "usual_peak", "outage_peak", "afterwards_peak"]
    scaled = lambda kind, name, size: number(of(kind, name) * size / SIMULATED)
    sizes = table(
        ["installations", "requests a second, mean", "busiest minute", "in the outage", "after it", "Mbit/s, mean"],
        [[f"{size:,}", *(scaled("all", name, size) for name in peaks),
          number(of("all", "bytes") * 8e-6 * size / SIMULATED)] for size in SIZES])
    kinds = table(
        ["", "requests a second, mean", "of which settings", "of these 304", "outage by busiest minute",
         "after it", "back to usual", "change seen after", "after the outage"],
        [[kind, number(of(kind, "requests")), percent(kind, "settings_share"), percent(kind, "confirmed_share"),
          over(kind, "outage_peak"), over(kind, "afterwards_peak"), f"{of(kind, 'minutes_to_recover'):.0f} min",
          f"{of(kind, 'seconds_until_seen'):.0f} s", f"{of(kind, 'seconds_until_seen_after_outage'):.0f} s"]
         for kind in KINDS])
    compared = [
        ("requests a second, mean", "all.requests", number),
        ("busiest minute by the mean", "peak_over_mean", number),
        ("Mbit/s for settings, mean", "all.settings_bytes", lambda value: f"{value * 8e-6:.2f}"),
        ("requests a second of servers in the outage", "servers.outage_peak", number),
        ("displays' settings: busiest ten seconds by the mean", "displays.settings_peak_over_mean", number),
        ("seconds until a change in the outage is seen, after it", "all.seconds_until_seen_after_outage", number),
    ]
    measures = table(
        ["", "before", "now"],
        [[what, shown(figures[f"fleet.before.{name}"]), shown(figures[f"fleet.{name}"])]
         for what, name, shown in compared])
    return {"sizes": sizes, "kinds": kinds, "measures": measures}


def write(figures, path):
    text = open(path, encoding="utf-8").read()
    for name, rows in render(figures).items():
        before, rest = text.split(f"<!-- {name}: begin -->\n")
        text = f"{before}<!-- {name}: begin -->\n\n{rows}\n<!-- {name}: end -->" + rest.split(f"<!-- {name}: end -->")[1]
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)
