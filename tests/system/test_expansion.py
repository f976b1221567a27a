"""Macros and escapes in event data, told by what arrives."""

import pytest

from harness import Device, event, request

# The names and values hold whatever a status line can hold, and clash with the macros.
ITEMS = (
    rb"input:HDMI1",
    rb"Time:over ruled",
    rb"uptime:never",
    rb":no name",
    rb"a{{b:nested",
    rb"lines:1\n2\r3\t4",
    rb"n:n",
    rb"macro:{{input}}",
    rb"open:{{",
    rb"twice:first",
    rb"twice:second",
    rb"empty:",
    rb" blank : kept ",
    rb"a:b:c",
    rb"date :wide",
    rb"esc\n:found",
)

ROWS = [
    (b"plain text", b"plain text", "no macro, no escape"),
    (b"{{input}}", b"HDMI1", "a status variable"),
    (b"in={{input}};", b"in=HDMI1;", "text around a macro"),
    (b"{{input}}{{input}}", b"HDMI1HDMI1", "two adjacent macros"),
    (b"{{input}}-{{n}}", b"HDMI1-n", "two macros"),
    (b"<{{INPUT}}>", b"<>", "a status variable is case-sensitive"),
    (b"<{{ input}}>", b"<>", "blanks in the braces count"),
    (b"<{{ blank }}>", b"< kept >", "a name and a value with blanks"),
    (b"<{{blank}}>", b"<>", "a name with blanks is not found without them"),
    (b"{{twice}}", b"first", "the first of two values"),
    (b"<{{empty}}>", b"<>", "an empty value"),
    (b"{{a}}", b"b:c", "a value with a colon"),
    (b"<{{nothing}}>", b"<>", "an unknown macro vanishes, braces included"),
    (b"{{}}", b"no name", "empty braces are the variable without a name"),
    (b"{{uptime}}", b"never", "a status variable wins over a macro"),
    (b"{{Time}}", b"over ruled", "a status variable wins over a macro in its own case"),
    (b"{{date }}", b"wide", "a variable whose name only begins like a macro"),
    (b"{{a{{b}}", b"nested", "the first closing braces close; there is no nesting"),
    (b"a{{b", b"a{{b", "opening braces that are never closed"),
    (b"a}}b", b"a}}b", "closing braces that were never opened"),
    (b"}}{{input}}", b"}}HDMI1", "closing braces before a macro"),
    (b"{{input}}}}", b"HDMI1}}", "closing braces behind a macro"),
    (b"{{input}}{{", b"HDMI1{{", "opening braces behind a macro"),
    (b"{{{input}}", b"", "the first two of three braces open; the name begins with a brace"),
    (b"{{input}}}", b"HDMI1}", "a brace behind a macro"),
    (b"{input}", b"{input}", "single braces"),
    (b"{{input}", b"{{input}", "a single closing brace does not close"),
    (b"{{}", b"{{}", "braces that share no characters"),
    (b"{{}}}}", b"no name}}", "the first two closing braces close"),
    (rb"a\nb", b"a\nb", "a line feed"),
    (rb"a\rb", b"a\rb", "a carriage return"),
    (rb"a\tb", b"a\tb", "a tab"),
    (rb"\r\n", b"\r\n", "two escapes"),
    (rb"\n\n\r\t\n", b"\n\n\r\t\n", "many escapes"),
    (rb"\x41\0\\ \N", rb"\x41\0\\ \N", "no other escapes exist"),
    (rb"\\n", b"\\\n", "a backslash does not protect another one"),
    (b"ends in \\", b"ends in \\", "a lone backslash"),
    (b"{{lines}}", b"1\n2\r3\t4", "escapes of a value"),
    (b"\\{{n}}", b"\n", "a macro may complete an escape"),
    (b"{{macro}}", b"{{input}}", "a value is not expanded again"),
    (b"{{open}}input}}", b"{{input}}", "a value opens no macro"),
    (rb"{{esc\n}}", b"found", "escapes come after macros"),
    (b"{{input\0}}", b"", "a zero byte counts for a status variable"),
    (b"\xff{{input}}\x80", b"\xffHDMI1\x80", "bytes that are not text"),
    (b"in\0put", b"in", "what is sent ends at the first zero byte"),
]


@pytest.fixture(scope="module")
def arrived():
    """What one event with a step for each row sends, by the row's number."""
    device = Device()
    device.enable()
    device.tcp_receiver(port=50001, reply=b"".join(item + b"\r" for item in ITEMS))
    receivers = [device.udp_receiver() for _ in ROWS]
    steps = [(it.ip, it.port, "UDP", row[0]) for it, row in zip(receivers, ROWS)]
    device.write_settings(event("All", *steps))
    device.start_daemon().wait_for_supervision()
    assert request(b"All\n") == b"All\n"
    yield [it.wait_for(1)[0].data for it in receivers]
    device.end()


@pytest.mark.parametrize("number", range(len(ROWS)), ids=[row[2] for row in ROWS])
def test_data_is_expanded(arrived, number):
    assert arrived[number] == ROWS[number][1]
