"""A daemon that stands still for longer than a queued event may grow old, and goes on."""

import os
import re
import signal
import socket
import time

import pytest
from clocks import steady_clock
from harness import COMMAND_PORT, LOG, event, request, text_of, touch, trigger, wait_until
from plant import Asking
from process import hold

STALE_S = 60
DROPPED = (
    r"\[exec_event:\d+\] Error cannot send sys event={}, run event={}, "
    r"now=\d+, t_exec=\d+, sub cmd size={}\n"
)


def go_on(plant):
    os.kill(plant.pid, signal.SIGCONT)


def test_what_was_queued_before_a_long_stop_is_dropped_and_the_rest_goes_on(plant):
    """The daemon's clock goes on by more than the limit while it is stopped."""
    step = (plant.udp.ip, plant.udp.port, "UDP", b"soon")
    plant.settings += event("Soon", step, delay=50, xml_field="Name")
    plant.device.write_settings(plant.settings)
    clock = steady_clock(plant.device)
    daemon = plant.start(preload=[clock.library])
    for _ in range(3):
        trigger("Name")
    hold(plant.pid)
    clock.set(STALE_S + 1)
    asked = [Asking(b"Hall\n") for _ in range(5)]
    touch()
    go_on(plant)
    dropped = DROPPED.format("Name", "Soon", 1)
    assert [one.wait() for one in asked] == [b"Hall\n"] * 5
    for text in (daemon.output, lambda: text_of(LOG)):
        wait_until(lambda: len(re.findall(dropped, text())) == 3, "each of the three is told")  # noqa: B023
    wait_until(lambda: len(plant.udp.arrivals) == 5, "who asked during the stop is served")
    assert {arrival.data for arrival in plant.udp.arrivals} == {b"hall"}
    daemon.wait_for_reloads(2)
    plant.recover()


@pytest.mark.full
def test_a_stop_of_less_than_the_limit_drops_nothing(plant):
    clock = steady_clock(plant.device)
    plant.settings += event("Soon", (plant.udp.ip, plant.udp.port, "UDP", b"soon"), delay=50)
    plant.device.write_settings(plant.settings)
    daemon = plant.start(preload=[clock.library])
    trigger("Soon")
    hold(plant.pid)
    clock.set(STALE_S - 5)
    go_on(plant)
    assert [arrival.data for arrival in plant.udp.wait_for(1)] == [b"soon"]
    assert "cannot send" not in daemon.output()
    plant.recover()


@pytest.mark.parametrize(
    "body", [*(pytest.param(body, marks=pytest.mark.full) for body in ("TCP", "StatusTCP")), "StatusUDP"]
)
def test_a_stop_that_outlasts_a_peer_s_patience_ends_the_send_and_not_the_sender(plant, body):
    """A signal to stop interrupts a receive with a time limit: that is what the report then says."""
    status = body.startswith("Status")
    receiver = plant.udp if body == "StatusUDP" else plant.tcp
    silent = plant.device.tcp_receiver(silent=True)
    target = receiver if status else silent
    plant.settings += event("Slow", (target.ip, target.port, body, b"slow"))
    plant.device.write_settings(plant.settings)
    daemon = plant.start()
    before = len(receiver.arrivals)
    if status:
        end_status_service(plant.device)
        silent.close()
        silent = plant.device.tcp_receiver(port=50001, silent=True)
    trigger("Slow")
    asks = (b"getStatus", b"slow")
    wait_until(lambda: [one for one in silent.arrivals if one.data in asks], "the sender waits")
    hold(plant.pid)
    time.sleep(0.1)
    go_on(plant)
    if status:
        data = receiver.wait_for(before + 1)[before].data
        assert data in (b"(4)Interrupted system call", b"(11)Resource temporarily unavailable")
        silent.close()
        plant.device.start_status_service()
    assert "[ruvotcp] Error" not in daemon.output()
    plant.recover()


def end_status_service(device):
    service = device._processes[0]
    service.terminate()
    service.wait(20)


def test_two_hundred_stops_disturb_no_trigger(plant):
    daemon = plant.start()
    for number in range(5):
        asked = Asking(b"Lamp\n")
        for _ in range(40):
            os.kill(plant.pid, signal.SIGSTOP)
            os.kill(plant.pid, signal.SIGCONT)
            time.sleep(0.002)
        assert asked.wait() == b"Lamp\n"
        plant.udp.wait_for(2 * (number + 1))
    assert [arrival.data for arrival in plant.udp.arrivals].count(b"input is HDMI1") == 5
    assert [arrival.data for arrival in plant.tcp.wait_for(10)].count(b"on") == 5
    for text in ("select()", "accept()", "Recv()"):
        assert text not in daemon.output()
    plant.recover()


@pytest.mark.full
def test_clients_that_come_and_go_during_a_stop_are_forgotten(plant):
    daemon = plant.start()
    hold(plant.pid)
    # As many as the backlog takes.
    gone = [socket.create_connection(("127.0.0.1", COMMAND_PORT)) for _ in range(8)]
    for connection in gone[:4]:
        connection.close()
    for connection in gone[4:]:
        connection.sendall(b"Nobody\n")
        connection.close()
    go_on(plant)
    assert request(b"Nobody\n") == b"Nobody\n"
    wait_until(lambda: daemon.output().count("key=Nobody") == 5, "what they had said is heard")
    plant.recover()
