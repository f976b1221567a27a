"""Local time follows the device's time zone while the daemon runs."""

import datetime
import os
import pathlib
import re
import struct
import subprocess

import pytest

from harness import EVENT_LOG, STATE, event, request, text_of

# The two ends of the world are more than a day apart, so even the dates differ.
EAST_S = 14 * 3600
WEST_S = -(11 * 3600 + 30 * 60)


def zone_file(offset_s):
    """A time-zone file with one fixed offset."""
    counts = struct.pack(">6l", 0, 0, 0, 0, 1, 4)
    return b"TZif" + bytes(16) + counts + struct.pack(">lBB", offset_s, 0, 0) + b"XYZ\0"


@pytest.fixture
def etc(device):
    """A folder in the place of /etc that shows the same files but has a time zone of its own."""
    device.environment.pop("TZ", None)
    original = pathlib.Path("/tmp/etc-original")
    shown = pathlib.Path("/tmp/etc")
    original.mkdir()
    shown.mkdir()
    subprocess.run(["mount", "--rbind", "/etc", original], check=True)
    for name in os.listdir(original):
        if name != "localtime":
            (shown / name).symlink_to(original / name)
    subprocess.run(["mount", "--bind", shown, "/etc"], check=True)
    yield pathlib.Path("/etc")
    subprocess.run(["umount", "-l", "/etc"], check=True)
    subprocess.run(["umount", "-l", original], check=True)
    original.rmdir()
    for path in shown.iterdir():
        path.unlink()
    shown.rmdir()


def set_zone(etc, offset_s):
    new = etc / "localtime.new"
    new.write_bytes(zone_file(offset_s))
    new.replace(etc / "localtime")


def local_time(offset_s):
    zone = datetime.timezone(datetime.timedelta(seconds=offset_s))
    return datetime.datetime.now(zone).replace(microsecond=0, tzinfo=None)


def show(receiver, offset_s):
    """Triggers once; returns what was sent and the texts that it may be in that zone."""
    count = len(receiver.arrivals)
    moment = local_time(offset_s)
    assert request(b"Show\n") == b"Show\n"
    sent = receiver.wait_for(count + 1)[count].data.decode()
    texts = []
    while moment <= local_time(offset_s):
        texts.append(moment.strftime("%Y-%m-%d %H:%M:%S"))
        moment += datetime.timedelta(seconds=1)
    return sent, texts


def start(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Show", (receiver.ip, receiver.port, "UDP", b"{{date}}{{time}}")))
    device.start_daemon().wait_for_supervision()
    return receiver


def test_macros_use_the_zone_of_the_device(device, etc):
    set_zone(etc, EAST_S)
    receiver = start(device)
    sent, expected = show(receiver, EAST_S)
    assert sent in expected


def test_macros_follow_a_change_of_the_zone(device, etc):
    set_zone(etc, EAST_S)
    receiver = start(device)
    show(receiver, EAST_S)
    set_zone(etc, WEST_S)
    sent, expected = show(receiver, WEST_S)
    assert sent in expected


def test_the_event_log_follows_a_change_of_the_zone(device, etc):
    set_zone(etc, EAST_S)
    receiver = start(device)
    show(receiver, EAST_S)
    set_zone(etc, WEST_S)
    _, expected = show(receiver, WEST_S)
    stamps = re.findall(r"^(\S+ \S+)\.\d{3}  ", text_of(EVENT_LOG), re.MULTILINE)
    assert len(stamps) == 2
    assert stamps[1] in expected


def test_a_zone_in_the_environment_stays(device, etc):
    set_zone(etc, EAST_S)
    zone = STATE / "zone"
    zone.write_bytes(zone_file(WEST_S))
    device.environment["TZ"] = f":{zone}"
    receiver = start(device)
    sent, expected = show(receiver, WEST_S)
    assert sent in expected
    set_zone(etc, EAST_S)
    sent, expected = show(receiver, WEST_S)
    assert sent in expected
