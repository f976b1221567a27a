"""Reading the settings file: its defaults, its lines, and what happens when it cannot be read."""

import errno
import re

from fault_orders import ALWAYS, LIBRARY, CallOrders
from harness import (
    ASC_MIRROR, EVENT_LIST, EVENT_LOG, HEX_MIRROR, LOG, SETTINGS, event, request, text_of, touch, wait_until,
)

DEFAULTS_DISABLED = (
    b"EnableEvents=false\n"
    b"FastCableDetectEvents=false\n"
    b"PowerOnCount=0\n"
    b"PowerOnDelay=1\n"
    b"DVIConnectedCount=0\n"
    b"DVIConnectedDelay=0\n"
    b"DVIDisconnectedCount=0\n"
    b"DVIDisconnectedDelay=0\n"
    b"GenericEventsCount=0\n"
    b"DataEncode=HEX\n"
)
DEFAULTS_ENABLED = b"EnableEvents=true" + DEFAULTS_DISABLED[len(b"EnableEvents=false") :]

NOT_FOUND = "[renew_ruvo_txt;241] Error: not found: /mnt/configs/ruvo/ruvo.txt, writ default\n"
CANNOT_OPEN = "[renew_ruvo_txt;261] Error: cannot open /mnt/configs/ruvo/ruvo.txt;{}\n"


def unreadable(device, after=0, times=ALWAYS):
    """Start options under which some of the attempts to open the settings for reading fail."""
    CallOrders(device).fail("open_to_read", errno.EACCES, after, times, only=str(SETTINGS))
    return {"preload": [LIBRARY]}


def read_back(device, settings):
    """What the daemon has read of a settings file, as it writes it back."""
    device.write_settings(settings)
    device.start_daemon()
    return HEX_MIRROR.read_bytes()


# The default text.


def test_missing_settings_are_written_for_a_device_that_is_disabled(bare_device):
    bare_device.start_daemon()
    assert SETTINGS.read_bytes() == DEFAULTS_DISABLED


def test_missing_settings_are_written_for_a_device_that_is_enabled(bare_device):
    bare_device.enable()
    bare_device.start_daemon()
    assert SETTINGS.read_bytes() == DEFAULTS_ENABLED


def test_the_default_text_is_read_back(bare_device):
    daemon = bare_device.start_daemon()
    assert HEX_MIRROR.read_bytes() == DEFAULTS_DISABLED
    assert EVENT_LIST.read_bytes() == b""
    assert daemon.output().count(NOT_FOUND) == 1


def test_settings_that_exist_are_not_changed(bare_device):
    bare_device.write_settings("PowerOnCount=1\n")
    daemon = bare_device.start_daemon()
    assert SETTINGS.read_bytes() == b"PowerOnCount=1\n"
    assert NOT_FOUND not in daemon.output()


def test_empty_settings_are_not_missing(bare_device):
    assert read_back(bare_device, "") == b""
    assert SETTINGS.read_bytes() == b""


# Settings that cannot be read.


def test_the_defaults_are_appended_to_unreadable_settings(bare_device):
    bare_device.write_settings("LampCount=1\n")
    daemon = bare_device.start_daemon(**unreadable(bare_device, times=1))
    assert SETTINGS.read_bytes() == b"LampCount=1\n" + DEFAULTS_DISABLED
    assert text_of(LOG).count(NOT_FOUND) == 1
    assert daemon.output().count(NOT_FOUND) == 1


def test_the_appended_defaults_are_read_together_with_the_rest(bare_device):
    bare_device.write_settings("LampCount=1\n")
    bare_device.start_daemon(**unreadable(bare_device, times=1))
    assert HEX_MIRROR.read_bytes() == b"LampCount=1\n" + DEFAULTS_DISABLED
    assert EVENT_LIST.read_bytes() == b"Lamp;Lamp;0::0;Delay=0;\n"


