"""Puts faults into the operations of the running daemon, one after the other.

Every call of every operation fails once: the first, the second, ... until the operation is
over without the fault having been met, with every error number that the call can give.
After each fault the daemon must run on, have what it had when it was idle, have told what
it tells of such a failure and nothing unknown, and run the next event.
"""

import argparse
import json
import os
import re
import time

from errors import ALL_ALLOCATIONS, ERRORS, number_of
from subject import SANITIZED, Subject, unknown_lines
from harness import LOG, Device, command_port_listens, text_of
from operations import OPERATIONS, SELECT
from process import REBUILT
from start_up import Client, StartUp

FOR_EVER = 1_000_000
MOST_CALLS = 3000
INTERRUPTED_ALL_THE_SAME = {"accept", "select", "recv"}
MOST_VIOLATIONS = 3


PROCESSES = {"start-up": StartUp, "client": Client}


class Row:
    """What became of one call of one operation."""

    def __init__(self, operation, call):
        self.operation, self.call = operation, call
        self.errors = []
        self.faults = 0
        self.most_calls = 0
        self.violations = []
        self.seconds = 0.0


class Sweep:
    """Every fault in one thing that the daemon does."""

    def __init__(self, name, quick=False):
        self.name = name
        self.quick = quick
        self.device = Device()

    def __enter__(self):
        self.set_up()
        return self

    def __exit__(self, *_):
        self.device.end()

    def rows(self, calls):
        for call in calls:
            if call in self.calls() and not ("allocation" in call and SANITIZED):
                yield self.row(call)

    def row(self, call):
        row = Row(self.name, call)
        begin = time.monotonic()
        calls = self.faultless(row, call)
        for name in self.errors_of(call):
            row.errors.append(name)
            self.each_call(row, call, name, calls)
            if len(row.violations) >= MOST_VIOLATIONS:
                break
        self.end_row(row)
        row.seconds = time.monotonic() - begin
        return row

    def errors_of(self, call):
        return ERRORS[call][:1] if self.quick else ERRORS[call]

    def faultless(self, row, call):
        """How often the operation makes the call."""
        try:
            return self.attempt(call, None, 0)[1]
        except AssertionError as error:
            row.violations.append(f"{self.name}, no fault: {error}")
            self.recover()
            return 0

    def each_call(self, row, call, name, calls):
        number = 0
        first = name == row.errors[0]
        while number < (MOST_CALLS if first else calls):
            try:
                met, _ = self.attempt(call, name, number)
            except (AssertionError, OSError) as error:
                row.violations.append(f"{self.name}, {call} {number + 1} {name}: {error}")
                self.recover()
            else:
                if not met and first:
                    break
                row.faults += met
                row.most_calls = max(row.most_calls, number + met)
            number += 1
            if len(row.violations) >= MOST_VIOLATIONS:
                break
        if first and number == 0:
            row.violations.append(f"{self.name}: {call} is never called")

    def recover(self):
        """After a violation."""

    def end_row(self, row):
        """After all faults of a call."""


class ProcessSweep(Sweep):
    """A process for each fault."""

    def set_up(self):
        self.operation = PROCESSES[self.name](self.device)

    def calls(self):
        return self.operation.calls

    def attempt(self, call, name, after):
        return self.operation.attempt(call, name, after)


