"""The results as tables that are readable as they are and as Markdown; pure functions."""

from .results import FLOOR


def number(value, digits):
    """1234.5 with one digit is 1,234.5; nothing measured is a dash."""
    return "-" if value is None else f"{value:,.{digits}f}"


def goals_table(results, goals):
    """Every goal with its verdict."""
    head = ["figure", "measured", "goal", "reach for", "verdict"]
    return aligned(head, [_goal_row(results, goal) for goal in goals])


def systems_table(results, metrics, titles):
    """Every metric over all systems; `titles` names the columns in order."""
    head = ["median of the rounds", "unit", *titles.values()]
    rows = [
        [metric.title, metric.unit]
        + [number(results.median(metric.name, column), metric.digits) for column in titles]
        for metric in metrics
        if metric.name in results.values
    ]
    return aligned(head, rows)


def column_titles(results, systems):
    """The systems that have been measured, and the floor behind them."""
    titles = {name: system.title for name, system in systems.items()} | {FLOOR: "floor"}
    return {name: title for name, title in titles.items() if name in results.columns()}


def _goal_row(results, goal):
    measured = goal.measured(results)
    unit = goal.unit if measured is not None else ""
    return [
        goal.title,
        f"{number(measured, goal.digits)} {unit}".rstrip(),
        _bound(results, goal, goal.goal),
        _bound(results, goal, goal.reach) if goal.reach else "",
        goal.verdict(results),
    ]


def _bound(results, goal, bound):
    sign = ">=" if goal.at_least else "<="
    words = f" ({bound.words})" if bound.words else ""
    return f"{sign} {number(bound.value(results), goal.digits)}{words}"


def aligned(head, rows):
    """Numbers to the right; the first column, and words, to the left."""
    table = [head, *rows]
    widths = [max(len(row[i]) for row in table) for i in range(len(head))]
    lines = [_line(row, widths) for row in table]
    lines.insert(1, "|" + "|".join("-" * (width + 2) for width in widths) + "|")
    return "\n".join(lines)


def _line(row, widths):
    cells = [
        cell.rjust(width) if i > 0 and (cell[:1].isdigit() or cell[:1] == "-") else cell.ljust(width)
        for i, (cell, width) in enumerate(zip(row, widths))
    ]
    return "| " + " | ".join(cells) + " |"
