"""Everything at once: settings, triggers, status items and the switch change while senders fail.

Meant for the thread sanitizer, whose reports the harness looks for; RUVO_STRESS_SECONDS
says how long.
"""

import os
import random
import socket
import threading
import time

from harness import LOG, SETTINGS, TEST_SETTINGS, event, request, text_of, wait_until
from process import REBUILT, change_settings, daemon_pid

SECONDS = float(os.environ.get("RUVO_STRESS_SECONDS", "20"))
SEED = int(os.environ.get("RUVO_STRESS_SEED", str(random.randrange(1 << 31))))


REQUESTS = (
    b"Lamp\n", b"Hall", b"DVIConnected\n", b"Nobody\n", b"Lamp\nHall\n", b"a=b", b"__X__=1", b"__X__:",
    b"__TEST__:Lamp\n", b"__GET__:network.ruvo.enable\n", b"__SET__:network.ruvo.enable=1\n",
    b"__SET__:network.ruvo.enable=0\n",
)


class Strain:
    """Threads that repeat an action until the time is over; a failure of one fails the test."""

    def __init__(self):
        self._stop = threading.Event()
        self._threads = []
        self._failures = []
        self.rounds = {}

    def repeat(self, name, action, pause_s=0.0):
        self.rounds[name] = 0

        def run():
            try:
                while not self._stop.is_set():
                    action()
                    self.rounds[name] += 1
                    self._stop.wait(pause_s)
            except Exception as failure:
                self._failures.append((name, failure))

        self._threads.append(threading.Thread(target=run))

    def run_for(self, seconds):
        for thread in self._threads:
            thread.start()
        self._stop.wait(seconds)
        self._stop.set()
        for thread in self._threads:
            thread.join()
        assert not self._failures, self._failures


def settings_variants(udp, tcp, silent):
    good = [
        event(
            "Lamp",
            (udp.ip, udp.port, "UDP", b"{{input}} {{date}}{{time}} {{uptime}}", variant),
            (tcp.ip, tcp.port, "TCP", b"{{volume}}\\r\\n", variant),
            ("127.0.0.1", 1, "TCP", b"refused"),
            (silent.ip, silent.port, "TCP", b"never answered"),
            (udp.ip, udp.port, "StatusUDP", b""),
            (tcp.ip, tcp.port, "StatusTCP", b"", 5),
            ("255.255.255.255", 9, "UDP", b"fails"),
        )
        + event("Hall", *[(udp.ip, udp.port, "UDP", b"hall " * 50, 1)] * (1 + variant), delay=variant % 2)
        + event("DVIConnected", (udp.ip, udp.port, "UDP", b"display"))
        for variant in range(8)
    ]
    malformed = good[0] + "LampDatax=00\n"
    return good + [malformed, "", "no settings at all\n", "=\n" * 300]


def test_the_daemon_survives_everything_at_once(device):
    print(f"seed {SEED}")
    dice = random.Random(SEED)
    udp, final = device.udp_receiver(), device.udp_receiver()
    tcp, silent = device.tcp_receiver(reply=b"OK\r\n"), device.tcp_receiver(silent=True)
    variants = settings_variants(udp, tcp, silent)
    device.write_settings(variants[0])
    daemon = device.start_daemon("-d")
    change_settings()

    def rewrite_settings():
        text = dice.choice(variants)
        path = dice.choice((SETTINGS, TEST_SETTINGS))
        if dice.random() < 0.5:
            path.write_text(text)
        else:
            new = path.with_name("ruvo.txt.new")
            new.write_text(text)
            new.rename(path)

    def change_status():
        count = dice.randrange(3, 12)
        device.status_items("".join(f"item{i}:{dice.random()}\n" for i in range(count)) + "input:HDMI2\n")

    def fire():
        request(dice.choice(REQUESTS))

    def leave_without_a_word():
        connection = socket.create_connection(("127.0.0.1", 2700))
        time.sleep(0.01)
        connection.close()

    def flip_the_switch():
        device.enable(dice.random() < 0.8)

    strain = Strain()
    strain.repeat("settings", rewrite_settings, 0.05)
    strain.repeat("status", change_status, 0.02)
    for client in range(4):
        strain.repeat(f"client {client}", fire, 0.005)
    strain.repeat("visitor", leave_without_a_word, 0.03)
    strain.repeat("switch", flip_the_switch, 0.3)
    strain.run_for(SECONDS)
    assert min(strain.rounds.values()) > 0, strain.rounds
    assert text_of(LOG).count(REBUILT) > 2
    assert udp.arrivals and tcp.arrivals and silent.arrivals

    device.enable()
    device.status_items()
    change_settings(event("Final", (final.ip, final.port, "UDP", b"input is {{input}}")))

    def delivered():
        # Busy slots may cost the first ones.
        assert daemon_pid() == daemon.pid and daemon.running()
        return request(b"Final\n") == b"Final\n" and any(
            arrival.data == b"input is HDMI1" for arrival in final.arrivals
        )

    wait_until(delivered, "the daemon answers and delivers afterwards")
