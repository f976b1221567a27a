"""The daemon under a hostile local client, and a well-behaved one that is served all the same.

RUVO_HOSTILE_SECONDS says how long, RUVO_HOSTILE_SEED repeats a run, and RUVO_HOSTILE_FULL=1
adds what only measures.
"""

import collections
import json
import os
import pathlib
import random
import re
import resource
import socket
import subprocess
import sys
import threading
import time

import pytest
from aftermath import Possessions, check_messages, messages
from harness import COMMAND_PORT, DEADLINE_S, TEST_SETTINGS, event, request, wait_until
from process import change_settings
from well_behaved import WellBehavedClient, lookup_seconds, wait_for_silence

SECONDS = float(os.environ.get("RUVO_HOSTILE_SECONDS", "4"))
SEED = os.environ.get("RUVO_HOSTILE_SEED", str(random.randrange(1 << 31)))
FULL = os.environ.get("RUVO_HOSTILE_FULL") == "1"
SANITIZED = os.environ.get("RUVO_HOSTILE_SANITIZED") == "1"

CLIENTS = 2
PACE_S = 0.5
# Requests that cost a lookup take this share of the command server's time.
SHARE = 0.4
# All clients together: more than a set of select has room for.
MOST_HELD = 700 if FULL else 100
DESCRIPTORS = 4096
# A sanitizer keeps freed memory for a while, and shadows what it has seen.
MEMORY_ALLOWANCE_KB = 65536 if SANITIZED else 4096
LOOKUP = "[renew_macro_var:307]\n"
SMALL_QUARANTINE = "quarantine_size_mb=4:thread_local_quarantine_size_kb=64"


def say(text):
    print(text, flush=True)


class HostileClients:
    """Several at once, each with a seed of its own."""

    def __init__(self, device, seed, lookups_per_second):
        program = pathlib.Path(__file__).with_name("hostile_client.py")
        self._processes = [
            device.start(
                [sys.executable, "-B", program, "--seed", f"{seed}.{number}",
                 "--lookups", str(lookups_per_second / CLIENTS), "--held", str(MOST_HELD)],
                stdout=subprocess.PIPE,
            )
            for number in range(CLIENTS)
        ]
        for process in self._processes:
            assert process.stdout.readline() == b"ready\n"

    def stop(self):
        """Ends them and returns what they have done."""
        counts = collections.Counter()
        for process in self._processes:
            process.terminate()
        for process in self._processes:
            counts.update(json.loads(process.stdout.read()))
            assert process.wait(DEADLINE_S) == 0, "the hostile client itself has failed"
        return counts


def start(device, settings, *options):
    """The daemon with an event that the hostile clients know as well."""
    visitors = device.udp_receiver()
    visitor = event("Visitor", (visitors.ip, visitors.port, "UDP", b"{{input}} {{time}}"))
    device.write_settings(settings + visitor)
    device.write_settings(visitor, TEST_SETTINGS)
    if SANITIZED:
        device.environment["ASAN_OPTIONS"] += ":" + SMALL_QUARANTINE
    daemon = device.start_daemon(*options)
    resource.prlimit(daemon.pid, resource.RLIMIT_NOFILE, (DESCRIPTORS, DESCRIPTORS))
    change_settings()
    return daemon


def test_a_well_behaved_client_is_served_beside_hostile_ones(device):
    say(f"\nseed {SEED}, {SECONDS:.0f} s")
    good = WellBehavedClient(device.udp_receiver(), device.tcp_receiver(reply=b"OK"), PACE_S, SECONDS)
    daemon = start(device, good.settings())
    before_s = lookup_seconds(9)
    lookups_per_second = SHARE / before_s
    say(f"a lookup takes {before_s * 1000:.1f} ms; hostile clients ask for {lookups_per_second:.1f} a second")

    possessions = Possessions(daemon.pid)
    warming = HostileClients(device, f"{SEED} warm", lookups_per_second)
    time.sleep(min(SECONDS / 4, 20))
    warming.stop()
    possessions.check_nothing_more(sys.maxsize)
    possessions.warm_up()

    hostile = HostileClients(device, SEED, lookups_per_second)
    good.run_for(SECONDS)
    counts = hostile.stop()
    say("hostile: " + ", ".join(f"{what} {count}" for what, count in sorted(counts.items())))
    assert counts["connected"] and counts["resets"] and counts["lookups asked for"]
    good.check_all_served()
    say("well-behaved: " + good.text())
    assert daemon.running()
    say("afterwards: " + possessions.check_nothing_more(MEMORY_ALLOWANCE_KB))
    # The output has what rotations have taken from the log.
    check_messages(daemon.output())
    told = sorted(messages(daemon.output()).items())
    say("log: " + ", ".join(f"{''.join(found)} {count}" for found, count in told))


def test_line_feeds_cost_a_lookup_each(device):
    count = 1023 if FULL else 20
    good = WellBehavedClient(device.udp_receiver(), device.tcp_receiver(reply=b"OK"), PACE_S, PACE_S)
    daemon = start(device, good.settings(), "-d")
    each_s = lookup_seconds(9)
    before = daemon.output().count(LOOKUP)
    begin = time.monotonic()
    with socket.create_connection(("127.0.0.1", COMMAND_PORT), timeout=600) as connection:
        connection.sendall(b"\n" * count)
        wait_until(lambda: daemon.output().count(LOOKUP) > before, "the request is being handled")
        good.run_for(PACE_S)
        assert connection.recv(2048) == b"\n" * count
        took_s = time.monotonic() - begin
    assert daemon.output().count(LOOKUP) == before + count + 1, "and one for the well-behaved trigger"
    good.check_all_served()
    say(
        f"\n{count} line feeds: {count} lookups in {took_s:.2f} s, {took_s / count * 1000:.1f} ms each; "
        f"one alone takes {each_s * 1000:.1f} ms; a trigger behind them: {good.text()}"
    )


@pytest.mark.skipif(not FULL, reason="measures what the rules give")
def test_valid_triggers_can_take_every_sender_slot(device):
    """A peer that answers nobody holds a slot for two seconds; a step without a slot is dropped."""
    seconds = 20.0
    silent = device.tcp_receiver(silent=True)
    good = WellBehavedClient(device.udp_receiver(), device.tcp_receiver(reply=b"OK"), PACE_S, seconds)
    block = event("Block", *[(silent.ip, silent.port, "TCP", b"hold")] * 128)
    daemon = start(device, good.settings() + block, "-d")
    stop = threading.Event()
    blocks = []

    def take_slots():
        while not stop.is_set():
            blocks.append(request(b"Block\n"))

    hostile = threading.Thread(target=take_slots)
    hostile.start()
    good.run_for(seconds)
    stop.set()
    hostile.join()
    wait_for_silence(good)
    dropped = len(re.findall(r"Error: skip Good\d+, event thead over 512\n", daemon.output()))
    assert len(good.arrivals()) + dropped == 2 * good.sent()
    say(
        f"\n{len(blocks)} triggers of an event that takes 128 slots for 2 s: of {2 * good.sent()} steps of a "
        f"well-behaved client {len(good.arrivals())} arrived and {dropped} found no slot"
    )
