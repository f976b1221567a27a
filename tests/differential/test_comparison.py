"""What the comparison notices, on sends and arrivals written by hand."""

from comparison import Arrival, Expected, compare, compare_event_log, match
from prediction import Execution, Given, Prediction, Step, Trigger

MS = 1_000_000


def send(*alternatives, begin_ms=0, end_ms=370, due_ms=0.0, fetches_first=False):
    return Expected(
        label="b'Lamp': Lamp step 0", protocol="udp", to="10.1.2.3:5000",
        alternatives=frozenset(alternatives),
        begin_ns=begin_ms * MS, end_ns=end_ms * MS, due_ms=due_ms, step=0, execution=(0, 0),
        fetches_first=fetches_first,
    )


def arrival(data, time_ms=100, to="10.1.2.3:5000", protocol="udp"):
    return Arrival(time_ms * MS, protocol, to, data)


def kinds(expected, arrivals):
    differences = compare(expected, arrivals).differences
    return [str(difference).split(" ")[0].rstrip(":") for difference in differences]


def test_what_is_planned_and_arrives_is_no_difference():
    result = compare([send(b"on"), send(b"off")], [arrival(b"off"), arrival(b"on")])
    assert result.differences == []
    pairs = [(one.alternatives, came.data) for one, came in result.matched]
    assert pairs == [({b"on"}, b"on"), ({b"off"}, b"off")]


def test_any_reading_of_the_clock_will_do():
    assert kinds([send(b"10:00:00", b"10:00:01")], [arrival(b"10:00:01")]) == []


def test_a_planned_send_that_does_not_arrive_is_missing():
    assert kinds([send(b"on"), send(b"off")], [arrival(b"on")]) == ["MISSING"]


def test_an_arrival_more_is_not_planned():
    assert kinds([send(b"on")], [arrival(b"on"), arrival(b"on")]) == ["NOT"]


def test_one_byte_makes_a_difference():
    assert kinds([send(b"on\r")], [arrival(b"on\n")]) == ["MISSING", "NOT"]


def test_so_do_the_port_the_address_and_the_protocol():
    others = ({"to": "10.1.2.3:5001"}, {"to": "10.1.2.4:5000"}, {"protocol": "tcp"})
    for came in (arrival(b"on", **other) for other in others):
        assert kinds([send(b"on")], [came]) == ["MISSING", "NOT"]


def test_an_arrival_before_its_window_is_early():
    [difference] = compare([send(b"on", begin_ms=1000, end_ms=1270)], [arrival(b"on", 999)]).differences
    assert str(difference).startswith("EARLY by 1.0 ms")


def test_an_arrival_behind_its_window_is_late():
    [difference] = compare([send(b"on")], [arrival(b"on", 372)]).differences
    assert str(difference).startswith("LATE by 2.0 ms")


def test_a_window_s_ends_belong_to_it():
    assert kinds([send(b"on")], [arrival(b"on", 0)]) == []
    assert kinds([send(b"on")], [arrival(b"on", 370)]) == []


def test_equal_messages_are_paired_so_that_all_fit():
    early, late = send(b"on", begin_ms=0, end_ms=300), send(b"on", begin_ms=200, end_ms=600)
    for arrivals in ([arrival(b"on", 250), arrival(b"on", 500)], [arrival(b"on", 100), arrival(b"on", 250)]):
        assert len(match([late, early], arrivals)) == 2


def test_a_pairing_that_blocks_another_is_undone():
    # The first send could take either arrival; the second one has no choice.
    flexible, strict = send(b"1", b"2", end_ms=300), send(b"1", end_ms=400)
    assert len(match([flexible, strict], [arrival(b"1"), arrival(b"2")])) == 2


def test_steps_of_one_event_keep_their_distance():
    steps = [send(b"a", due_ms=0.0), send(b"b", due_ms=100.0, end_ms=470)]
    assert kinds(steps, [arrival(b"a", 50), arrival(b"b", 152)]) == []
    assert kinds(steps, [arrival(b"a", 50), arrival(b"b", 180)]) == ["UNEVEN"]
    assert kinds(steps, [arrival(b"a", 50), arrival(b"b", 120)]) == ["UNEVEN"]


def test_a_status_report_may_take_its_time():
    steps = [send(b"a"), send(b"b", fetches_first=True)]
    assert kinds(steps, [arrival(b"a", 50), arrival(b"b", 180)]) == []


def planned(*lines, outcome="runs"):
    steps = tuple(
        Step(
            number=number, outcome="sends", reason=None, protocol="udp", sends_report=False,
            to="10.1.2.3:5000", alternatives=frozenset([b"on"]), due_ms=0.0, earliest_ms=0.0, latest_ms=350.0,
            has_macros=False, is_cut=False, log_lines=frozenset([line]),
        )
        for number, line in enumerate(lines)
    )
    trigger = Trigger(b"Lamp\n", Given(None, None), 0, 0, b"Lamp\n", ("2026-01-01 00:00:00",), (1,))
    return Prediction(trigger, {}, (Execution("Lamp", outcome, steps),))


STAMP = b"2026-11-21 03:18:38.123  "


def test_the_event_log_holds_every_planned_line_and_no_other():
    one, two = b"10.1.2.3:5000 UDP on\n", b"10.1.2.3:5000 UDP on\nand more\n"
    text = STAMP + two + STAMP + one
    assert compare_event_log([planned(one, two)], text) == []
    assert "missing" in str(compare_event_log([planned(one, two, one)], text)[0])
    assert "no plan begins" in str(compare_event_log([planned(two)], text)[0])
    assert "no plan begins" in str(compare_event_log([planned(one, two, outcome="stale")], text)[0])


def test_a_skip_s_uptime_may_be_a_later_one():
    line = b"skip uptime=%d,10.1.2.3:5000 UDP on\n"
    assert compare_event_log([planned(line % 30)], STAMP + line % 32) == []
