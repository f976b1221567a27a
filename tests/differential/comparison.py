"""Compares what arrived with what was planned."""

import collections
import dataclasses
import os
import re
import typing

# How much later than its window's end an arrival may come: the time that a thread, a
# socket and the receiver take.
TOLERANCE_MS = 20.0

# The senders of one execution are started one after another, each so much later at most.
LAUNCH_MS = float(os.environ.get("RUVO_DIFFERENTIAL_LAUNCH_MS", "0.3"))

NS_PER_MS = 1_000_000


@dataclasses.dataclass(frozen=True)
class Difference:
    """What the daemon did otherwise than planned.

    `uneven` names a step that came later than the others of its execution. A busy machine
    does that too, but not to the same step every time.
    """

    text: str
    uneven: typing.Optional[str] = None

    def __str__(self):
        return self.text


@dataclasses.dataclass(frozen=True)
class Arrival:
    time_ns: int
    protocol: str
    to: str
    data: bytes


@dataclasses.dataclass(frozen=True)
class Expected:
    """A planned send that has to arrive, with its window on the receiver's clock."""

    label: str
    protocol: str
    to: str
    alternatives: frozenset[bytes]
    begin_ns: int
    end_ns: int
    due_ms: float
    step: int
    execution: tuple[int, int]  # the steps of one execution have one start
    fetches_first: bool = False  # the status report, which takes the time that it takes

    def same_message(self, arrival):
        return (
            (self.protocol, self.to) == (arrival.protocol, arrival.to) and arrival.data in self.alternatives
        )

    def matches(self, arrival):
        return self.same_message(arrival) and self.begin_ns <= arrival.time_ns <= self.end_ns


@dataclasses.dataclass
class Result:
    differences: list[Difference]
    matched: list[tuple[Expected, Arrival]]
    margins_ms: list[float]  # how long before its window's end each arrival came
    lags_ms: list[float]  # how much later than the others of its execution each step came


def expected_sends(predictions):
    """The sends that have to arrive, of all triggers."""
    return [
        Expected(
            label=f"{prediction.trigger.request!r}: {execution.name} step {step.number}",
            protocol=step.protocol, to=step.to, alternatives=step.alternatives,
            # Zero lies between connecting and the echo.
            begin_ns=prediction.trigger.sent_ns + int(step.earliest_ms * NS_PER_MS),
            end_ns=prediction.trigger.echoed_ns + int((step.latest_ms + TOLERANCE_MS) * NS_PER_MS),
            due_ms=step.due_ms, step=step.number, execution=(number, place), fetches_first=step.sends_report,
        )
        for number, prediction in enumerate(predictions)
        for place, execution in enumerate(prediction.executions)
        for step in execution.steps
        if step.arrives
    ]


def compare(expected, arrivals):
    arrival_of = match(expected, arrivals)
    taken = set(arrival_of.values())
    matched = [(expected[number], arrivals[place]) for number, place in sorted(arrival_of.items())]
    surplus = [arrival for place, arrival in enumerate(arrivals) if place not in taken]
    missing = [one for number, one in enumerate(expected) if number not in arrival_of]
    differences = [_describe_missing(one, surplus) for one in missing]
    differences += [Difference(f"NOT PLANNED: {arrival}") for arrival in surplus]
    lags = _lags(matched, expected)
    differences += [_uneven(label, lag) for label, lag in lags if lag > TOLERANCE_MS]
    margins = [(one.end_ns - arrival.time_ns) / NS_PER_MS for one, arrival in matched]
    return Result(differences, matched, margins, [lag for _, lag in lags])


def match(expected, arrivals):
    """Pairs as many sends with arrivals as possible; an arrival's number for a send's number."""
    by_message = collections.defaultdict(list)
    for place, arrival in enumerate(arrivals):
        by_message[arrival.protocol, arrival.to, arrival.data].append(place)
    candidates = [
        [
            place for data in one.alternatives for place in by_message[one.protocol, one.to, data]
            if one.matches(arrivals[place])
        ]
        for one in expected
    ]
    send_of = {}

    def find_place(number, tried):
        for place in candidates[number]:
            if place in tried:
                continue
            tried.add(place)
            if place not in send_of or find_place(send_of[place], tried):
                send_of[place] = number
                return True
        return False

    # In the order of their windows' ends the first choice is nearly always the right one.
    for number in sorted(range(len(expected)), key=lambda number: expected[number].end_ns):
        find_place(number, set())
    return {number: place for place, number in send_of.items()}


def _describe_missing(one, surplus):
    """The difference; an arrival of this message outside of its window is no surplus then."""
    text = f"{one.label}: {one.protocol} to {one.to}, one of {sorted(one.alternatives)}"
    found = next((arrival for arrival in surplus if one.same_message(arrival)), None)
    if found is None:
        return Difference(f"MISSING: {text}")
    surplus.remove(found)
    if found.time_ns < one.begin_ns:
        return Difference(f"EARLY by {(one.begin_ns - found.time_ns) / NS_PER_MS:.1f} ms: {text}")
    late_ms = (found.time_ns - one.end_ns) / NS_PER_MS
    return Difference(f"LATE by {late_ms:.1f} ms: {text}")


def _uneven(label, lag_ms):
    return Difference(f"UNEVEN: {label} is {lag_ms:.1f} ms behind the others of its event", uneven=label)


def _lags(matched, expected):
    """How much later than the others of its execution each step has arrived, after its due time.

    Steps whose message is not the only one of its kind are left out: they may be paired
    crosswise. So are status reports.
    """
    kinds = collections.Counter(
        (one.protocol, one.to, data) for one in expected for data in one.alternatives
    )
    pairs = collections.defaultdict(list)
    for one, arrival in matched:
        is_unique = all(kinds[one.protocol, one.to, data] == 1 for data in one.alternatives)
        if is_unique and not one.fetches_first:
            pairs[one.execution].append((one, arrival))
    return [lag for of_one in pairs.values() for lag in _lags_of_execution(of_one)]


def _lags_of_execution(pairs):
    starts = [arrival.time_ns / NS_PER_MS - max(0.0, one.due_ms) for one, arrival in pairs]
    first = min(starts)
    return [(one.label, start - LAUNCH_MS * one.step - first) for start, (one, _) in zip(starts, pairs)]


STAMP = re.compile(rb"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3}  ")
UPTIME = re.compile(rb"(?<=uptime=)\d+")


def compare_event_log(predictions, text):
    """The differences between the event log's lines and those that are planned."""
    planned = [
        (f"{execution.name} step {step.number}", {_without_uptime(line) for line in step.log_lines})
        for prediction in predictions for execution in prediction.executions
        if execution.outcome == "runs" for step in execution.steps
    ]
    rest = _without_uptime(text)
    while rest:
        stamp = STAMP.match(rest)
        found = _longest(planned, rest[stamp.end() :]) if stamp else None
        if not found:
            return [Difference(f"EVENT LOG: no plan begins like {rest[:200]!r}; left: {planned[:5]}")]
        number, line = found
        planned.pop(number)
        rest = rest[stamp.end() + len(line) :]
    return [Difference(f"EVENT LOG: missing: {label}: {sorted(lines)}") for label, lines in planned]


def _without_uptime(text):
    # A skip tells the uptime of its own moment, which no plan knows to the second.
    return UPTIME.sub(b"N", text)


def _longest(planned, text) -> typing.Optional[tuple[int, bytes]]:
    found = [
        (len(line), -number, line) for number, (_, lines) in enumerate(planned) for line in lines
        if text.startswith(line)
    ]
    if not found:
        return None
    _, number, line = max(found)
    return -number, line
