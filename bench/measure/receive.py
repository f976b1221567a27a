"""What arrives, and when: a receiver of its own that stays out of the way.

    with Receiver(udp=[5001], tcp=[5002]) as receiver:
        ...trigger...
        arrivals = receiver.take(128, timeout_s=5)
"""

import dataclasses
import json
import subprocess

from . import programs


@dataclasses.dataclass(frozen=True)
class Arrival:
    """One datagram, or the first chunk of one connection."""

    t_ns: int  # CLOCK_REALTIME: the kernel's for a datagram, right behind recv for a connection
    port: int
    protocol: str  # "UDP" or "TCP"
    data: bytes


class Receiver:
    """bench-receiver on these ports of every address; `dropped` counts what its own buffers lost."""

    def __init__(self, udp=(), tcp=()):
        command = [str(programs.bench_program("bench-receiver"))]
        command += [word for port in udp for word in ("--udp", str(port))]
        command += [word for port in tcp for word in ("--tcp", str(port))]
        self.dropped = 0
        self._process = subprocess.Popen(
            command, stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True, bufsize=1
        )
        if self._process.stdout.readline() != "ready\n":
            raise RuntimeError(f"{command} did not start")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def take(self, count, timeout_s):
        """Waits until `count` arrivals are there or the time is up; returns all there are, in order of time.

        A second take returns what has come since the first.
        """
        self._process.stdin.write(f"take {count} {int(timeout_s * 1000)}\n")
        arrivals = []
        for line in self._process.stdout:
            item = json.loads(line)
            if "taken" in item:
                self.dropped = item["dropped"]
                return sorted(arrivals, key=lambda arrival: arrival.t_ns)
            arrivals.append(
                Arrival(item["t_ns"], item["port"], item["protocol"], bytes.fromhex(item["hex"]))
            )
        raise RuntimeError("bench-receiver has ended")

    def clear(self):
        """Forgets what has come so far."""
        self.take(0, 0)

    def close(self):
        self._process.stdin.close()
        self._process.wait()
        self._process.stdout.close()
