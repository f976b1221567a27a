import json

import pytest

from .scenario import Event, Scenario, Send

ITEMS = {f"item{i}": f"value {i}" for i in range(6)}
EVENT = Event("Lamp", 2, (
    Send("UDP", 5001, b"on\\r\\n", 100),
    Send("TCP", 5002, b"it's \xff {{time}}", 50, ip="10.1.2.3"),
))
SCENARIO = Scenario((EVENT,), ITEMS)


def test_delays_add_up():
    assert EVENT.due_ms() == [100, 150]


def test_ports_are_those_of_a_protocol():
    assert (SCENARIO.ports("UDP"), SCENARIO.ports("TCP")) == ([5001], [5002])


def test_the_settings_file_has_all_steps_in_rising_order(tmp_path):
    SCENARIO.write_settings(tmp_path / "made" / "ruvo.txt")
    assert (tmp_path / "made" / "ruvo.txt").read_text() == (
        "LampCount=2\nLampDelay=2\n"
        "LampIP0=127.0.0.1\nLampPort0=5001\nLampProtocol0=UDP\nLampData0=6F6E5C725C6E\nLampDelay0=100\n"
        "LampIP1=10.1.2.3\nLampPort1=5002\nLampProtocol1=TCP\n"
        "LampData1=6974277320FF207B7B74696D657D7D\nLampDelay1=50\n"
    )


def test_json_has_bytes_as_characters_and_escapes_as_they_are(tmp_path):
    SCENARIO.write_json(tmp_path / "scenario.json")
    assert json.loads((tmp_path / "scenario.json").read_bytes()) == {
        "port": 2700,
        "status_port": 50001,
        "events": {"Lamp": {"delay_s": 2, "sends": [
            {"protocol": "UDP", "ip": "127.0.0.1", "port": 5001, "text": "on\\r\\n", "delay_ms": 100},
            {"protocol": "TCP", "ip": "10.1.2.3", "port": 5002, "text": "it's \xff {{time}}", "delay_ms": 50},
        ]}},
    }


def test_a_shell_gets_quoted_bytes_and_moments_after_the_trigger(tmp_path):
    SCENARIO.write_shell(tmp_path)
    assert (tmp_path / "Lamp").read_text() == (
        "send 2100 UDP 127.0.0.1 5001 $'on\\x5cr\\x5cn'\n"
        "send 2150 TCP 10.1.2.3 5002 $'it\\x27s \\xff {{time}}'\n"
    )


def test_items_are_a_line_each(tmp_path):
    SCENARIO.write_items(tmp_path / "items.txt")
    assert (tmp_path / "items.txt").read_text().splitlines()[:2] == ["item0:value 0", "item1:value 1"]


@pytest.mark.parametrize("events, items, reason", [
    ((), dict(list(ITEMS.items())[:5]), "the daemon takes a report of 5 for an incomplete one"),
    ((Event("MyPort", 0, (Send("UDP", 1, b""),)),), ITEMS, "a key would be split inside the name"),
    ((Event("A", 0, ()),), ITEMS, "without sends there is no event"),
    ((Event("A", 0, (Send("UDP", 1, b""),) * 129),), ITEMS, "more than 128 sends are cut"),
    ((Event("A", 0, (Send("udp", 1, b""),)),), ITEMS, "a protocol in small letters sends nothing"),
    ((Event("A", 0, (Send("UDP", 1, b"x" * 104),)),), ITEMS, "the 104th byte is not sent"),
    ((Event("A", 0, (Send("UDP", 1, b"a\0b"),)),), ITEMS, "a zero byte ends what is sent"),
])
def test_what_the_daemon_does_not_send_is_refused(events, items, reason):
    with pytest.raises(ValueError):
        Scenario(events, items)
