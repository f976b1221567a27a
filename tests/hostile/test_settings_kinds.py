"""Something other than a file in the place of the settings, a mirror or a log: nothing waits for it."""

import ctypes
import os
import socket
import threading
import time

import pytest
from aftermath import Possessions
from harness import (
    ASC_MIRROR, EVENT_LIST, EVENT_LOG, HEX_MIRROR, LOG, SETTINGS, TEST_ASC_MIRROR,
    TEST_EVENT_LIST, TEST_HEX_MIRROR, TEST_SETTINGS, VARIABLES, event, newer_than, request, text_of, touch,
    trigger, wait_until,
)
from process import change_settings
from well_behaved import WellBehavedClient

NOT_FOUND = "[renew_ruvo_txt;241] Error: not found: {}, writ default\n"
CANNOT_OPEN = "[renew_ruvo_txt;261] Error: cannot open {};{}\n"
NO_DEVICE = "No such device or address"


def fifo(path):
    os.mkfifo(path)


def fifo_with_a_silent_writer(path):
    os.mkfifo(path)
    return os.open(path, os.O_RDWR | os.O_NONBLOCK)


def listening_socket(path):
    server = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    server.bind(str(path))
    server.listen(1)
    return server


def link_to(target):
    def link(path):
        path.symlink_to(target)

    link.__name__ = f"link to {target}"
    return link


def folder(path):
    path.mkdir()


NOT_OPENABLE = [
    fifo, fifo_with_a_silent_writer, listening_socket, link_to("/dev/zero"), link_to("/dev/null"),
    link_to("/dev/full"), link_to("/dev/tty"),
]


def named(kinds):
    return {"argnames": "kind", "argvalues": kinds, "ids": [kind.__name__ for kind in kinds]}


def put(kind, path):
    """Puts something in a path's place, in one step where that can be done."""
    new = path.with_name("new")
    kept = kind(new)
    if not new.is_symlink() and new.exists():
        newer_than(new, path)
    if new.is_dir():
        path.unlink()
    new.rename(path)
    return kept


class Lamp:
    """An event whose data arrives, or does not."""

    def __init__(self, device):
        self._receiver = device.udp_receiver()

    def settings(self, data):
        return event("Lamp", (self._receiver.ip, self._receiver.port, "UDP", data))

    def sends(self, data):
        before = len(self._receiver.arrivals)
        trigger("Lamp")
        assert [arrival.data for arrival in self._receiver.wait_for(before + 1)[before:]] == [data]

    def sends_in_a_test(self, data):
        before = len(self._receiver.arrivals)
        assert request(b"__TEST__:Lamp\n") == b"call event Lamp"
        assert [arrival.data for arrival in self._receiver.wait_for(before + 1)[before:]] == [data]


def come_back(device, settings):
    """Puts a file there again; the daemon reads it once it has seen two different times."""
    new = SETTINGS.with_name("new_settings.txt")
    device.write_settings(settings, new)
    if SETTINGS.is_dir() and not SETTINGS.is_symlink():
        SETTINGS.rmdir()
    new.rename(SETTINGS)
    change_settings()


# The settings file.


def test_settings_that_become_no_file_leave_the_events(device):
    lamp = Lamp(device)
    device.write_settings(lamp.settings(b"before"))
    daemon = device.start_daemon()
    change_settings()
    told = NOT_FOUND.format(SETTINGS) + CANNOT_OPEN.format(SETTINGS, NO_DEVICE)
    for count, kind in enumerate(NOT_OPENABLE, 1):
        kept = put(kind, SETTINGS)
        wait_until(lambda: daemon.output().count(told) == count, f"the reading of a {kind.__name__} fails")
        assert text_of(LOG).count(told) == count
        lamp.sends(b"before")
        come_back(device, lamp.settings(b"before"))
        del kept
    come_back(device, lamp.settings(b"after"))
    lamp.sends(b"after")


@pytest.mark.parametrize(**named([fifo_with_a_silent_writer, link_to("/dev/zero")]))
def test_the_daemon_starts_with_settings_that_are_no_file(device, kind):
    SETTINGS.parent.mkdir(parents=True)
    kept = kind(SETTINGS)
    daemon = device.start_daemon()
    assert NOT_FOUND.format(SETTINGS) + CANNOT_OPEN.format(SETTINGS, NO_DEVICE) in daemon.output()
    lamp = Lamp(device)
    come_back(device, lamp.settings(b"after"))
    lamp.sends(b"after")
    del kept