def test_the_defaults_follow_an_unfinished_last_line_at_once(bare_device):
    bare_device.write_settings("LampCount=1")
    bare_device.start_daemon(**unreadable(bare_device, times=1))
    assert SETTINGS.read_bytes() == b"LampCount=1" + DEFAULTS_DISABLED


def test_settings_that_stay_unreadable_are_reported_on_both_outputs(bare_device):
    bare_device.write_settings("LampCount=1\n")
    daemon = bare_device.start_daemon(**unreadable(bare_device))
    messages = NOT_FOUND + CANNOT_OPEN.format("Permission denied")
    assert messages in text_of(LOG)
    assert messages in daemon.output()


def test_settings_that_stay_unreadable_leave_the_store_empty_at_a_start(bare_device):
    bare_device.write_settings("LampCount=1\n")
    daemon = bare_device.start_daemon(**unreadable(bare_device))
    assert not HEX_MIRROR.exists()
    assert not ASC_MIRROR.exists()
    assert EVENT_LIST.read_bytes() == b""
    assert daemon.reloads() == 1


def test_settings_that_stay_unreadable_keep_what_was_read_before(device):
    device.write_settings("LampCount=1\n")
    daemon = device.start_daemon(**unreadable(device, after=1))
    daemon.wait_for_supervision()
    HEX_MIRROR.unlink()
    EVENT_LIST.unlink()
    device.replace_settings("BuzzerCount=1\n")
    daemon.wait_for_output(re.escape(CANNOT_OPEN.format("Permission denied")))
    wait_until(lambda: text_of(EVENT_LIST) == "Lamp;Lamp;0::0;Delay=0;\n", "the old list is built again")
    assert not HEX_MIRROR.exists()


def test_settings_that_can_be_read_again_are_read(device):
    device.write_settings("LampCount=1\n")
    # The start reads once; the reload fails twice; the reload for the appended text succeeds.
    daemon = device.start_daemon(**unreadable(device, after=1, times=2))
    daemon.wait_for_supervision()
    device.replace_settings("BuzzerCount=1\n")
    wait_until(lambda: text_of(EVENT_LIST) == "Buzzer;Buzzer;0::0;Delay=0;\n", "the new list is built")
    assert HEX_MIRROR.read_bytes() == b"BuzzerCount=1\n" + DEFAULTS_ENABLED


def test_a_folder_that_is_missing_is_reported(bare_device):
    bare_device.write_settings("not a folder", SETTINGS.parent)
    daemon = bare_device.start_daemon()
    assert NOT_FOUND + CANNOT_OPEN.format("Not a directory") in daemon.output()
    assert request(b"Lamp") == b"Event Disabled, skip Lamp"


# Lines.


def test_lines_without_an_equals_sign_are_skipped(bare_device):
    settings = "# a comment\n\nPowerOnCount\nA=1\n \nthe end\n"
    assert read_back(bare_device, settings) == b"A=1\n"


def test_a_line_that_looks_like_a_comment_is_an_entry(bare_device):
    assert read_back(bare_device, "#PowerOnCount=1\n;A=2\n") == b"#PowerOnCount=1\n;A=2\n"


def test_the_first_equals_sign_ends_the_key(bare_device):
    assert read_back(bare_device, "PowerOnCount=3=4\n") == b"PowerOnCount=3=4\n"
    assert EVENT_LIST.read_bytes() == b"PowerOn;PowerOn;0::0;1::0;2::0;Delay=0;\n"


def test_a_blank_before_the_key_belongs_to_it(bare_device):
    assert read_back(bare_device, " PowerOnCount=1\nPowerOnDelay=5\n") == b" PowerOnCount=1\nPowerOnDelay=5\n"
    assert EVENT_LIST.read_bytes() == b" PowerOn; PowerOn;0::0;Delay=0;\n"


def test_blanks_around_the_equals_sign_are_kept(bare_device):
    settings = "PowerOnCount = 1 \n\tA\t=\t\n"
    assert read_back(bare_device, settings) == settings.encode()


