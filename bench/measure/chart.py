"""The results as an SVG of bars: a panel a figure, a bar a system; pure functions."""

import html

from . import table

PANELS = (
    "start-up.ms",
    "memory.resident",
    "memory.per-send",
    "size.kib",
    "idle.switches",
    "idle.cpu-ms",
    "echo.ms",
    "rate.per-s",
    "spacing-udp-5ms.p99",
    "spacing-udp-50ms.p99",
    "spacing-tcp-50ms.p99",
    "burst.ms",
    "ties.ms",
    "full-table.ms",
    "rebuild.10000",
)
COLUMNS = 3
PANEL_WIDTH = 400
LABEL_WIDTH = 130
VALUE_WIDTH = 70
BAR_HEIGHT = 14
LINE_HEIGHT = 18
TITLE_HEIGHT = 26
GAP = 16
STYLE = (
    "text{font:12px sans-serif;fill:#222}.t{font-weight:bold}.v{font-size:11px}"
    "rect{fill:#9db4c8}.own{fill:#1f6f8b}.floor{fill:#c9b37e}.paper{fill:#fff}"
)


def chart(results, metrics, titles):
    """The whole document as text; `titles` names the bars in order."""
    by_name = {metric.name: metric for metric in metrics}
    shown = [by_name[name] for name in PANELS if name in results.values]
    rows = [shown[i : i + COLUMNS] for i in range(0, len(shown), COLUMNS)]
    parts, top = [], GAP
    for row in rows:
        for i, metric in enumerate(row):
            left = GAP + i * (PANEL_WIDTH + GAP)
            parts.append(f'<g transform="translate({left},{top})">{_panel(results, metric, titles)}</g>')
        top += max(_height(results, metric, titles) for metric in row) + GAP
    width = GAP + COLUMNS * (PANEL_WIDTH + GAP)
    return (
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{top}">'
        f'<style>{STYLE}</style><rect class="paper" width="{width}" height="{top}"/>'
        + "".join(parts)
        + "</svg>\n"
    )


def _bars(results, metric, titles):
    medians = {column: results.median(metric.name, column) for column in titles}
    return {column: value for column, value in medians.items() if value is not None}


def _height(results, metric, titles):
    return TITLE_HEIGHT + LINE_HEIGHT * len(_bars(results, metric, titles))


def _panel(results, metric, titles):
    bars = _bars(results, metric, titles)
    greatest = max([*bars.values(), 0]) or 1
    unit = f", {metric.unit}" if metric.unit else ""
    more = " (more is better)" if metric.better == "higher" else ""
    parts = [f'<text class="t" y="14">{html.escape(metric.title + unit + more)}</text>']
    for i, (column, value) in enumerate(bars.items()):
        kind = "own" if column.startswith("ruvotcpd") else "floor" if column == "floor" else "peer"
        text = table.number(value, metric.digits)
        top = TITLE_HEIGHT + i * LINE_HEIGHT
        parts.append(_bar(kind, titles[column], text, max(value, 0) / greatest, top))
    return "".join(parts)


def _bar(kind, title, text, share, top):
    width = share * (PANEL_WIDTH - LABEL_WIDTH - VALUE_WIDTH)
    return (
        f'<text x="0" y="{top + 11}">{html.escape(title)}</text>'
        f'<rect class="{kind}" x="{LABEL_WIDTH}" y="{top}" width="{width:.1f}" height="{BAR_HEIGHT}"/>'
        f'<text class="v" x="{LABEL_WIDTH + width + 5:.1f}" y="{top + 11}">{text}</text>'
    )
