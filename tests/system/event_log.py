"""Looks into the event log, whose lines begin with the time of day."""

import re

from harness import EVENT_LOG, text_of, wait_until

STAMP = r"\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3}  "


def log_without_times(line_count):
    """The log once it has so many line ends, each line's time and two blanks taken off."""
    wait_until(lambda: text_of(EVENT_LOG).count("\n") >= line_count, f"{line_count} event log lines")
    text = text_of(EVENT_LOG)
    assert re.match(STAMP, text), text
    return re.sub(f"(?m)^{STAMP}", "", text)
