import pytest

from event_list import Step
from executor import choose_sender, disabled_line, due_times, port_number, record_action, sent_line
from executor import skip_line, slot_data, slot_ip, step_action

MINUTE = 60000000000


@pytest.mark.parametrize("created, due, has_run, now, action", [
    (1, 1, 0, 1, "run"),
    (0, 1, 0, 1, "invalid"),
    (1, 0, 0, 1, "invalid"),
    (0, 0, 1, MINUTE * 2, "invalid"),
    (1, 1, 0, 1 + MINUTE, "run"),
    (1, 1, 0, 2 + MINUTE, "stale"),
    (1, 1 + 2 * MINUTE, 0, 2 + MINUTE, "stale"),
    (1, 1, 1, 2 + MINUTE, "stale"),
    (1, 1, 1, 5, "had_run"),
    (1, 9, 1, 5, "had_run"),
    (1, 1, 2, 5, "run"),
    (1, 6, 0, 5, "keep"),
    (1, 5, 0, 5, "run"),
    (6, 3, 0, 5, "keep"),
    (5, -3, 0, 5, "run"),
])
def test_what_happens_to_a_record(created, due, has_run, now, action):
    assert record_action(created, due, has_run, now) == action


@pytest.mark.parametrize("name, test, window_over, enable, action", [
    (b"DVIConnected", 0, 0, 1, "power_on_skip"),
    (b"DVIConnected", 0, 0, 0, "power_on_skip"),
    (b"dvidisCONNECTED", 0, 0, 1, "power_on_skip"),
    (b"DVIConnected", 1, 0, 1, "send"),
    (b"DVIConnected", 1, 0, 0, "send"),
    (b"DVIConnected", 0, 1, 1, "send"),
    (b"DVIConnected", 0, 1, 0, "disabled_skip"),
    (b"DVIConnectedX", 0, 0, 1, "send"),
    (b"PowerOn", 0, 0, 1, "send"),
    (b"PowerOn", 0, 0, 0, "disabled_skip"),
    (b"PowerOn", 1, 1, 0, "send"),
    (b"PowerOn", 0, 1, 0, "disabled_skip"),
])
def test_what_happens_to_a_step(name, test, window_over, enable, action):
    assert step_action(name, test, window_over, enable) == action


@pytest.mark.parametrize("protocol, sender", [
    (b"TCP", "tcp"),
    (b"UDP", "udp"),
    (b"TCPUDP", "tcp"),
    (b"UDP,TCP", "tcp"),
    (b"StatusTCP", "tcp_status"),
    (b"UDPStatus", "udp_status"),
    (b"UDPTCPStatus", "tcp_status"),
    (b"Status", "none"),
    (b"tcp", "none"),
    (b"udp", "none"),
    (b"statusTCP", "tcp"),
    (b"", "none"),
    (b" UDP\r", "udp"),
])
def test_the_words_of_a_protocol_choose_the_sender(protocol, sender):
    assert choose_sender(protocol) == sender


@pytest.mark.parametrize("text, port", [
    (b"80", 80), (b" 80x", 80), (b"", 0), (b"x", 0), (b"-1", -1), (b"65616", 65616), (b"4294967376", 80),
    (b"2147483648", -2147483648), (b"9223372036854775808", -1),
])
def test_a_port_is_cut_to_32_bits(text, port):
    assert port_number(text) == port


def test_a_slot_holds_63_characters_of_the_ip_and_103_of_the_data():
    assert slot_ip(b"1" * 64) == b"1" * 63
    assert slot_data("udp", b"x" * 200) == b"x" * 103
    assert slot_data("tcp", b"x" * 103) == b"x" * 103
    assert slot_data("tcp", b"ab\0cd") == b"ab"
    assert slot_data("tcp_status", b"ab") == b""


def test_the_event_log_lines():
    step = Step(ip=b"10.0.0.1", port=b" 80", protocol=b"UDP", data=b"ab%s\0cd")
    assert sent_line(step) == b"10.0.0.1: 80 UDP ab%s\n"
    assert skip_line(step, 90) == b"skip uptime=90,10.0.0.1: 80 UDP ab%s\n"
    assert disabled_line(step, -1) == b"10.0.0.1: 80 UDP ab%s, disabled uptime=-1\n"


@pytest.mark.parametrize("delays, due", [
    ([], []),
    ([0, 0, -5], [0, 0, 0]),
    ([100, 100, 100], [100, 100100, 200100]),
    ([500, 0, 500, 700], [500, 0, 100500, 700]),
])
def test_steps_of_the_same_later_delay_go_100_us_apart(delays, due):
    assert due_times(delays) == due
