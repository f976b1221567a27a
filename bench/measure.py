"""Prints what the daemon costs and how exactly it keeps time (inside the private world).

Usage: measure.py BUILD_FOLDER [RUNS]
"""

import os
import pathlib
import re
import socket
import statistics
import struct
import subprocess
import sys
import time

BUILD = pathlib.Path(sys.argv[1]).resolve()
RUNS = int(sys.argv[2]) if len(sys.argv) > 2 else 100
DEVKIT = BUILD / "devkit"
DAEMON = BUILD / "core" / "ruvotcpd"
SETTINGS = pathlib.Path("/mnt/configs/ruvo/ruvo.txt")
STEPS = 128
SPACING_MS = 5
SO_TIMESTAMPNS = 35


class Receiver:
    """A UDP port whose datagrams carry the kernel's receive time."""

    def __init__(self, port):
        self.socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self.socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 1 << 22)
        self.socket.setsockopt(socket.SOL_SOCKET, SO_TIMESTAMPNS, 1)
        self.socket.bind(("127.0.0.1", port))
        self.socket.settimeout(20)

    def take(self, count):
        arrivals = []
        for _ in range(count):
            data, ancillary, _, _ = self.socket.recvmsg(2048, 64)
            seconds, nanoseconds = struct.unpack("qq", ancillary[0][2][:16])
            arrivals.append((int(data), seconds * 10**9 + nanoseconds))
        return arrivals


def request(data, patience_s=20):
    end = time.monotonic() + patience_s
    while True:
        try:
            with socket.create_connection(("127.0.0.1", 2700)) as connection:
                connection.sendall(data)
                return connection.recv(4096)
        except OSError:
            if time.monotonic() > end:
                raise
            time.sleep(0.0005)


def event_settings(name, port, delays_ms):
    lines = [f"{name}Count={len(delays_ms)}"]
    for i, delay_ms in enumerate(delays_ms):
        lines += [
            f"{name}IP{i}=127.0.0.1",
            f"{name}Port{i}={port}",
            f"{name}Protocol{i}=UDP",
            f"{name}Data{i}={str(i).encode().hex()}",
            f"{name}Delay{i}={delay_ms}",
        ]
    return "".join(line + "\n" for line in lines)


def start_device():
    os.environ["PATH"] = f"{DEVKIT}:{os.environ['PATH']}"
    items = pathlib.Path("/tmp/status_items.txt")
    items.write_text("".join(f"item{i}:value{i}\n" for i in range(20)))
    service = subprocess.Popen([DEVKIT / "ruvo-status-service", "--items", items], stdout=subprocess.PIPE)
    service.stdout.readline()
    subprocess.run([DEVKIT / "userconfigtool", "set", "boolean", "network.ruvo.enable=true"], check=True)
    SETTINGS.parent.mkdir(parents=True, exist_ok=True)
    SETTINGS.write_text(
        event_settings("Spaced", 5001, [0] + [SPACING_MS] * (STEPS - 1))
        + event_settings("Ties", 5002, [300] + [0] * (STEPS - 1))
        + "HangCount=128\n"
        + "".join(f"HangIP{i}=127.0.0.1\nHangPort{i}=5003\nHangProtocol{i}=TCPStatus\nHangData{i}=41\n" for i in range(STEPS))
    )


def start_daemon():
    begin = time.monotonic()
    daemon = subprocess.Popen([DAEMON], stdout=subprocess.DEVNULL)
    request(b"Nothing\n")
    return daemon, time.monotonic() - begin


def stop(daemon):
    daemon.terminate()
    daemon.wait()


def measure_start_up():
    times = []
    for _ in range(20):
        daemon, seconds = start_daemon()
        times.append(seconds * 1000)
        stop(daemon)
    print(f"start to the first accepted trigger: median {statistics.median(times):.1f} ms, worst {max(times):.1f} ms of 20")


def measure_size():
    print(f"stripped binary: {(BUILD / 'ruvotcpd.stripped').stat().st_size} bytes")


def memory_kib(pid, name):
    text = pathlib.Path(f"/proc/{pid}/smaps_rollup").read_text()
    return int(re.search(rf"^{name}:\s+(\d+)", text, re.M).group(1))


def measure_memory(daemon, moment):
    print(f"memory {moment}: RSS {memory_kib(daemon.pid, 'Rss')} KiB, PSS {memory_kib(daemon.pid, 'Pss')} KiB")


def percentile(values, share):
    return sorted(values)[min(len(values) - 1, int(len(values) * share))]


def measure_spacing():
    receiver = Receiver(5001)
    errors_ms, drifts = [], []
    for _ in range(10):
        request(b"Spaced\n")
        arrivals = dict(receiver.take(STEPS))
        first = arrivals[0]
        errors = [(arrivals[i] - first) / 1e6 - i * SPACING_MS for i in range(STEPS)]
        errors_ms += errors
        run_s = (STEPS - 1) * SPACING_MS / 1000
        late = statistics.median(errors[-16:]) - statistics.median(errors[1:17])
        drifts.append(late / run_s)
    middle = statistics.median(errors_ms)
    print("128 steps 5 ms apart, 10 runs, counted from the first arrival: "
          f"median error {middle:+.3f} ms, "
          f"99th percentile of the distance from the median {percentile([abs(e - middle) for e in errors_ms], 0.99):.3f} ms, "
          f"drift {statistics.median(drifts):+.3f} ms per second")


def measure_ties():
    receiver = Receiver(5002)
    swapped, runs_with_swaps = 0, 0
    for _ in range(RUNS):
        request(b"Ties\n")
        order = [index for index, _ in receiver.take(STEPS)]
        swaps = sum(1 for a, b in zip(order, order[1:]) if a > b)
        swapped += swaps
        runs_with_swaps += swaps > 0
    print(f"128 steps due at the same time, {RUNS} runs: {swapped} arrivals behind a later step's, in {runs_with_swaps} runs")


def measure_stacks(daemon):
    """The resident part of every sender's stack while a full table of senders hangs."""
    peer = socket.socket()
    peer.bind(("127.0.0.1", 5003))
    peer.listen(1024)
    for _ in range(4):
        request(b"Hang\n")
    tasks = pathlib.Path(f"/proc/{daemon.pid}/task")
    end = time.monotonic() + 10
    most = 0
    while len(list(tasks.iterdir())) > 100 or time.monotonic() < end and not most:
        most = max(most, *stack_sizes_kib(daemon.pid))
    print(f"sender stacks: the largest resident part seen {most} KiB of 128 KiB")


def stack_sizes_kib(pid):
    """Resident KiB of the mappings that have the size of a sender's stack."""
    text = pathlib.Path(f"/proc/{pid}/smaps").read_text()
    sizes = re.findall(r"^Size:\s+(\d+) kB\n(?:.*\n)*?Rss:\s+(\d+) kB", text, re.M)
    return [0] + [int(rss) for size, rss in sizes if int(size) == 128]


def main():
    start_device()
    measure_size()
    measure_start_up()
    daemon, _ = start_daemon()
    measure_memory(daemon, "idle after start")
    measure_spacing()
    measure_ties()
    measure_stacks(daemon)
    measure_memory(daemon, "after the runs")
    stop(daemon)


main()
