"""Two runs beside each other; pure but for the reading."""

from .table import aligned, number

# Between two runs of the same programs on a quiet machine most medians stay within this.
USUAL_CHANGE = 0.10


def change(metric, old, new):
    """"better", "worse", or nothing for a change that says nothing."""
    if not metric.better or old == new:
        return ""
    if old == 0:
        return "better" if metric.better == "higher" else "worse"
    if abs(new / old - 1) <= USUAL_CHANGE:
        return ""
    return "better" if (new > old) == (metric.better == "higher") else "worse"


def comparison_table(old, new, metrics):
    """Every median that both runs have."""
    rows = []
    for metric in metrics:
        for column in new.values.get(metric.name, {}):
            before, now = old.median(metric.name, column), new.median(metric.name, column)
            if before is None or now is None:
                continue
            factor = f"{now / before:.2f}" if before else "-"
            rows.append([metric.title, column, number(before, metric.digits), number(now, metric.digits),
                         factor, change(metric, before, now)])
    return aligned(["figure", "column", "before", "now", "now / before", ""], rows)
