"""The two mirrors of the settings in /tmp, byte for byte."""

import pathlib

import pytest

from harness import ASC_MIRROR, EVENT_LIST, HEX_MIRROR, LOG, STATE, request, text_of, touch

OTHER_MIRRORS = [pathlib.Path("/tmp/ruvo_test_asc.txt"), pathlib.Path("/tmp/ruvo_test_hex.txt")]


def mirrors(device, settings):
    """The text mirror and the dump of a settings file."""
    device.write_settings(settings)
    device.start_daemon()
    return ASC_MIRROR.read_bytes(), HEX_MIRROR.read_bytes()


def test_no_entries_give_two_empty_files(bare_device):
    assert mirrors(bare_device, "# nothing yet\n") == (b"", b"")


def test_data_is_shown_as_characters_in_the_text_mirror_only(bare_device):
    assert mirrors(bare_device, "PowerOnData=414243\n") == (b"PowerOnData=ABC\n", b"PowerOnData=414243\n")


def test_data_with_an_index_is_shown_as_characters_too(bare_device):
    assert mirrors(bare_device, "PowerOnData1=48656C6C6F\n") == (
        b"PowerOnData1=Hello\n", b"PowerOnData1=48656C6C6F\n"
    )


def test_other_values_are_shown_as_they_are(bare_device):
    settings = b"PowerOnCount=41\nPowerOnIP0=42\nPowerOnPort0=43\nPowerOnDelay=44\nDataEncode=4445\n"
    assert mirrors(bare_device, settings) == (settings, settings)


def test_both_follow_the_order_of_the_file(bare_device):
    settings = b"B=1\nLampData0=43\nA=2\nLampCount=1\n"
    assert mirrors(bare_device, settings) == (b"B=1\nLampData0=C\nA=2\nLampCount=1\n", settings)


def test_a_zero_byte_ends_the_line_with_its_line_end(bare_device):
    assert mirrors(bare_device, "PowerOnData=410042\nA=1\n") == (
        b"PowerOnData=AA=1\n", b"PowerOnData=410042\nA=1\n"
    )


@pytest.mark.parametrize("value, shown, reason", [
    (b"414", b"A\x04\n", "a lone last digit is a whole byte"),
    (b"4", b"\x04\n", "a lone digit is a whole byte"),
    (b"", b"\n", "nothing stays nothing"),
    (b"zz", b"", "no digit is a zero byte"),
    (b"0x41", b"", "the prefix alone is a zero byte"),
    (b"410x42", b"A", "the prefix alone is a zero byte"),
    (b"1G", b"\x01\n", "reading stops at the first character that is no digit"),
    (b"G1", b"", "no digit in front is a zero byte"),
    (b" F", b"\x0f\n", "a leading blank is allowed"),
    (b"-1", b"\xff\n", "a sign is allowed"),
    (b"+A", b"\n\n", "a sign is allowed; the byte is a line feed"),
    (b"fFaB", b"\xff\xab\n", "digits of both cases"),
    (b"41\r", b"A", "a carriage return is no digit"),
    (b"41 ", b"A", "a blank alone is no digit"),
    (b"4 1 ", b"\x04\x01\n", "a blank ends a number"),
    (b"80FF7F", b"\x80\xff\x7f\n", "every byte is written raw"),
], ids=repr)
def test_data_is_read_as_pairs_of_digits(bare_device, value, shown, reason):
    asc, dump = mirrors(bare_device, b"LampData0=" + value + b"\n")
    assert asc == b"LampData0=" + shown, reason
    assert dump == b"LampData0=" + value + b"\n"


def test_a_carriage_return_is_written_back_in_both(bare_device):
    settings = b"PowerOnCount=3\r\nA=b\r\n"
    assert mirrors(bare_device, settings) == (settings, settings)


def test_a_reload_rewrites_both_from_their_start(device):
    device.write_settings("LampData0=414141414141\nA=1\n")
    daemon = device.start_daemon()
    device.change_settings(daemon, "LampData0=42\n")
    assert ASC_MIRROR.read_bytes() == b"LampData0=B\n"
    assert HEX_MIRROR.read_bytes() == b"LampData0=42\n"


def test_both_are_written_in_place(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    before = [path.stat().st_ino for path in (ASC_MIRROR, HEX_MIRROR, EVENT_LIST)]
    touch()
    daemon.wait_for_reloads(2)
    daemon.wait_for_passes(1)
    assert [path.stat().st_ino for path in (ASC_MIRROR, HEX_MIRROR, EVENT_LIST)] == before


def test_a_link_is_written_through(bare_device):
    target = STATE / "dump_elsewhere"
    target.write_text("an old text that is longer than the new one\n")
    HEX_MIRROR.symlink_to(target)
    bare_device.write_settings("A=1\n")
    bare_device.start_daemon()
    assert HEX_MIRROR.is_symlink()
    assert target.read_bytes() == b"A=1\n"


@pytest.mark.parametrize("blocked, other", [(ASC_MIRROR, HEX_MIRROR), (HEX_MIRROR, ASC_MIRROR)],
                         ids=["text", "dump"])
def test_a_mirror_that_cannot_be_written_is_passed_over_in_silence(bare_device, blocked, other):
    blocked.mkdir()
    bare_device.write_settings("LampCount=1\n")
    daemon = bare_device.start_daemon()
    assert other.read_bytes() == b"LampCount=1\n"
    assert EVENT_LIST.read_bytes() == b"Lamp;Lamp;0::0;Delay=0;\n"
    assert "Error" not in daemon.output() + text_of(LOG)


def test_a_mirror_that_can_be_written_again_is_there_after_the_next_change(device):
    HEX_MIRROR.mkdir()
    device.write_settings("A=1\n")
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    HEX_MIRROR.rmdir()
    device.change_settings(daemon, "A=2\n")
    assert HEX_MIRROR.read_bytes() == b"A=2\n"


def test_the_file_creation_mask_gives_the_permissions(bare_device):
    bare_device.start_daemon(umask=0o027)
    modes = [path.stat().st_mode & 0o777 for path in (ASC_MIRROR, HEX_MIRROR, EVENT_LIST)]
    assert modes == [0o640, 0o640, 0o640]


def test_the_mirrors_of_a_test_are_not_written(device):
    device.start_daemon().wait_for_supervision()
    assert request(b"Lamp") == b"Lamp\n"
    assert [path for path in OTHER_MIRRORS if path.exists()] == []


def test_a_full_disk_holds_nothing_up(bare_device):
    ASC_MIRROR.symlink_to("/dev/full")
    HEX_MIRROR.symlink_to("/dev/full")
    EVENT_LIST.symlink_to("/dev/full")
    bare_device.write_settings("A=1\n")
    daemon = bare_device.start_daemon()
    assert daemon.reloads() == 1
    assert request(b"Lamp") == b"Event Disabled, skip Lamp"
