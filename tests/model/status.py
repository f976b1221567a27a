"""The device's status report as (name, value) pairs."""

from c_strings import read_lines, up_to_zero, without_line_feed

LINE_BUFFER = 2048
FEWEST_PAIRS = 6


def parse_report(report):
    """The report's carriage returns are line feeds already. Lines without a colon give no pair."""
    pairs = []
    for line in read_lines(report, LINE_BUFFER):
        line = without_line_feed(line)
        colon = line.find(b":")
        if colon == -1:
            continue
        pairs.append((line[:colon], line[colon + 1:]))
    return pairs


def renewed_variables(previous, parsed):
    """A short report never empties a good list."""
    if len(parsed) >= FEWEST_PAIRS:
        return list(parsed)
    return previous


def variables_text(variables):
    return b"".join(up_to_zero(name) + b"=" + up_to_zero(value) + b"\n" for name, value in variables)
