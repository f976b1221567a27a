"""What the daemon is to reach, as functions of everything measured in one run."""

import dataclasses
import typing

from .results import FLOOR

DAEMON = "ruvotcpd"
STATIC = "ruvotcpd-static"

Value = typing.Callable[[object], typing.Optional[float]]


@dataclasses.dataclass(frozen=True)
class Bound:
    """A number, or a share of another figure of the same run, and how to say which."""

    value: Value
    words: str = ""


@dataclasses.dataclass(frozen=True)
class Goal:
    title: str
    unit: str
    measured: Value
    goal: Bound
    reach: Bound | None
    at_least: bool = False  # the measured value is to be the greater one
    digits: int = 2

    def verdict(self, results):
        """One of "reached", "met", "NOT MET" and "not measured"."""
        measured, goal = self.measured(results), self.goal.value(results)
        if measured is None or goal is None:
            return "not measured"
        if not self._is_good(measured, goal):
            return "NOT MET"
        reach = self.reach.value(results) if self.reach else None
        return "reached" if reach is not None and self._is_good(measured, reach) else "met"

    def _is_good(self, measured, bound):
        return measured >= bound if self.at_least else measured <= bound


def of(metric, column=DAEMON):
    """A figure's median."""
    return lambda results: results.median(metric, column)


def worst(metric, column=DAEMON):
    return lambda results: results.worst(metric, column)


def ratio(metric, column, other):
    """Of two columns' medians."""

    def value(results):
        one, two = results.median(metric, column), results.median(metric, other)
        return one / two if one is not None and two else None

    return value


def fixed(number):
    return Bound(lambda results: number)


def times(factor, metric, column, words):
    """So many times another column's median."""

    def value(results):
        median = results.median(metric, column)
        return None if median is None else factor * median

    return Bound(value, words)


NONE_LOST = fixed(0)

GOALS = (
    Goal("trigger to echo / bare pipeline", "x", of("echo.per-pipeline"), fixed(1.08), fixed(1.05), digits=3),
    Goal("triggers per second x bare pipeline", "x", of("rate.per-pipeline"), fixed(0.92), fixed(0.95),
         at_least=True, digits=3),
    Goal("of these lost", "", worst("rate.lost"), NONE_LOST, NONE_LOST, digits=0),
    Goal("first packet after the echo, maximum", "ms", of("first-packet.max"), fixed(255), fixed(252),
         digits=1),
    Goal("128 UDP every 5 ms: 99th percentile", "ms", of("spacing-udp-5ms.p99"),
         times(0.5, "spacing-udp-5ms.p99", "asyncio", "half of asyncio's"),
         times(3, "spacing-udp-5ms.p99", "limit", "3 x the limit's"), digits=3),
    Goal("20 UDP every 50 ms: 99th percentile", "ms", of("spacing-udp-50ms.p99"),
         times(1, "spacing-udp-50ms.p99", "asyncio", "asyncio's"),
         times(0.5, "spacing-udp-50ms.p99", "asyncio", "half of it"), digits=3),
    Goal("20 TCP every 50 ms: 99th percentile", "ms", of("spacing-tcp-50ms.p99"),
         times(1, "spacing-tcp-50ms.p99", "asyncio", "asyncio's"),
         times(0.5, "spacing-tcp-50ms.p99", "asyncio", "half of it"), digits=3),
    Goal("128 UDP every 5 ms: drift", "us/s", of("spacing-udp-5ms.drift"), fixed(100), fixed(30), digits=1),
    Goal("128 without delay, first to last", "ms", of("burst.ms"), fixed(8), fixed(5)),
    Goal("128 due at one later time, first to last", "ms", of("ties.ms"), fixed(15), fixed(13.5)),
    Goal("of these behind a later one", "%", of("ties.out-of-order"), fixed(1), fixed(0)),
    Goal("512 in one pass, first to last", "ms", of("full-table.ms"), fixed(40), fixed(25)),
    Goal("of these lost", "", worst("full-table.lost"), NONE_LOST, NONE_LOST, digits=0),
    Goal("resident idle / asyncio's", "x", ratio("memory.resident", DAEMON, "asyncio"), fixed(1 / 4), None,
         digits=3),
    Goal("resident idle / asyncio's, static", "x", ratio("memory.resident", STATIC, "asyncio"), fixed(1 / 4),
         fixed(1 / 9), digits=3),
    Goal("resident idle / Node-RED's", "x", ratio("memory.resident", DAEMON, "node-red"), fixed(1 / 20), None,
         digits=3),
    Goal("resident idle / Node-RED's, static", "x", ratio("memory.resident", STATIC, "node-red"),
         fixed(1 / 20), fixed(1 / 50), digits=3),
    Goal("growth per pending send", "KiB", of("memory.per-send"), fixed(12), fixed(10)),
    Goal("(start-up - 5 ms) / bare shells", "x", of("start-up.per-floor"), fixed(1.1), fixed(1.05), digits=3),
    Goal("start-up / asyncio's", "x", ratio("start-up.ms", DAEMON, "asyncio"), fixed(1 / 3), None, digits=3),
    Goal("context switches in 20 s, idle", "", of("idle.switches"), fixed(185), fixed(180), digits=0),
    Goal("idle processor time / the periods alone", "x", ratio("idle.cpu-ms", DAEMON, FLOOR), fixed(1.1),
         None),
    Goal("rebuild of 10,000 lines / minimal model", "x", of("rebuild.per-model"), fixed(2), fixed(1.2)),
    Goal("growth exponent, 1,000 to 100,000 lines", "", of("rebuild.growth"), fixed(1.15), fixed(1.05),
         digits=3),
    Goal("stripped binary, dynamic", "KiB", of("size.kib"), fixed(150), fixed(110), digits=1),
    Goal("stripped binary, static, with the simulated library", "KiB", of("size.kib", STATIC),
         fixed(1.3 * 1024), fixed(1.05 * 1024), digits=1),
    Goal("stripped binary, static, without a library", "KiB", of("size.alone-kib", STATIC),
         fixed(1.3 * 1024), fixed(1.05 * 1024), digits=1),
)
