"""The supervision loop: each change of the settings file is read once."""

import errno
import os

from fault_orders import LIBRARY, CallOrders, MainThreadTimes
from harness import EVENT_LIST, LOG, SETTINGS, newer_than, request, text_of, touch, wait_until

STATUS_WAIT = r"\[main:1959\] wait getStatus\.\.\.(\d+)\n"
LAMP = "LampCount=1\n"
LAMP_LISTED = b"Lamp;Lamp;0::0;Delay=0;\n"


def list_becomes(expected):
    wait_until(lambda: EVENT_LIST.read_bytes() == expected, f"the event list is {expected!r}")


def reloads_after_one_more(daemon):
    """Reloads so far, once a change that surely counts has been seen: none can hide behind it."""
    daemon.wait_for_passes(3)
    before = daemon.reloads()
    touch()
    daemon.wait_for_reloads(before + 1)
    daemon.wait_for_passes(3)
    return daemon.reloads()


def test_settings_that_nobody_changes_are_read_once(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    daemon.wait_for_passes(5)
    assert daemon.reloads() == 1


def test_a_pass_begins_200_ms_after_the_one_before(device):
    times = MainThreadTimes(device, wall_s=1000, uptime_s=10)
    daemon = device.start_daemon(preload=[times.LIBRARY])
    daemon.wait_for_supervision()
    assert times.last_sleep_ns() == 200_000_000


def test_a_touch_causes_exactly_one_reload(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    touch()
    daemon.wait_for_reloads(2)
    daemon.wait_for_passes(5)
    assert daemon.reloads() == 2
    assert text_of(LOG).count("[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n") == 2


def test_every_touch_causes_exactly_one_reload(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    for reloads in (2, 3, 4):
        touch()
        daemon.wait_for_reloads(reloads)
        daemon.wait_for_passes(3)
        assert daemon.reloads() == reloads


def test_a_change_is_read(device):
    device.write_settings("")
    daemon = device.start_daemon()
    device.change_settings(daemon, LAMP)
    list_becomes(LAMP_LISTED)


def test_nanoseconds_alone_are_a_change(device):
    device.write_settings(LAMP)
    os.utime(SETTINGS, ns=(1_700_000_000_000_000_001, 1_700_000_000_000_000_001))
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    os.utime(SETTINGS, ns=(1_700_000_000_000_000_002, 1_700_000_000_000_000_002))
    daemon.wait_for_reloads(2)
    daemon.wait_for_passes(3)
    assert daemon.reloads() == 2


def test_a_modification_time_in_second_0_counts_as_none_seen(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    os.utime(SETTINGS, ns=(5, 5))
    daemon.wait_for_reloads(2)
    daemon.wait_for_passes(2)
    os.utime(SETTINGS, ns=(1_700_000_000_000_000_000, 1_700_000_000_000_000_000))
    daemon.wait_for_passes(2)
    assert daemon.reloads() == 2


def test_an_older_modification_time_is_a_change(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    os.utime(SETTINGS, (1_000_000_000, 1_000_000_000))
    daemon.wait_for_reloads(2)
    assert reloads_after_one_more(daemon) == 3


def test_a_change_before_the_first_pass_is_only_recorded(bare_device):
    bare_device.write_settings("PowerOnCount=1\n")
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(STATUS_WAIT)
    bare_device.replace_settings(LAMP)
    bare_device.start_status_service()
    daemon.wait_for_supervision()
    assert reloads_after_one_more(daemon) == 2
    list_becomes(LAMP_LISTED)


def test_settings_that_stay_missing_cause_no_reload(bare_device):
    bare_device.write_settings("not a folder", SETTINGS.parent)
    bare_device.start_status_service()
    daemon = bare_device.start_daemon()
    daemon.wait_for_supervision()
    daemon.wait_for_passes(5)
    assert daemon.reloads() == 1
    assert daemon.output().count("[renew_ruvo_txt;241] Error: not found") == 1


def test_the_first_creation_of_the_settings_causes_no_reload(bare_device):
    bare_device.write_settings("not a folder", SETTINGS.parent)
    bare_device.start_status_service()
    daemon = bare_device.start_daemon()
    daemon.wait_for_supervision()
    SETTINGS.parent.unlink()
    bare_device.write_settings(LAMP, SETTINGS.parent.parent / "later" / "ruvo.txt")
    (SETTINGS.parent.parent / "later").rename(SETTINGS.parent)
    assert reloads_after_one_more(daemon) == 2
    list_becomes(LAMP_LISTED)


def test_settings_that_vanish_cause_no_reload(device):
    device.write_settings(LAMP)
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    away = SETTINGS.with_name("away.txt")
    SETTINGS.rename(away)
    daemon.wait_for_passes(5)
    assert daemon.reloads() == 1
    assert not SETTINGS.exists()
    away.rename(SETTINGS)
    assert reloads_after_one_more(daemon) == 2


def test_settings_that_come_back_changed_cause_one_reload(device):
    device.write_settings("PowerOnCount=1\n")
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    old = SETTINGS.with_name("old.txt")
    SETTINGS.rename(old)
    daemon.wait_for_passes(3)
    new = SETTINGS.with_name("new.txt")
    device.write_settings(LAMP, new)
    newer_than(new, old)
    new.rename(SETTINGS)
    daemon.wait_for_reloads(2)
    list_becomes(LAMP_LISTED)
    assert reloads_after_one_more(daemon) == 3


def test_defaults_that_it_appends_itself_cause_one_more_reload(device):
    device.write_settings(LAMP)
    # The first reading is the start's, the second the reload's.
    CallOrders(device).fail("open_to_read", errno.EACCES, after=1, only=str(SETTINGS))
    daemon = device.start_daemon(preload=[LIBRARY])
    daemon.wait_for_supervision()
    touch()
    daemon.wait_for_reloads(3)
    assert reloads_after_one_more(daemon) == 4
    assert daemon.output().count("[renew_ruvo_txt;241] Error: not found") == 1


def test_a_change_of_the_test_settings_causes_no_reload(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    device.write_settings(LAMP, SETTINGS.with_name("ruvotest.txt"))
    assert reloads_after_one_more(daemon) == 2


def test_settings_for_which_there_was_no_memory_are_read_again(device):
    orders = CallOrders(device)
    daemon = device.start_daemon(
        preload=[LIBRARY, "fail_big_allocations.so"], environment={"RUVO_SHORTER_NAPS": "10"}
    )
    daemon.wait_for_supervision()
    # Only the records of so many lines are one large allocation, and the one that fails.
    orders.fail("big_allocation", errno.ENOMEM)
    device.replace_settings(LAMP + "a=\n" * 100_000)
    daemon.wait_for_output(r"Error: \[main:1996\] rebuild_ruvo_event_list\(\): std::bad_alloc\n")
    assert orders.failures_left("big_allocation") == 0
    assert EVENT_LIST.read_bytes() == b""
    list_becomes(LAMP_LISTED)
    assert reloads_after_one_more(daemon) == 3


def test_a_malformed_index_does_not_end_supervision(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    device.replace_settings("LampCount=1\nLampDataX=41\n")
    daemon.wait_for_output(r"Error: \[\w+:\d+\] rebuild_ruvo_event_list\(\): stoul\n")
    device.replace_settings(LAMP)
    daemon.wait_for_reloads(2)
    list_becomes(LAMP_LISTED)
    assert request(b"Lamp\n") == b"Lamp\n"
