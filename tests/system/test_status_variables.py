"""The status variables: what of the service's reply is kept, and the file that shows it."""

import errno
import time

import pytest

from fault_orders import LIBRARY, CallOrders
from harness import STATE, VARIABLES, event, request, text_of, wait_until

SIX = [b"a:1", b"b:2", b"c:3", b"d:4", b"e:5", b"f:6"]
SIX_SHOWN = b"a=1\nb=2\nc=3\nd=4\ne=5\nf=6\n"
REFUSED = r"\[main:1959\] wait getStatus\.\.\.(\d+)\n"


def reply(*lines):
    return b"".join(line + b"\r" for line in lines)


def start_service(device, *lines, **options):
    """A status service whose reply is these lines, each ended by a carriage return."""
    return device.tcp_receiver(port=50001, reply=reply(*lines), **options)


def shown(device, *lines):
    """The variables file that a reply gives at start-up."""
    start_service(device, *lines)
    device.start_daemon().wait_for_supervision()
    return VARIABLES.read_bytes()


def trigger_until(condition, what):
    """Each trigger asks the service once; a busy machine may let one exchange run out of time."""

    def holds():
        assert request(b"Nothing") == b"Nothing\n"
        return condition()

    wait_until(holds, what)


@pytest.fixture
def device_with_six(bare_device):
    """An enabled device that supervises, with six variables from a service that the test may change."""
    bare_device.enable()
    bare_device.service = start_service(bare_device, *SIX)
    bare_device.receiver = bare_device.udp_receiver()
    bare_device.write_settings(
        event("Show", (bare_device.receiver.ip, bare_device.receiver.port, "UDP", b"{{a}}"))
    )
    bare_device.daemon = bare_device.start_daemon()
    bare_device.daemon.wait_for_supervision()
    return bare_device


def asked_again(device):
    """Triggers until the service has been asked after this moment, and the answer has been used."""
    before = len(device.service.arrivals)
    trigger_until(lambda: len(device.service.arrivals) > before, "the service is asked again")


# The request.


def test_the_service_is_asked_with_a_carriage_return(bare_device):
    service = start_service(bare_device, *SIX)
    bare_device.start_daemon()
    assert service.wait_for(1)[0].data == b"getStatus\r"


def test_the_shell_tools_are_called_as_they_must_be(bare_device):
    start_service(bare_device, *SIX)
    for tool in ("timeout", "tr"):
        bare_device.replace_tool(
            f"printf '{tool}' >> /tmp/device/{tool}.calls\n"
            f"printf ' <%s>' \"$@\" >> /tmp/device/{tool}.calls\n"
            f"exec /usr/bin/{tool} \"$@\"\n",
            tool,
        )
    bare_device.start_daemon().wait_for_supervision()
    assert text_of(STATE / "timeout.calls").startswith("timeout <0.1> <nc> <127.0.0.1> <50001>")
    assert text_of(STATE / "tr.calls").startswith("tr <\\r> <\\n>")


# The pairs.


def test_the_variables_stand_in_the_order_of_the_reply(bare_device):
    assert shown(bare_device, b"zebra:1", b"input:HDMI1", b"power:on", b"a:1", b"b:2", b"c:3") == (
        b"zebra=1\ninput=HDMI1\npower=on\na=1\nb=2\nc=3\n"
    )


def test_the_first_colon_ends_the_name(bare_device):
    assert shown(bare_device, b"a:b:c", *SIX[1:]) == b"a=b:c\nb=2\nc=3\nd=4\ne=5\nf=6\n"


def test_a_value_may_be_empty(bare_device):
    assert shown(bare_device, b"x:", *SIX[1:]) == b"x=\nb=2\nc=3\nd=4\ne=5\nf=6\n"


def test_a_name_may_be_empty(bare_device):
    assert shown(bare_device, b":v", *SIX[1:]) == b"=v\nb=2\nc=3\nd=4\ne=5\nf=6\n"


def test_blanks_are_kept(bare_device):
    assert shown(bare_device, b" name : value ", b"\tb\t:\t2\t", *SIX[2:]) == (
        b" name = value \n\tb\t=\t2\t\nc=3\nd=4\ne=5\nf=6\n"
    )


def test_names_that_occur_twice_are_both_kept(bare_device):
    assert shown(bare_device, b"a:1", b"a:2", *SIX[2:]) == b"a=1\na=2\nc=3\nd=4\ne=5\nf=6\n"


def test_lines_without_a_colon_are_ignored(bare_device):
    assert shown(bare_device, b"OK", b"", *SIX, b"end of report") == SIX_SHOWN


def test_line_feeds_end_lines_too(bare_device):
    bare_device.tcp_receiver(port=50001, reply=b"a:1\r\nb:2\r\nc:3\nd:4\n\re:5\rf:6\r\n")
    bare_device.start_daemon().wait_for_supervision()
    assert VARIABLES.read_bytes() == SIX_SHOWN


def test_a_last_line_needs_no_line_end(bare_device):
    bare_device.tcp_receiver(port=50001, reply=b"a:1\rb:2\rc:3\rd:4\re:5\rf:6")
    bare_device.start_daemon().wait_for_supervision()
    assert VARIABLES.read_bytes() == SIX_SHOWN