def test_test_settings_that_are_no_file_leave_the_test_events(device):
    lamp = Lamp(device)
    device.write_settings(lamp.settings(b"test"), TEST_SETTINGS)
    daemon = device.start_daemon()
    lamp.sends_in_a_test(b"test")
    told = NOT_FOUND.format(TEST_SETTINGS) + CANNOT_OPEN.format(TEST_SETTINGS, NO_DEVICE)
    for count, kind in enumerate(NOT_OPENABLE, 1):
        kept = put(kind, TEST_SETTINGS)
        lamp.sends_in_a_test(b"test")
        assert daemon.output().count(told) == count, kind.__name__
        TEST_SETTINGS.unlink()
        device.write_settings(lamp.settings(b"test"), TEST_SETTINGS)
        del kept


def test_nothing_is_written_to_a_fifo_that_stands_for_the_settings(device):
    device.write_settings("")
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    reader = put(fifo_with_a_silent_writer, SETTINGS)
    daemon.wait_for_output("cannot open")
    with pytest.raises(BlockingIOError):
        os.read(reader, 1)


def test_a_folder_in_the_place_of_the_settings_has_no_events(device):
    lamp = Lamp(device)
    device.write_settings(lamp.settings(b"before"))
    daemon = device.start_daemon()
    change_settings()
    reloads = daemon.reloads()
    put(folder, SETTINGS)
    daemon.wait_for_reloads(reloads + 1)
    assert (text_of(EVENT_LIST), text_of(HEX_MIRROR)) == ("", "")
    assert "not found" not in daemon.output()
    come_back(device, lamp.settings(b"after"))
    lamp.sends(b"after")


def link_loop(path):
    path.symlink_to(SETTINGS)


@pytest.mark.parametrize(**named([link_loop, link_to("/nowhere")]))
def test_a_link_that_leads_nowhere_is_no_change(device, kind):
    lamp = Lamp(device)
    device.write_settings(lamp.settings(b"before"))
    daemon = device.start_daemon()
    change_settings()
    reloads = daemon.reloads()
    put(kind, SETTINGS)
    daemon.wait_for_passes(3)
    lamp.sends(b"before")
    assert daemon.reloads() == reloads
    come_back(device, lamp.settings(b"after"))
    lamp.sends(b"after")


def test_the_daemon_starts_with_a_link_loop_for_its_settings(device):
    SETTINGS.parent.mkdir(parents=True)
    link_loop(SETTINGS)
    daemon = device.start_daemon()
    reason = "Too many levels of symbolic links"
    assert NOT_FOUND.format(SETTINGS) + CANNOT_OPEN.format(SETTINGS, reason) in daemon.output()
    lamp = Lamp(device)
    come_back(device, lamp.settings(b"after"))
    lamp.sends(b"after")


def test_deleted_settings_leave_the_events(device):
    lamp = Lamp(device)
    device.write_settings(lamp.settings(b"before"))
    daemon = device.start_daemon()
    change_settings()
    SETTINGS.unlink()
    daemon.wait_for_passes(3)
    lamp.sends(b"before")
    come_back(device, lamp.settings(b"after"))
    lamp.sends(b"after")


def be_bound_by_file_modes():
    """Of the process that is started next: without the rights that let root pass file modes."""
    drop_from_bounding_set = 24
    for right in (1, 2):  # CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH
        assert ctypes.CDLL(None).prctl(drop_from_bounding_set, right, 0, 0, 0) == 0


def test_unreadable_settings_leave_the_events(device):
    lamp = Lamp(device)
    device.write_settings(lamp.settings(b"before"))
    daemon = device.start_daemon(preexec_fn=be_bound_by_file_modes)
    change_settings()
    SETTINGS.chmod(0)
    touch()
    told = NOT_FOUND.format(SETTINGS) + CANNOT_OPEN.format(SETTINGS, "Permission denied")
    wait_until(lambda: told in daemon.output(), "the reading fails")
    lamp.sends(b"before")
    come_back(device, lamp.settings(b"after"))
    lamp.sends(b"after")


