"""A well-behaved client: triggers an event of its own at a steady pace, and waits for its data."""

import math
import re
import threading
import time

from harness import event, request, wait_until

PATIENCE_S = 120.0


class WellBehavedClient:
    """Each trigger has an event, and so data, of its own: a datagram and a TCP request."""

    def __init__(self, udp, tcp, pace_s, seconds):
        self._udp, self._tcp = udp, tcp
        self._pace_s = pace_s
        self._most = math.ceil(seconds / pace_s) + 1
        self._sent_s = []
        self._echoes = []
        self._failures = []

    def settings(self):
        return "".join(
            event(
                name,
                (self._udp.ip, self._udp.port, "UDP", b"udp " + name.encode()),
                (self._tcp.ip, self._tcp.port, "TCP", b"tcp " + name.encode()),
            )
            for name in map(self._name, range(self._most))
        )

    @staticmethod
    def _name(number):
        return f"Good{number:05}"

    def run_for(self, seconds):
        """Triggers come at their times, however long those before them take."""
        begin = time.monotonic()
        threads = []
        while (due := len(self._sent_s) * self._pace_s) < seconds and len(self._sent_s) < self._most:
            time.sleep(max(0.0, begin + due - time.monotonic()))
            thread = threading.Thread(target=self._trigger, args=(len(self._sent_s),))
            self._sent_s.append(time.monotonic())
            thread.start()
            threads.append(thread)
        for thread in threads:
            thread.join()

    def _trigger(self, number):
        line = self._name(number).encode() + b"\n"
        try:
            echo = request(line, timeout_s=PATIENCE_S)
            assert echo == line, echo
            self._echoes.append(time.monotonic() - self._sent_s[number])
        except Exception as failure:
            self._failures.append((number, time.monotonic() - self._sent_s[number], failure))

    def check_all_served(self):
        assert not self._failures, f"triggers without their echo: {self._failures}"
        expected = [self._name(number) for number in range(len(self._sent_s))]
        for receiver, kind in ((self._udp, "udp"), (self._tcp, "tcp")):
            receiver.wait_for(len(expected), PATIENCE_S)
            names = sorted(re.sub(rf"^{kind} ", "", a.data.decode()) for a in receiver.arrivals)
            assert names == expected, f"{kind}: not each trigger's data, once"

    def sent(self):
        return len(self._sent_s)

    def arrivals(self):
        return [*self._udp.arrivals, *self._tcp.arrivals]

    def waits(self):
        """From the trigger to its datagram, in seconds, sorted."""
        return sorted(
            arrival.time_s - self._sent_s[int(arrival.data.decode()[-5:])] for arrival in self._udp.arrivals
        )

    def text(self):
        return f"{len(self._sent_s)} triggers sent, {len(self.waits())} served; {waits_text(self.waits())}"


def waits_text(waits):
    def at(share):
        return waits[min(len(waits) - 1, int(share * len(waits)))]

    return f"wait: median {at(0.5):.3f} s, 99th percentile {at(0.99):.3f} s, worst {waits[-1]:.3f} s"


def lookup_seconds(count):
    """What one lookup takes, the median of some."""
    times = []
    for _ in range(count):
        begin = time.monotonic()
        assert request(b"Nobody\n") == b"Nobody\n"
        times.append(time.monotonic() - begin)
    return sorted(times)[count // 2]


def wait_for_silence(client):
    """Until nothing of the client's has arrived for three seconds."""
    last = client.arrivals()
    silent_since = time.monotonic()

    def is_silent():
        nonlocal last, silent_since
        if len(client.arrivals()) != len(last):
            last, silent_since = client.arrivals(), time.monotonic()
        return time.monotonic() > silent_since + 3

    wait_until(is_silent, "nothing arrives any more", PATIENCE_S)
