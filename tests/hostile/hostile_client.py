"""A hostile local client: connects, half-says, resets, floods and holds on, until it is told to stop.

A program of its own, so that it takes no time from the well-behaved client's. It says
when it begins, and at the end what it has done, as JSON. What makes the daemon run a program is paced to --lookups a second,
since a client may buy any wait with it; all the rest comes as fast as the machine allows.
"""

import argparse
import collections
import json
import random
import select
import signal
import socket
import struct
import time

import hostile_requests

ADDRESS = ("127.0.0.1", 2700)
RESET_AT_CLOSE = struct.pack("ii", 1, 0)


class Pace:
    """Spends at most so much a second, a few at once."""

    def __init__(self, per_second):
        self._per_second = per_second
        self._saved = float(hostile_requests.MAX_LINES)
        self._then = time.monotonic()

    def allows(self, cost):
        now = time.monotonic()
        self._saved = min(hostile_requests.MAX_LINES, self._saved + (now - self._then) * self._per_second)
        self._then = now
        if cost > self._saved:
            return False
        self._saved -= cost
        return True


class HostileClient:
    def __init__(self, seed, lookups_per_second, most_held):
        self.counts = collections.Counter()
        self._dice = random.Random(seed)
        self._pace = Pace(lookups_per_second)
        self._most_held = most_held
        self._held = collections.deque()
        self._kinds = (
            (self._speak, 12), (self._reset, 8), (self._come_and_go, 6), (self._close_half, 3),
            (self._write_slowly, 2), (self._hold, 6), (self._flood, 1), (self._leave_unread, 2),
        )

    def run(self, running):
        actions, weights = zip(*self._kinds)
        while running():
            action = self._dice.choices(actions, weights)[0]
            self.counts[action.__name__.strip("_")] += 1
            try:
                action()
            except OSError as failure:
                self.counts[type(failure).__name__] += 1
            while len(self._held) > self._most_held:
                self._let_go(self._held.popleft())
        while self._held:
            self._let_go(self._held.popleft())

    def _connect(self):
        """A connection on the way: the port's queue is short, and nobody here waits for it."""
        connection = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        self.counts["connects"] += 1
        connection.setblocking(False)
        connection.connect_ex(ADDRESS)
        if select.select([], [connection], [], 0.05)[1]:
            self.counts["connected"] += 1
        return connection

    def _request(self):
        """What it says next; a command that costs nothing when the pace is used up."""
        kind, request = hostile_requests.request_of(self._dice)
        while not self._pace.allows(cost := hostile_requests.lookups(request)):
            kind, request = hostile_requests.request_of(self._dice)
        self.counts[f"said {kind}"] += 1
        self.counts["lookups asked for"] += cost
        return request

    def _pause(self):
        if self._dice.random() < 0.5:
            time.sleep(self._dice.random() * self._dice.choice((0.0005, 0.005, 0.05)))

    def _let_go(self, connection):
        if self._dice.random() < 0.3:
            self._reset_now(connection)
        else:
            connection.close()

    def _reset_now(self, connection):
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, RESET_AT_CLOSE)
        connection.close()
        self.counts["resets"] += 1

    def _say(self, connection, data):
        self.counts["bytes"] += connection.send(data)

    def _speak(self):
        with self._connect() as connection:
            self._say(connection, self._request())
            if select.select([connection], [], [], 0.2)[0]:
                connection.recv(4096)
                self.counts["replies read"] += 1

    def _reset(self):
        """At any moment: before, in and after the request, and while the reply comes."""
        connection = self._connect()
        try:
            moment = self._dice.randrange(4)
            if moment > 0:
                request = self._request()
                self._say(connection, request if moment > 1 else request[: len(request) // 2 + 1])
            if moment == 3:
                select.select([connection], [], [], 0.05)
            self._pause()
        finally:
            self._reset_now(connection)

    def _come_and_go(self):
        connection = self._connect()
        self._pause()
        connection.close()

    def _close_half(self):
        with self._connect() as connection:
            if self._dice.random() < 0.5:
                self._say(connection, self._request())
            connection.shutdown(socket.SHUT_WR)
            select.select([connection], [], [], 0.05)

    def _write_slowly(self):
        with self._connect() as connection:
            request = self._request()
            # The first piece is the request, the rest meets a closed socket; half a
            # command's mark would be a name, which is dearer.
            self._say(connection, request[:2])
            for byte in request[2:20]:
                time.sleep(self._dice.random() * 0.01)
                self._say(connection, bytes([byte]))

    def _hold(self):
        self._held.append(self._connect())

    def _flood(self):
        burst = [self._connect() for _ in range(self._dice.randrange(20, 100))]
        while burst:
            connection = burst.pop()
            if self._dice.random() < 0.5:
                self._held.append(connection)
            else:
                self._let_go(connection)

    def _leave_unread(self):
        connection = self._connect()
        self._held.append(connection)
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1)
        self._say(connection, self._request())


def main():
    arguments = argparse.ArgumentParser()
    arguments.add_argument("--seed", required=True)
    arguments.add_argument("--lookups", type=float, required=True)
    arguments.add_argument("--held", type=int, required=True)
    options = arguments.parse_args()
    stopped = []
    signal.signal(signal.SIGTERM, lambda *_: stopped.append(True))
    print("ready", flush=True)
    client = HostileClient(options.seed, options.lookups, options.held)
    client.run(lambda: not stopped)
    print(json.dumps(client.counts), flush=True)


if __name__ == "__main__":
    main()