def test_a_carriage_return_stays_in_the_value(bare_device):
    assert read_back(bare_device, "PowerOnCount=3\r\nPowerOnXMLfield=Boot\r\n") == (
        b"PowerOnCount=3\r\nPowerOnXMLfield=Boot\r\n"
    )
    assert EVENT_LIST.read_bytes() == b"PowerOn;Boot\r;0::0;1::0;2::0;Delay=0;\n"


def test_a_last_line_without_a_line_feed_is_read(bare_device):
    assert read_back(bare_device, "A=1\nPowerOnCount=2") == b"A=1\nPowerOnCount=2\n"


def test_a_last_line_without_a_value_has_an_empty_one(bare_device):
    assert read_back(bare_device, "A=1\nPowerOnCount=") == b"A=1\nPowerOnCount=\n"


def test_an_empty_key_is_an_entry(bare_device):
    assert read_back(bare_device, "=x\n=\n") == b"=x\n=\n"


def test_unknown_keys_are_kept_in_their_place(bare_device):
    settings = "Zebra=1\nPowerOnCount=1\nalpha=2\nZebra=3\n"
    assert read_back(bare_device, settings) == settings.encode()


def test_values_that_are_not_ascii_are_kept(bare_device):
    assert read_back(bare_device, b"A=\x80\xff\xc3\xa9\n") == b"A=\x80\xff\xc3\xa9\n"


def test_a_line_of_2047_characters_is_whole(bare_device):
    line = b"A=" + b"x" * 2045
    assert read_back(bare_device, line + b"\nB=1\n") == line + b"\nB=1\n"


def test_what_goes_beyond_2047_characters_is_a_line_of_its_own(bare_device):
    settings = b"A=" + b"x" * 2045 + b"yyy\nB=1\n"
    assert read_back(bare_device, settings) == b"A=" + b"x" * 2045 + b"\nB=1\n"


def test_each_piece_of_a_long_line_is_split_at_its_own_equals_sign(bare_device):
    settings = b"A=" + b"x" * 2045 + b"B=" + b"y" * 2045 + b"C=z=\n"
    assert read_back(bare_device, settings) == (
        b"A=" + b"x" * 2045 + b"\n" + b"B=" + b"y" * 2045 + b"\n" + b"C=z=\n"
    )


def test_a_long_key_is_cut_from_its_value(bare_device):
    settings = b"k" * 2047 + b"=1\nB=2\n"
    assert read_back(bare_device, settings) == b"=1\nB=2\n"


def test_a_zero_byte_ends_the_line(bare_device):
    assert read_back(bare_device, b"A=1\0 2\nB=3\n") == b"A=1\nB=3\n"


def test_a_zero_byte_before_the_equals_sign_leaves_no_entry(bare_device):
    assert read_back(bare_device, b"A\0=1\nB=3\n\0\n\0C=4\nD=5\n") == b"B=3\nD=5\n"


def test_a_zero_byte_ends_its_own_piece_of_a_long_line_only(bare_device):
    settings = b"A=1\0" + b"x" * 2043 + b"B=2\nC=3\n"
    assert read_back(bare_device, settings) == b"A=1\nB=2\nC=3\n"


# Keys.


def test_the_first_field_of_the_vocabulary_splits_the_key(bare_device):
    bare_device.write_settings(
        "PowerOnDataCount=1\n"  # Count, although Data stands first in the key
        "MyIPCount=1\n"
        "MyIPDelay=7\n"  # Delay comes before IP in the vocabulary
        "HDMIPlugCount=1\n"
        "HDMIPlugData0=41\n"  # IP comes before Data and stands inside the name
        "countCount=1\n"  # the lower-case word is no field
        "CountCount=1\n"  # only the first occurrence counts, and it stands at 0
        "ProtocolPortCount=1\n"
        "PortalCount=1\n"
        "PortalData0=41\n"  # Port stands at 0
    )
    bare_device.start_daemon()
    assert EVENT_LIST.read_bytes() == (
        b"PowerOnData;PowerOnData;0::0;Delay=0;\n"
        b"MyIP;MyIP;0::0;Delay=7;\n"
        b"HDMIPlug;HDMIPlug;0::0;Delay=0;\n"
        b"count;count;0::0;Delay=0;\n"
        b"ProtocolPort;ProtocolPort;0::0;Delay=0;\n"
        b"Portal;Portal;0:A:0;Delay=0;\n"
    )


