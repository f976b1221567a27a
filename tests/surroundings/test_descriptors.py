"""Descriptor limits from 16 to 4096: start-up, a full record, a thousand clients, and what comes after."""

import os
import re
import resource
import socket
import time

import pytest
from harness import (
    COMMAND_PORT,
    EVENT_LOG,
    LOG,
    SETTINGS,
    event,
    request,
    text_of,
    touch,
    trigger,
    wait_until,
)
from plant import STANDING_DESCRIPTORS as STANDING
from plant import Asking, descendants
from process import descriptors

NO_DESCRIPTOR_LEFT = "Error: [handle_tcp_event:1410] accept(): Too many open files\n"
LIMITS = (16, 64, 1024, 4096)
# What select can watch.
WATCHABLE = 1024
CLIENTS = 1100
STEPS = 128


def every_limit(*quick):
    return pytest.mark.parametrize(
        "limit", [pytest.param(limit, marks=() if limit in quick else pytest.mark.full) for limit in LIMITS]
    )


@pytest.fixture(autouse=True)
def descriptors_of_the_test():
    """The clients are this process's."""
    own = resource.getrlimit(resource.RLIMIT_NOFILE)
    resource.setrlimit(resource.RLIMIT_NOFILE, (min(own[1], 8192), own[1]))
    yield
    resource.setrlimit(resource.RLIMIT_NOFILE, own)


def limited(count):
    return lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (count, 20000))


def limit_descriptors(pid, count):
    resource.prlimit(pid, resource.RLIMIT_NOFILE, (count, 20000))


def leave_free(pid, count):
    """Limits the numbers of descriptors so that so many are left."""
    taken = descriptors(pid)
    free = [number for number in range(WATCHABLE) if number not in taken]
    limit_descriptors(pid, free[count])


def accepted(daemon):
    return len([to for to in descriptors(daemon.pid).values() if to.startswith("socket:")]) - 1


def waiting_in_the_backlog():
    """How many connections the command port has not taken yet."""
    with open("/proc/net/tcp", encoding="ascii") as table:
        # Listening sockets come first: the thousand others need not be looked at.
        for line in table:
            fields = line.split()
            if fields[1] == "0100007F:0A8C" and fields[3] == "0A":
                return int(fields[4].split(":")[1], 16)
    raise AssertionError("the command port does not listen")


def is_open(connection):
    connection.setblocking(False)
    try:
        return connection.recv(1) != b""
    except BlockingIOError:
        return True
    except ConnectionResetError:
        return False


def connect_many(count):
    """Silent clients, ten at a time as the backlog takes them."""
    silent = []
    while len(silent) < count:
        silent += [socket.create_connection(("127.0.0.1", COMMAND_PORT)) for _ in range(10)]
        wait_until(lambda: waiting_in_the_backlog() == 0, "the backlog is accepted")
    return silent


def full_record(receiver):
    return event("Crowd", *[(receiver.ip, receiver.port, "TCP", b"crowd")] * STEPS)


def steps_logged():
    return text_of(EVENT_LOG).count(" TCP crowd\n")


def senders(daemon):
    return len(descriptors(daemon.pid)) - STANDING


@every_limit(16)
def test_a_daemon_starts_and_serves(plant, limit, record_property):
    plant.start(preexec_fn=limited(limit))
    record_property("open after start-up", len(descriptors(plant.pid)))
    plant.deliver()
    plant.command()
    plant.deliver()
    limit_descriptors(plant.pid, 4096)
    plant.recover()
    assert "Too many open files" not in plant.daemon.output()


@every_limit(16)
def test_a_record_of_128_tcp_steps_costs_those_without_a_descriptor(plant, limit, record_property):
    """The peers keep silent, so every sender holds its socket for the two seconds of its patience."""
    crowd, calm = plant.device.tcp_receiver(silent=True), plant.device.tcp_receiver(reply=b"OK")
    plant.device.write_settings(plant.settings + full_record(crowd))
    plant.settings += full_record(crowd)
    daemon = plant.start(preexec_fn=limited(limit))
    trigger("Crowd")
    most = min(STEPS, limit - STANDING)
    wait_until(lambda: len(crowd.arrivals) >= most - 2, f"{most} senders have a socket each")
    asked = Asking(b"Hall\n")
    # The silent peers are let go after two seconds, and with them the senders.
    assert asked.wait() == b"Hall\n"
    wait_until(lambda: senders(daemon) == 0, "all senders have ended")
    record_property("of 128 steps delivered", len(crowd.arrivals))
    assert len(crowd.arrivals) <= most
    if limit > STEPS + 16:
        assert len(crowd.arrivals) == STEPS == steps_logged()
        assert "Too many open files" not in daemon.output()
    assert "[ruvotcp] Error" not in daemon.output(), "a step without a socket is silent"

    crowd.close()
    limit_descriptors(plant.pid, 4096)
    plant.settings = plant.settings.replace(str(crowd.port), str(calm.port))
    before = steps_logged()
    plant.device.change_settings(daemon, plant.settings)
    trigger("Crowd")
    calm.wait_for(STEPS)
    assert steps_logged() == before + STEPS
    wait_until(lambda: senders(daemon) == 0, "all senders have ended")
    plant.recover()


