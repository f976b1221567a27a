"""What a figure is, and what it finds when its turn comes."""

import dataclasses
import pathlib

from .. import programs
from ..receive import Receiver
from ..scenario import Event, Scenario, Send

UDP_PORT = 5001
TCP_PORT = 5002
ITEMS = {"input": "HDMI1", "power": "on", **{f"item{i}": f"value{i}" for i in range(18)}}


@dataclasses.dataclass
class Bench:
    """What all measurements share."""

    receiver: Receiver
    folder: pathlib.Path
    quick: bool

    def runs(self, usual, quick):
        """How often to do something."""
        return quick if self.quick else usual

    def pipeline_ms(self, runs):
        """The bare status pipeline's times. A system's status service must be there."""
        return [ns / 1e6 for ns in programs.output_numbers("bench-pipeline", runs)]


class Figure:
    """A name for --only, and the metrics that it brings."""

    name = ""
    metrics = ()


class MachineFigure(Figure):
    """Measured without any system; `measure` returns values by (metric, column)."""

    def measure(self, bench):
        raise NotImplementedError


class SystemFigure(Figure):
    """Starts the system itself, as often as it likes; `measure` returns values by metric."""

    def measure(self, system, bench):
        raise NotImplementedError


class RunningFigure(Figure):
    """Measured on a system that runs, with the events of all these figures."""

    def events(self, bench):
        raise NotImplementedError

    def measure(self, system, bench):
        raise NotImplementedError


def small_scenario():
    """One event of one send, for what does not depend on the settings' size."""
    return Scenario((event_of("Small", [0]),), ITEMS)


def event_of(name, delays_ms, protocol="UDP", prefix=""):
    """An event whose sends bring their index first, and work with macros and an escape."""
    port = UDP_PORT if protocol == "UDP" else TCP_PORT
    sends = (
        Send(protocol, port, f"{prefix}{i} {{{{input}}}} {{{{time}}}}\\r".encode(), delay_ms)
        for i, delay_ms in enumerate(delays_ms)
    )
    return Event(name, 0, tuple(sends))


def first_word(arrival):
    """What tells a send from the others."""
    return arrival.data.split(b" ")[0].decode()


def index_of(arrival):
    return int(first_word(arrival))


def ask(system, name):
    """Triggers and insists on the echo; returns when it was asked and answered, in ns."""
    echo, sent_ns, echo_ns = system.trigger(name)
    if echo != name.encode() + b"\n":
        raise RuntimeError(f"{system.name} answers {name} with {echo!r}")
    return sent_ns, echo_ns


def run_event(system, bench, name, count, timeout_s):
    """What one trigger of an event of so many sends brings, in order of arrival."""
    bench.receiver.clear()
    ask(system, name)
    return bench.receiver.take(count, timeout_s)