class OperationSweep(Sweep):
    """One operation and the daemon that survives it."""

    def set_up(self):
        self.operation = OPERATIONS[self.name]()
        self.device.enable()
        self.device.start_status_service()
        self.operation.prepare(self.device)
        self.subject = Subject(
            self.device, self.operation.uptime_s, self.operation.preload, **self.operation.options
        )
        self.subject.configure(self.operation.events(self.subject))
        self.subject.start_and_settle()

    def calls(self):
        return self.operation.calls

    def end_row(self, row):
        try:
            self.subject.check_slots(self.operation.allowed_descriptors)
        except AssertionError as error:
            row.violations.append(f"{self.name}, {row.call}: {error}")
            self.recover()

    def recover(self):
        for call in ERRORS:
            self.subject.orders.stop("allocation" if call == ALL_ALLOCATIONS else call)
        self.subject.daemon.stop()
        self.subject.configure(self.operation.events(self.subject))
        self.device.enable()
        self.subject.start_and_settle()

    def attempt(self, call, name, after):
        """Runs the operation with one fault (name None: with none); returns whether it was met."""
        operation, subject = self.operation, self.subject
        kind = "allocation" if call == ALL_ALLOCATIONS else call
        operation.before(subject)
        subject.told()
        before = subject.orders.calls(kind)
        times = FOR_EVER if call == ALL_ALLOCATIONS else 1
        if name is not None:
            subject.orders.fail(kind, number_of(name), after, times)
        ends_server = kind == "select" and name not in (None, "EINTR")
        try:
            operation.run(subject)
        except AssertionError:
            if not (ends_server and subject.orders.failures_left(kind) == 0):
                raise
        met = name is not None and subject.orders.failures_left(kind) < times
        calls = subject.orders.calls(kind) - before
        subject.orders.stop(kind)
        if met and ends_server:
            self.check_without_server(name)
            return met, calls
        if not met or self.is_harmless(kind, name):
            operation.works(subject)
        if not met:
            operation.is_complete(subject)
        operation.restore(subject)
        first = subject.told()
        subject.fire_check()
        subject.wait_for_quiet(allowed=operation.allowed_descriptors)
        second = subject.told()
        subject.check_one_slot(second[0])
        if kind != "write":  # what has not been written is missing
            self.check_told(kind, name if met else None, *(a + b for a, b in zip(first, second)))
        return met, calls

    def is_harmless(self, kind, name):
        if name == "EINTR" and kind in INTERRUPTED_ALL_THE_SAME:
            return kind != "recv"
        return kind == "accept" or kind in self.operation.harmless

    def check_told(self, kind, name, output, log):
        for text in (output, log):
            unknown = unknown_lines(text, self.operation.continuations)
            assert not unknown, f"unknown messages {unknown}"
        interrupted = name == "EINTR" and kind in INTERRUPTED_ALL_THE_SAME
        if name is not None and number_of(name) != 0 and not interrupted:
            self.check_message(self.operation.told.get(kind, ("",)), name, output)

    @staticmethod
    def check_message(patterns, name, output):
        number = number_of(name)
        patterns = [
            pattern.replace("{text}", re.escape(os.strerror(number))).replace("{number}", str(number))
            for pattern in patterns
        ]
        assert any(re.search(pattern, output) for pattern in patterns), f"none of {patterns} in {output!r}"

    def check_without_server(self, name):
        """Such a failure ends the thread of the command server; the others go on."""
        subject = self.subject
        subject.wait(lambda: not command_port_listens(), "the port is closed")
        listening = [number for number, to in subject.idle_descriptors.items() if to.startswith("socket:")]
        subject.wait_for_quiet(threads=2, missing=listening)
        self.check_message((SELECT,), name, subject.told()[0])
        reloads = text_of(LOG).count(REBUILT)
        subject.device.replace_settings(subject.settings(self.operation.events(subject)))
        subject.wait(lambda: text_of(LOG).count(REBUILT) > reloads, "the settings are read again")
        subject.wait_for_passes("queue", 2)
        subject.restart()


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("operation", choices=[*OPERATIONS, *PROCESSES])
    parser.add_argument("--call", action="append", choices=[*ERRORS])
    parser.add_argument("--quick", action="store_true", help="one error number of each call")
    options = parser.parse_args()
    kind = OperationSweep if options.operation in OPERATIONS else ProcessSweep
    with kind(options.operation, options.quick) as sweep:
        for row in sweep.rows(options.call or [*ERRORS]):
            print(json.dumps(vars(row)), flush=True)


if __name__ == "__main__":
    main()