def test_a_line_of_2047_characters_is_whole(bare_device):
    assert shown(bare_device, b"n:" + b"v" * 2045, *SIX) == b"n=" + b"v" * 2045 + b"\n" + SIX_SHOWN


def test_what_goes_beyond_2047_characters_is_a_line_of_its_own(bare_device):
    line = b"n:" + b"v" * 2045 + b"more:w"
    assert shown(bare_device, line, *SIX) == b"n=" + b"v" * 2045 + b"\nmore=w\n" + SIX_SHOWN


def test_a_piece_without_a_colon_is_ignored(bare_device):
    assert shown(bare_device, b"n:" + b"v" * 3000, *SIX) == b"n=" + b"v" * 2045 + b"\n" + SIX_SHOWN


def test_many_variables_are_all_kept(bare_device):
    lines = [b"item%d:%d" % (i, i) for i in range(300)]
    expected = b"".join(b"item%d=%d\n" % (i, i) for i in range(300))
    assert shown(bare_device, *lines) == expected


# Replies that are too short.


def test_before_the_first_good_reply_the_file_is_empty(bare_device):
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(REFUSED)
    assert VARIABLES.read_bytes() == b""


def test_lines_without_a_colon_are_not_counted(bare_device):
    start_service(bare_device, *SIX[:5], b"no colon", b"none here either")
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(REFUSED, count=2)
    assert VARIABLES.read_bytes() == b""


def test_a_reply_of_five_keeps_the_previous_variables(device_with_six):
    device_with_six.service.reply = reply(b"a:9", b"b:9", b"c:9", b"d:9", b"e:9")
    asked_again(device_with_six)
    assert VARIABLES.read_bytes() == SIX_SHOWN


def test_a_reply_of_six_replaces_the_previous_variables(device_with_six):
    device_with_six.service.reply = reply(b"u:1", b"v:2", b"w:3", b"x:4", b"y:5", b"z:6")
    expected = b"u=1\nv=2\nw=3\nx=4\ny=5\nz=6\n"
    trigger_until(lambda: VARIABLES.read_bytes() == expected, "the new variables are shown")


def test_a_service_that_is_gone_keeps_the_previous_variables(device_with_six):
    device_with_six.service.close()
    VARIABLES.unlink()
    assert request(b"Nothing") == b"Nothing\n"
    assert VARIABLES.read_bytes() == SIX_SHOWN


def test_a_service_that_hangs_keeps_the_previous_variables(device_with_six):
    device_with_six.service.silent = True
    asked_s = time.monotonic()
    asked_again(device_with_six)
    assert time.monotonic() - asked_s >= 0.1
    assert VARIABLES.read_bytes() == SIX_SHOWN


def test_an_empty_reply_keeps_the_previous_variables(device_with_six):
    device_with_six.service.reply = b""
    asked_again(device_with_six)
    assert VARIABLES.read_bytes() == SIX_SHOWN


def test_a_pipeline_that_cannot_be_started_is_an_empty_reply(bare_device):
    start_service(bare_device, *SIX)
    CallOrders(bare_device).fail("popen", errno.EAGAIN, times=2, only="nc ")
    daemon = bare_device.start_daemon(preload=[LIBRARY])
    daemon.wait_for_output(REFUSED, count=2)
    daemon.wait_for_supervision()
    assert VARIABLES.read_bytes() == SIX_SHOWN


# The file.


def test_every_request_writes_the_file(device_with_six):
    VARIABLES.unlink()
    assert request(b"Nothing") == b"Nothing\n"
    assert VARIABLES.read_bytes() == SIX_SHOWN


def test_the_file_is_written_in_place(device_with_six):
    before = VARIABLES.stat().st_ino
    assert request(b"Nothing") == b"Nothing\n"
    assert VARIABLES.stat().st_ino == before


def test_a_file_that_cannot_be_written_is_passed_over_in_silence(device_with_six):
    VARIABLES.unlink()
    VARIABLES.mkdir()
    before = device_with_six.daemon.output()
    assert request(b"Nothing\n") == b"Nothing\n"
    assert device_with_six.daemon.output()[len(before) :] == (
        "[handle_tcp_event:1434] Recv[8]:key=Nothing\n,value=Nothing\n"
        "[handle_tcp_event:1461] send() Nothing\n\n"
    )


# The variables in use.


def test_a_trigger_uses_the_variables_of_its_own_moment(device_with_six):
    device = device_with_six
    device.service.reply = reply(b"a:new", *SIX[1:])

    def newest():
        count = len(device.receiver.arrivals)
        assert request(b"Show\n") == b"Show\n"
        return device.receiver.wait_for(count + 1)[count].data

    wait_until(lambda: newest() == b"new", "a trigger shows the new value")


def test_variables_that_are_kept_are_still_used(device_with_six):
    device = device_with_six
    device.service.reply = reply(b"a:9")
    asked_again(device)
    assert request(b"Show\n") == b"Show\n"
    assert device.receiver.wait_for(1)[0].data == b"1"


def test_while_disabled_a_trigger_does_not_ask_the_service(bare_device):
    service = start_service(bare_device, *SIX)
    bare_device.start_daemon().wait_for_supervision()
    asked = len(service.arrivals)
    assert request(b"Nothing") == b"Event Disabled, skip Nothing"
    assert len(service.arrivals) == asked
