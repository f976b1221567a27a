"""From a request of the command port to the stamped record in the queue."""

from dataclasses import dataclass, replace

from c_numbers import product_int64, to_int64
from c_strings import up_to_zero, without_line_feed
from expansion import expand_data

MOST_RECEIVED = 1023
NS_PER_SECOND = 1000000000


@dataclass
class Request:
    key: bytes
    value: bytes
    command: bool
    trigger: bytes  # None when nothing is looked up
    reply: bytes  # empty for a command, which answers for itself
    lookups: int


def with_line_feed(text):
    if text.endswith(b"\n"):
        return text
    return text + b"\n"


def split_request(text):
    """Without an equals sign key and value are both the whole text."""
    equals = text.find(b"=")
    if equals == -1:
        return text, text
    return text[:equals], text[equals + 1:]


def count_lookups(text):
    """One lookup of the whole text per line; a last piece without a line feed is a line too."""
    lines = text.count(b"\n")
    if text != b"" and not text.endswith(b"\n"):
        lines += 1
    return lines


def handle_request(received, enabled):
    text = up_to_zero(received[:MOST_RECEIVED])
    key, value = split_request(text)
    if key.startswith(b"__"):
        return Request(key, value, True, None, b"", 0)
    if not enabled:
        return Request(key, value, False, None, b"Event Disabled, skip " + key, 0)
    trigger = with_line_feed(key)
    return Request(key, value, False, trigger, trigger, count_lookups(trigger))


def find_entry(entries, text, test):
    """Real events answer to their xmlField, test events to their name. None when nothing matches."""
    name = without_line_feed(text)
    for entry in entries:
        own = entry.name if test else entry.xmlField
        if own == name:
            return entry
    return None


def expanded_copy(entry, test, variables, local_time, uptime):
    """The entry in the list stays as it is. A test run ignores the event's delay."""
    steps = []
    for step in entry.steps:
        steps.append(replace(step, data=expand_data(step.data, variables, local_time, uptime)))
    delay = 0 if test else entry.delay
    return replace(entry, steps=steps, delay=delay)


def stamped(entry, now, test):
    """The record as it is queued; now is nanoseconds since the queue was made."""
    due = now
    if test != 1:
        due = to_int64(now + product_int64(entry.delay, NS_PER_SECOND))
    return replace(entry, t_ns_cread=now, t_ns_exec=due, test=test)


def next_due(t_ns_next, t_ns_exec):
    """The earliest due time seen so far, 0 before the first."""
    if t_ns_next == 0 or t_ns_next > t_ns_exec:
        return t_ns_exec
    return t_ns_next