# Exchanged all the time.


def test_settings_that_are_exchanged_for_other_kinds_all_the_time_hold_nobody_up(device):
    seconds = 2.0
    good = WellBehavedClient(device.udp_receiver(), device.tcp_receiver(reply=b"OK"), 0.2, seconds)
    device.write_settings(good.settings())
    daemon = device.start_daemon()
    change_settings()
    stop = threading.Event()

    def exchange():
        number = 0
        while not stop.wait(0.002):
            number += 1
            new = SETTINGS.with_name("new")
            if number % 3 == 0:
                os.mkfifo(new)
            elif number % 3 == 1:
                new.symlink_to("/dev/zero")
            else:
                new.write_text(good.settings())
            new.rename(SETTINGS)

    exchanger = threading.Thread(target=exchange)
    exchanger.start()
    good.run_for(seconds)
    stop.set()
    exchanger.join()
    good.check_all_served()
    lamp = Lamp(device)
    come_back(device, lamp.settings(b"after"))
    lamp.sends(b"after")
    assert daemon.running()


def test_settings_that_are_rewritten_a_hundred_times_a_second_hold_nobody_up(device):
    seconds = float(os.environ.get("RUVO_HOSTILE_SECONDS", "3"))
    good = WellBehavedClient(device.udp_receiver(), device.tcp_receiver(reply=b"OK"), 0.5, seconds)
    texts = [good.settings() + f"Changing={number}\n" * 100 for number in range(2)]
    device.write_settings(texts[0])
    daemon = device.start_daemon()
    change_settings()
    change_settings()
    possessions = Possessions(daemon.pid)
    stop = threading.Event()
    written = 0

    def rewrite():
        nonlocal written
        begin = time.monotonic()
        while not stop.is_set():
            new = SETTINGS.with_name("new")
            new.write_text(texts[written % 2])
            new.rename(SETTINGS)
            written += 1
            time.sleep(max(0.0, begin + written * 0.01 - time.monotonic()))

    writer = threading.Thread(target=rewrite)
    writer.start()
    good.run_for(seconds)
    stop.set()
    writer.join()
    good.check_all_served()
    change_settings()
    print(
        f"\n{written} files in {seconds:.0f} s, {daemon.reloads()} read; {good.text()}; afterwards: "
        + possessions.check_nothing_more(65536)
    )


# The files that the daemon writes.


WRITTEN = [
    LOG, EVENT_LOG, VARIABLES, ASC_MIRROR, HEX_MIRROR, EVENT_LIST, TEST_ASC_MIRROR, TEST_HEX_MIRROR,
    TEST_EVENT_LIST,
]


@pytest.mark.parametrize("kind", [fifo, fifo_with_a_silent_writer], ids=["unread", "read by nobody in time"])
def test_a_fifo_in_the_place_of_a_text_that_it_writes_holds_nothing_up(device, kind):
    """Of the log too, so the daemon's own output tells of the reloads."""
    lamp = Lamp(device)
    device.write_settings(lamp.settings(b"before"))
    device.write_settings(lamp.settings(b"test"), TEST_SETTINGS)
    LOG.parent.mkdir(parents=True, exist_ok=True)
    kept = [kind(path) for path in WRITTEN]
    for pipe in filter(None, kept):
        os.write(pipe, b"x" * 65536)
    daemon = device.start_daemon()
    daemon.wait_for_reloads(1)
    lamp.sends(b"before")
    lamp.sends_in_a_test(b"test")
    reloads = daemon.reloads()

    def is_read():
        device.replace_settings(lamp.settings(b"after"))
        daemon.wait_for_passes(2)
        return daemon.reloads() > reloads

    wait_until(is_read, "the changed settings are read")
    lamp.sends(b"after")
    for pipe in filter(None, kept):
        os.close(pipe)


def test_a_log_that_somebody_reads_as_a_fifo_gets_its_lines(device):
    fifo(EVENT_LOG)
    reader = os.open(EVENT_LOG, os.O_RDONLY | os.O_NONBLOCK)
    lamp = Lamp(device)
    device.write_settings(lamp.settings(b"on"))
    device.start_daemon()
    change_settings()
    lamp.sends(b"on")
    assert os.read(reader, 4096).endswith(b" UDP on\n")
    os.close(reader)