def test_a_field_word_at_the_beginning_of_the_key_is_passed_over(device):
    # ProtocolProtocol0 holds no other field, so the step gets no protocol.
    device.write_settings(
        "ProtocolCount=1\nProtocolIP0=192.0.2.1\nProtocolPort0=5\nProtocolProtocol0=UDP\n"
        "ProtocolData0=6F6E\n"
    )
    device.start_daemon()
    assert request(b"Protocol") == b"Protocol\n"
    wait_until(lambda: text_of(EVENT_LOG).endswith("  192.0.2.1:5  on\n"), "the step is logged")


def test_fields_are_case_sensitive(bare_device):
    bare_device.write_settings("LampCOUNT=1\nLampcount=1\nBuzzerCount=1\nBuzzerdelay=5\n")
    bare_device.start_daemon()
    assert EVENT_LIST.read_bytes() == b"Buzzer;Buzzer;0::0;Delay=0;\n"


def test_keys_come_back_as_they_were_read(bare_device):
    settings = (
        "PowerOnData1=\nDVIConnectedIP2=a\nEnableEvents=b\nDataEncode=c\nGenericEventsCount=0\n"
        "XMLfield=d\nProtocolPort=e\nPortalDatum=f\nCountCount=g\nHDMIPlugPower=h\nPowerOnCountX=0\n"
    )
    assert read_back(bare_device, settings) == settings.encode()


# What the settings do not decide.


def test_enable_events_in_the_file_does_not_enable(bare_device):
    bare_device.write_settings("EnableEvents=true\n")
    bare_device.start_daemon()
    assert request(b"Lamp") == b"Event Disabled, skip Lamp"


def test_enable_events_in_the_file_does_not_disable(bare_device):
    bare_device.enable()
    bare_device.write_settings("EnableEvents=false\n")
    bare_device.start_daemon()
    assert request(b"Lamp") == b"Lamp\n"


def test_another_data_encoding_changes_nothing(bare_device):
    bare_device.write_settings("DataEncode=ASCII\nLampCount=1\nLampData0=4142\n")
    bare_device.start_daemon()
    assert EVENT_LIST.read_bytes() == b"Lamp;Lamp;0:AB:0;Delay=0;\n"
    assert ASC_MIRROR.read_bytes() == b"DataEncode=ASCII\nLampCount=1\nLampData0=AB\n"


def test_the_generic_events_file_is_not_read(bare_device):
    bare_device.write_settings("LampCount=1\n", SETTINGS.with_name("genericEvents.txt"))
    bare_device.write_settings("")
    bare_device.start_daemon()
    assert EVENT_LIST.read_bytes() == b""


def test_the_test_settings_are_not_read_or_made(bare_device):
    bare_device.start_daemon()
    assert sorted(path.name for path in SETTINGS.parent.iterdir()) == ["config", "ruvo.txt", "tmp"]


def test_each_reading_replaces_what_was_read_before(device):
    device.write_settings(event("Lamp", ("192.0.2.1", 9, "UDP", b"on")))
    daemon = device.start_daemon()
    device.change_settings(daemon, "BuzzerCount=1\n")
    assert HEX_MIRROR.read_bytes() == b"BuzzerCount=1\n"
    wait_until(lambda: text_of(EVENT_LIST) == "Buzzer;Buzzer;0::0;Delay=0;\n", "the new list is built")


def test_the_defaults_are_not_written_again_for_a_touch(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    touch()
    daemon.wait_for_reloads(2)
    assert SETTINGS.read_bytes() == DEFAULTS_ENABLED
