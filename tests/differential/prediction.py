"""What `ruvoctl plan --json` says of one trigger, for every clock and uptime it may have met."""

import dataclasses
import json
import pathlib
import re
import subprocess
import typing

import step_values

# The status report of a service that does not run: the error text of the connection.
NO_SERVICE_REPORT = b"(111)Connection refused"

# What a client sends to name an event, and nothing else.
NAME_ALONE = re.compile(rb"(?!__)[^=\n\0]{1,1000}\n")

SENDER_PROTOCOLS = {"udp": "udp", "tcp": "tcp", "udp-status": "udp", "tcp-status": "tcp"}


@dataclasses.dataclass(frozen=True)
class Given:
    """The files and the world that a trigger meets."""

    settings: pathlib.Path
    status: typing.Optional[pathlib.Path]
    report: typing.Optional[bytes] = None  # what the service answers, when not the status file
    switch: str = "on"  # or "trigger" or "run": when it is off
    test: bool = False


@dataclasses.dataclass(frozen=True)
class Trigger:
    """One request as it was sent, and its answer."""

    request: bytes  # of a test run the event's name
    given: Given
    sent_ns: int
    echoed_ns: int
    reply: bytes
    clocks: tuple[str, ...]  # every local time between the two
    uptimes: tuple[int, ...]  # every uptime that the daemon may have had in mind


@dataclasses.dataclass(frozen=True)
class Step:
    """One planned step of a trigger, with the bytes of each possible reading."""

    number: int
    outcome: str
    reason: typing.Optional[str]
    protocol: typing.Optional[str]
    sends_report: bool
    to: str
    alternatives: frozenset[bytes]
    due_ms: float
    earliest_ms: float
    latest_ms: float
    has_macros: bool
    is_cut: bool
    log_lines: frozenset[bytes]

    @property
    def is_heard(self):
        """Whether a send arrives where the test can see it.

        Left out: ports and addresses that nobody hears or that are always refused, and
        TCP without a byte, which a receiver can't tell from a look at its port.
        """
        ip, port = self.to.split(":")
        if ip in step_values.UNHEARD_ADDRESSES or int(port) not in step_values.PORTS:
            return False
        return self.protocol == "udp" or self.alternatives != {b""}

    @property
    def arrives(self):
        return self.outcome == "sends" and self.is_heard


@dataclasses.dataclass(frozen=True)
class Execution:
    """One event that a trigger queues."""

    name: str
    outcome: str
    steps: tuple[Step, ...]


@dataclasses.dataclass(frozen=True)
class Prediction:
    trigger: Trigger
    document: dict  # of the first reading
    executions: tuple[Execution, ...]

    @property
    def reply(self):
        """The bytes that the client gets back; None when the plan does not say."""
        if self.trigger.given.test:
            return b"call event " + self.trigger.request
        reply = self.document["trigger"]["reply"]
        return None if reply is None else bytes_of(reply)


def bytes_of(member):
    return bytes.fromhex(member["hex"].replace(" ", ""))


class Disagreement(AssertionError):
    """Two readings of one trigger that differ in more than bytes."""


class Predictor:
    def __init__(self, program):
        self._program = program
        self.runs = 0

    def predict(self, trigger):
        documents = [self._plan(trigger, trigger.clocks[0], trigger.uptimes[0])]
        self._ask_by_name(trigger, documents[0])
        if _reads_the_clock(documents[0]):
            documents += [
                self._plan(trigger, clock, uptime)
                for clock in trigger.clocks for uptime in trigger.uptimes
                if (clock, uptime) != (trigger.clocks[0], trigger.uptimes[0])
            ]
        return Prediction(trigger, documents[0], _merged(documents, trigger.given.report))

    def _ask_by_name(self, trigger, document):
        """A request that is no more than a name has the plan of that name."""
        name = trigger.request[:-1]
        if trigger.given.test or not NAME_ALONE.fullmatch(trigger.request):
            return
        words = self._words(trigger.given, trigger.clocks[0], trigger.uptimes[0]) + ["--", name]
        events = self.run(words)["events"]
        if events != document["events"]:
            raise Disagreement(f"by its name {name!r} is {events}, by its text {document['events']}")

    def _plan(self, trigger, clock, uptime):
        words = self._words(trigger.given, clock, uptime)
        if trigger.given.test:
            return self.run(words + ["--test", "--", trigger.request])
        return self.run(words + ["--trigger-text=" + "".join(f"\\x{byte:02x}" for byte in trigger.request)])

    def _words(self, given, clock, uptime):
        words = [self._program, "plan", "--json", "-f", given.settings]
        words += [f"--now={clock}", f"--uptime={uptime}"]
        if given.status is not None:
            words.append(f"--status={given.status}")
        if given.switch != "on":
            words.append(f"--disabled={given.switch}")
        return words

    def run(self, words):
        done = subprocess.run(words, capture_output=True, check=False)
        self.runs += 1
        if done.returncode not in (0, 3, 4):
            raise AssertionError(f"{words}: status {done.returncode}: {done.stderr.decode(errors='replace')}")
        return json.loads(done.stdout)

    def void(self, settings):
        """Why a settings file takes no effect, or None."""
        return self.run([self._program, "plan", "--json", "-f", settings, "--all"])["void"]


def _reads_the_clock(document):
    sources = {
        macro["source"]
        for event in document["events"] for step in event["steps"] for macro in step["macros"]
    }
    return bool(sources & {"date", "time", "uptime"})


def _merged(documents, report):
    return tuple(
        Execution(
            events[0]["name"], _same(events, "outcome"),
            tuple(
                _merged_step(steps, report) for steps in _in_parallel([event["steps"] for event in events])
            ),
        )
        for events in _in_parallel([document["events"] for document in documents])
    )


def _merged_step(steps, report):
    first = steps[0]
    destination = _same(steps, "destination")
    sends_report = (first["sender"] or "").endswith("-status")
    return Step(
        number=first["step"], outcome=_same(steps, "outcome"), reason=_same(steps, "reason"),
        protocol=SENDER_PROTOCOLS.get(_same(steps, "sender")), sends_report=sends_report,
        to=_reached(destination),
        alternatives=frozenset([report] if sends_report and report else map(_data, steps)),
        due_ms=_same(steps, "due_ms"),
        earliest_ms=_same(steps, "earliest_ms"), latest_ms=_same(steps, "latest_ms"),
        has_macros=bool(first["macros"]), is_cut=first["cut_bytes"] > 0,
        log_lines=frozenset(bytes_of(step["log_line"]) for step in steps),
    )


def _data(step):
    if step["data"] is None:
        return NO_SERVICE_REPORT
    return bytes_of(step["data"])


def _reached(destination):
    """Address and port as a receiver sees them: the address of zeros is this very device."""
    ip = "127.0.0.1" if destination["ip"] == "0.0.0.0" else destination["ip"]
    return f"{ip}:{destination['port']}"


def _in_parallel(lists):
    if len({len(items) for items in lists}) > 1:
        raise Disagreement(f"lists of different lengths: {lists}")
    return zip(*lists)


def _same(members, name):
    values = [member[name] for member in members]
    if any(value != values[0] for value in values):
        raise Disagreement(f"{name} differs between readings: {values}")
    return values[0]