@every_limit(1024)
def test_a_thousand_silent_clients_do_not_shut_out_one_that_speaks(plant, limit, record_property):
    daemon = plant.start(preexec_fn=limited(limit))
    room = min(limit, WATCHABLE) - STANDING
    silent = connect_many(CLIENTS)
    wait_until(lambda: accepted(daemon) == room, f"{room} connections stay open")
    wait_until(lambda: sum(map(is_open, silent)) == room, "the others are closed")
    # Those that have been silent longest have made room, and each of them costs one line.
    assert [is_open(one) for one in silent] == [False] * (CLIENTS - room) + [True] * room
    assert daemon.output().count(NO_DESCRIPTOR_LEFT) == CLIENTS - room
    if limit == 4096:
        assert text_of(LOG).count(NO_DESCRIPTOR_LEFT) == CLIENTS - room

    assert request(b"Nobody\n") == b"Nobody\n"
    record_property("silent clients", CLIENTS)
    record_property("held", room)
    if limit > WATCHABLE:
        plant.deliver()
    for connection in silent:
        connection.close()
    wait_until(lambda: accepted(daemon) == 0, "all connections are forgotten")
    plant.deliver()
    limit_descriptors(plant.pid, 4096)
    plant.recover()


@every_limit()
def test_a_thousand_clients_that_all_speak_are_all_answered(plant, limit, record_property):
    daemon = plant.start(preexec_fn=limited(limit))
    start = time.monotonic()
    for _ in range(CLIENTS // 10):
        # Commands that need no lookup: a thousand of those would take a minute.
        asked = [Asking(b"__X__") for _ in range(10)]
        assert [one.wait() for one in asked] == [b"Error: fail command:__X__\n"] * 10
    record_property("requests answered", CLIENTS)
    record_property("seconds", round(time.monotonic() - start, 1))
    wait_until(lambda: accepted(daemon) == 0, "all connections are forgotten")
    limit_descriptors(plant.pid, 4096)
    plant.recover()


def test_without_any_descriptor_everything_fails_as_it_is_told_to(plant):
    """Lower than what is open already: no socket, no file, no pipe."""
    daemon = plant.start()
    settings, log = text_of(SETTINGS), len(text_of(LOG))
    sent = text_of(EVENT_LOG)
    seen = len(daemon.output())
    trigger("Later")
    leave_free(plant.pid, 0)
    touch()
    missing = f"[renew_ruvo_txt;241] Error: not found: {SETTINGS}, writ default\n"
    unreadable = f"[renew_ruvo_txt;261] Error: cannot open {SETTINGS};Too many open files\n"
    rebuilt = "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n"
    daemon.wait_for_output(re.escape(missing + unreadable + rebuilt))
    told = text_of(LOG)[log:]
    asked = Asking(b"Hall\n")
    daemon.wait_for_output(re.escape(NO_DESCRIPTOR_LEFT))
    # The event of before is due meanwhile: it is lost in silence, for want of a socket.
    wait_until(lambda: daemon.output().count(NO_DESCRIPTOR_LEFT) > 14, "a good second of rests has passed")
    assert plant.udp.arrivals == []
    assert text_of(EVENT_LOG) == sent and told == text_of(LOG)[log:]
    others = daemon.output()[seen:].replace(missing + unreadable, "").replace(NO_DESCRIPTOR_LEFT, "")
    assert "Error" not in others
    assert text_of(SETTINGS) == settings and not descendants(plant.pid)
    limit_descriptors(plant.pid, 1024)
    assert asked.wait() == b"Hall\n"
    wait_until(lambda: [arrival.data for arrival in plant.udp.arrivals] == [b"hall"], "its event is sent")
    plant.recover()


@pytest.mark.full
def test_two_descriptors_are_enough_for_one_client_at_a_time(plant):
    daemon = plant.start()
    leave_free(plant.pid, 2)
    for _ in range(3):
        plant.deliver_plain()
    reloads = daemon.reloads()
    touch()
    daemon.wait_for_reloads(reloads + 1)
    assert "Too many open files" not in daemon.output()
    limit_descriptors(plant.pid, 1024)
    plant.recover()


def test_a_daemon_born_with_a_thousand_open_files_goes_without_its_port(plant):
    """select could not watch a socket with such a number."""
    line = "Error: [handle_tcp_event:1368] open socket(): Too many open files\n"

    def open_files():
        limited(4096)()
        for number in range(3, WATCHABLE):
            os.dup2(0, number)

    daemon = plant.device.start_daemon(preexec_fn=open_files, close_fds=False, wait=False)
    daemon.wait_for_output(re.escape(line))
    assert line in text_of(LOG)
    # A shell command's nc inherits them all and cannot watch its socket either.
    daemon.wait_for_output(r"\[main:1959\] wait getStatus\.\.\.2\n")
    assert daemon.running()
