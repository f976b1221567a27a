"""The log: what goes to standard output, what to the file, and what neither may hold up."""

import os
import re

from harness import EVENT_LOG, LOG, ROTATED_LOG, event, request, text_of, touch

SILENT_TOOL = '[ "$1" = get ] && echo true\nexit 0\n'
BIND = "[handle_tcp_event:1382] bind 127.0.0.1:2700\n"
SENT = "[handle_tcp_event:1434] Recv[4]:key=Lamp,value=Lamp[handle_tcp_event:1461] send() Lamp\n\n"


# Two outputs.


def test_every_message_goes_to_both_outputs(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    assert request(b"Lamp") == b"Lamp\n"
    touch()
    daemon.wait_for_reloads(2)
    daemon.wait_for_passes(1)
    # Two threads may pass each other between the one output and the other.
    assert sorted(daemon.output().splitlines()) == sorted(text_of(LOG).splitlines())
    assert SENT in text_of(LOG)


def test_an_earlier_log_is_kept(bare_device):
    LOG.write_text("an earlier run\n")
    bare_device.start_daemon()
    assert text_of(LOG).startswith("an earlier run\nruvotcp V1.4.2-1.")


def test_a_deleted_log_is_made_again(device):
    device.start_daemon().wait_for_supervision()
    LOG.unlink()
    assert request(b"Lamp") == b"Lamp\n"
    assert text_of(LOG) == SENT


def test_a_renamed_log_is_left_alone(device):
    device.start_daemon().wait_for_supervision()
    moved = LOG.with_name("ruvo.moved")
    LOG.rename(moved)
    before = text_of(moved)
    assert request(b"Lamp") == b"Lamp\n"
    assert text_of(moved) == before
    assert text_of(LOG) == SENT


def test_a_truncated_log_is_written_from_its_start(device):
    device.start_daemon().wait_for_supervision()
    LOG.write_bytes(b"")
    assert request(b"Lamp") == b"Lamp\n"
    assert LOG.read_bytes() == SENT.encode()


def test_no_output_file_stays_open_between_messages(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"on")))
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    assert request(b"Lamp") == b"Lamp\n"
    receiver.wait_for(1)
    folder = f"/proc/{daemon.pid}/fd"
    held = [os.readlink(f"{folder}/{number}") for number in os.listdir(folder)]
    assert not [target for target in held if target.startswith(("/var", "/tmp/ruvo", "/mnt", "/run"))]
    assert LOG.exists() and EVENT_LOG.exists()


# Outputs that fail.


def test_a_log_that_cannot_be_opened_leaves_standard_output(device):
    LOG.mkdir()
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    assert request(b"Lamp") == b"Lamp\n"
    output = daemon.output()
    assert output.startswith("ruvotcp V1.4.2-1.")
    assert "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n[main:1931] ip=192.0.2.10\n" in output
    assert output.endswith(SENT)


def test_messages_that_are_not_counted_need_the_log(device):
    LOG.mkdir()
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    assert "create /var/run/ruvotcp.pid" not in daemon.output()
    assert BIND not in daemon.output()


def test_the_message_about_a_second_boundary_needs_the_log(device):
    LOG.mkdir()
    daemon = device.start_daemon(uptime_s=10, preload=["skip_seconds.so"])
    daemon.wait_for_supervision()
    daemon.wait_for_passes(5)
    assert "[main:1983]" not in daemon.output()
    LOG.rmdir()
    daemon.wait_for_output(r"\[main:1983\] t_uptime=\d+, enable hdmi plug=0\n")


def test_a_log_that_can_be_opened_again_is_used_again(device):
    LOG.mkdir()
    device.start_daemon().wait_for_supervision()
    LOG.rmdir()
    assert request(b"Lamp") == b"Lamp\n"
    assert text_of(LOG) == SENT


def test_a_full_disk_holds_nothing_up(device):
    LOG.symlink_to("/dev/full")
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    assert request(b"Lamp") == b"Lamp\n"
    assert BIND in daemon.output()
    assert SENT in daemon.output()


def test_one_run_does_not_rotate(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    touch()
    daemon.wait_for_reloads(2)
    assert not ROTATED_LOG.exists()


# Debug messages.


def debug_start(device):
    device.replace_tool(SILENT_TOOL)
    device.write_settings("LampCount=2\nLampDelay0=100\nLampDelay1=250\n")
    daemon = device.start_daemon("-d")
    daemon.wait_for_output(re.escape("[renew_macro_var:327] save /tmp/ruvo_var.txt\n"))
    return daemon


def test_debug_messages_of_a_start_come_in_order(device):
    daemon = debug_start(device)
    start = daemon.output().split("[main:1931] ip=")[0].split("ruvotcp.pid=")[1]
    assert start == (
        f"{daemon.pid}\n"
        "[renew_enable_event:700] enable event=1\n"
        "[renew_enable_event:700] enable event=1\n"
        "[renew_ruvo_txt:288] save /tmp/ruvo_asc.txt /tmp/ruvo_hex.txt\n"
        "[dump:733] dump _q_ruvo to /tmp/ruvo_hex.txt\n"
        "[rebuild_ruvo_event_list:620] ns delay from exec=(0)100000000;\n"
        "[rebuild_ruvo_event_list:620] ns delay from exec=(1)350000000;\n"
        "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n"
    )


def test_debug_messages_of_a_status_request_come_in_order(device):
    daemon = debug_start(device)
    wait = daemon.output().split("[main:1931] ip=192.0.2.10\n")[1].replace(BIND, "")
    assert wait.startswith("[renew_macro_var:307]\n[renew_macro_var:327] save /tmp/ruvo_var.txt\n")


def test_debug_messages_stay_out_of_the_log(device):
    daemon = debug_start(device)
    daemon.wait_for_supervision()
    log = re.sub(r"\[main:1959\] wait getStatus\.\.\.\d+\n", "", text_of(LOG))
    assert log.split("\n", 1)[1] == (
        f"[main:1924] create /var/run/ruvotcp.pid={daemon.pid}\n"
        "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n"
        "[main:1931] ip=192.0.2.10\n" + BIND
    )


def test_without_the_flag_there_are_no_debug_messages(device):
    device.write_settings("LampCount=1\nLampDelay0=100\n")
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    assert request(b"Nothing") == b"Nothing\n"
    debug = ("enable event=", "save /tmp/", "dump _q_ruvo", "ns delay", "renew_macro_var", "not found")
    for message in debug:
        assert message not in daemon.output()
