"""/var/log/ruvoevent.log: one line for each step that is sent or skipped."""

import datetime
import re

from event_log import STAMP, log_without_times
from harness import EVENT_LOG, LOG, event, text_of, trigger, wait_until


def test_a_sent_step_is_one_line_byte_for_byte(device):
    device.write_settings(event("Lamp", ("1.2.3.4", "5007", "none", b"lamp on")))
    device.start_daemon()
    trigger("Lamp")
    wait_until(lambda: text_of(EVENT_LOG).endswith("\n"), "the line is written")
    text = text_of(EVENT_LOG)
    assert re.fullmatch(
        r"\d{4}-\d{2}-\d{2} \d{2}:\d{2}:\d{2}\.\d{3}  1\.2\.3\.4:5007 none lamp on\n", text
    ), text


def test_the_time_is_the_local_wall_clock_time(device):
    device.write_settings(event("Lamp", ("1.2.3.4", "5", "none", b"on")))
    zone = datetime.timezone(datetime.timedelta(hours=5, minutes=30))
    device.start_daemon(environment={"TZ": "HERE-05:30"})
    earliest = datetime.datetime.now(zone).replace(tzinfo=None)
    trigger("Lamp")
    log_without_times(1)
    latest = datetime.datetime.now(zone).replace(tzinfo=None)
    logged = datetime.datetime.strptime(text_of(EVENT_LOG)[:23], "%Y-%m-%d %H:%M:%S.%f")
    # The text drops what is below a millisecond.
    assert earliest - datetime.timedelta(milliseconds=1) < logged <= latest


def test_steps_are_logged_in_their_order(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event(
            "Lamp",
            (receiver.ip, receiver.port, "UDP", b"one", 9000),
            ("5.6.7.8", "x", "nothing", b"two", 0),
            (receiver.ip, receiver.port, "StatusUDP", b"three", 0),
        )
    )
    device.start_daemon()
    trigger("Lamp")
    port = receiver.port
    assert log_without_times(3) == (
        f"127.0.0.1:{port} UDP one\n5.6.7.8:x nothing two\n127.0.0.1:{port} StatusUDP three\n"
    )
    assert receiver.arrivals == [], "the lines come before the sends"


def test_the_data_is_logged_up_to_its_first_zero_byte(device):
    device.write_settings(event("Lamp", ("1.2.3.4", "5", "none", b"on\0off")))
    device.start_daemon()
    trigger("Lamp")
    assert log_without_times(1) == "1.2.3.4:5 none on\n"


def test_the_expanded_data_is_logged_with_every_other_byte_as_it_is(device):
    device.write_settings(event("Lamp", ("1.2.3.4", "5", "none", b"{{input}}\t\x01\xff 100% %s\\r|")))
    device.start_daemon()
    trigger("Lamp")
    assert log_without_times(1) == "1.2.3.4:5 none HDMI1\t\x01\xff 100% %s\r|\n"


def test_a_line_feed_in_the_data_breaks_the_line(device):
    device.write_settings(event("Lamp", ("1.2.3.4", "5", "none", b"one\\ntwo")))
    device.start_daemon()
    trigger("Lamp")
    assert log_without_times(2) == "1.2.3.4:5 none one\ntwo\n"


def test_long_expanded_data_is_logged_whole(device):
    device.status_items("long:" + "v" * 900 + "\n" + "".join(f"item{i}:{i}\n" for i in range(6)))
    device.write_settings(event("Lamp", ("1.2.3.4", "5", "none", b"{{long}}" * 20 + b"end")))
    device.start_daemon()
    trigger("Lamp")
    assert log_without_times(1) == "1.2.3.4:5 none " + "v" * 18000 + "end\n"


def test_the_file_is_opened_anew_for_every_line(device):
    device.write_settings(event("Lamp", ("1.2.3.4", "5", "none", b"on")))
    device.start_daemon()
    trigger("Lamp")
    log_without_times(1)
    moved = EVENT_LOG.with_name("ruvoevent.log.moved")
    EVENT_LOG.rename(moved)
    trigger("Lamp")
    assert log_without_times(1) == "1.2.3.4:5 none on\n"
    assert text_of(moved).count("\n") == 1


def test_lines_are_appended_to_what_is_there(device):
    EVENT_LOG.parent.mkdir(parents=True, exist_ok=True)
    EVENT_LOG.write_text("kept from the last run\n")
    device.write_settings(event("Lamp", ("1.2.3.4", "5", "none", b"on")))
    device.start_daemon()
    trigger("Lamp")
    wait_until(lambda: text_of(EVENT_LOG).count("\n") == 2, "a line is added")
    assert re.fullmatch(rf"kept from the last run\n{STAMP}1\.2\.3\.4:5 none on\n", text_of(EVENT_LOG))


def test_an_event_log_that_cannot_be_opened_is_skipped_silently(device):
    receiver = device.udp_receiver()
    EVENT_LOG.mkdir(parents=True)
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"on")))
    daemon = device.start_daemon()
    log_lines = text_of(LOG)
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"on"]
    EVENT_LOG.rmdir()
    trigger("Lamp")
    assert log_without_times(1) == f"127.0.0.1:{receiver.port} UDP on\n"
    assert "ruvoevent" not in daemon.output()
    assert text_of(LOG).startswith(log_lines)
