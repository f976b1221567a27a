"""What a figure is, and what it finds when its turn comes."""

import dataclasses
import pathlib
import time

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


def event_of(name, delays_ms, protocol="UDP"):
    """An event whose sends say first whose they are and the how manieth, and take work: macros, an escape."""
    port = UDP_PORT if protocol == "UDP" else TCP_PORT
    sends = (
        Send(protocol, port, f"{name}.{i} {{{{input}}}} {{{{time}}}}\\r".encode(), delay_ms)
        for i, delay_ms in enumerate(delays_ms)
    )
    return Event(name, 0, tuple(sends))


def event_name_of(arrival):
    return arrival.data.partition(b".")[0].decode()


def index_of(arrival):
    return int(arrival.data.partition(b".")[2].split()[0])


def ask(system, name):
    """Triggers and insists on the echo; returns when it was asked and answered, in ns."""
    echo, sent_ns, echo_ns = system.trigger(name)
    if echo != name.encode() + b"\n":
        raise RuntimeError(f"{system.name} answers {name} with {echo!r}")
    return sent_ns, echo_ns


def collect(bench, names, count, timeout_s):
    """So many arrivals of these events, or what has come in time, in order of arrival.

    A figure before may have left some on their way; they are passed over.
    """
    end = time.monotonic() + timeout_s
    arrivals = []
    while len(arrivals) < count and (left_s := end - time.monotonic()) > 0:
        more = bench.receiver.take(count - len(arrivals), left_s)
        arrivals += [arrival for arrival in more if event_name_of(arrival) in names]
    return sorted(arrivals, key=lambda arrival: arrival.t_ns)


def run_event(system, bench, name, count, timeout_s):
    """What one trigger of an event of so many sends brings, in order of arrival."""
    bench.receiver.clear()
    ask(system, name)
    return collect(bench, {name}, count, timeout_s)
