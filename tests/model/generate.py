"""Random requests for the line protocol, weighted to the inputs that are easy to get wrong.

Every maker takes a random.Random and returns one request; the same seed gives the same requests.
"""

MINUTE_NS = 60000000000
LONG_MAX = 2 ** 63 - 1
LONG_MIN = -2 ** 63

NAMES = (b"PowerOn", b"DVIConnected", b"DVIDisconnected", b"GenericEvents", b"Lamp", b"Lift")
ODD_NAMES = (b"", b"poweron", b"DVICONNECTED", b"HDMIPlug", b"MyIP", b"Portal", b"PowerOnData", b"count",
             b" PowerOn", b"PowerOn ", b"\tLamp", b"\xc9v\xff", b"#Lamp", b"XMLfield", b"Data", b"P:;O")
FIELDS = (b"Count", b"XMLfield", b"Protocol", b"Delay", b"IP", b"Port", b"Data")
ODD_FIELDS = (b"count", b"DATA", b"Xmlfield", b"Ip", b"Delays", b"Dat", b"Enable")

GOOD_INDICES = (b"0", b"0", b"0", b"1", b"1", b"1", b"2", b"2", b"3", b"4")
ODD_INDICES = (b"007", b" 1", b"+2", b"1x", b"\t2", b"127", b"128", b"129", b"-1", b"4294967296",
               b"4294967297", b"18446744073709551615", b"-18446744073709551615", b"-18446744073709551614",
               b"1 2", b"0x1")
NO_NUMBER_INDICES = (b"x", b"-", b" ", b"+-1", b"lugData", b"\xb2", b"- 1")
TOO_LARGE_INDICES = (b"18446744073709551616", b"-18446744073709551616", b"99999999999999999999999")

COUNTS = (b"1", b"2", b"3", b"3", b"4", b"5")
ODD_COUNTS = (b"0", b"-1", b"", b"abc", b"3abc", b" 3", b"+2", b"03", b"3\r", b"3=4", b"0x3", b"127", b"128",
              b"129", b"300", b"2147483647", b"2147483648", b"4294967295", b"4294967296", b"4294967297",
              b"4294967299", b"9223372036854775807", b"9223372036854775808", b"-9223372036854775808",
              b"-9223372036854775809", b"18446744073709551617", b"1e2", b"\v2", b"- 2")
DELAYS = (b"0", b"1", b"100", b"200", b"300", b"500", b"1000")
ODD_DELAYS = (b"", b"x", b"-1", b"-500", b" 7", b"7ms", b"1.5", b"100\r", b"2147483647", b"2147483648",
              b"4294967295", b"4294967296", b"4294967301", b"-2147483648", b"-2147483649",
              b"9223372036854775807", b"9223372036854775808", b"-9223372036854775809",
              b"99999999999999999999", b"0x10", b"010", b"\f9")
PROTOCOLS = (b"UDP", b"TCP")
ODD_PROTOCOLS = (b"", b"udp", b"tcp", b"Tcp", b"StatusUDP", b"UDPStatus", b"TCPStatus", b"StatusTCP",
                 b"Status", b"getStatusTCP", b"TCPUDP", b"UDPTCP", b"UDP,TCP,Status", b"TCP\r", b" UDP",
                 b"STATUSTCP", b"statusUDP", b"TC P", b"UD", b"StatusTC", b"StatusStatus", b"TCP\xff",
                 b"UTCP", b"TUDP", b"%sTCP")
IPS = (b"10.0.0.1", b"192.168.1.20", b"127.0.0.1")
ODD_IPS = (b"", b" 10.0.0.1", b"300.1.1.1", b"host.example", b"10.0.0.1\r", b"%d.%s", b"::1", b"\xe9")
PORTS = (b"80", b"5000", b"65535")
ODD_PORTS = (b"", b"0", b"-1", b" 80", b"80x", b"x80", b"0x50", b"080", b"+5", b"80\r", b"65536",
             b"2147483648", b"4294967376", b"4294967295", b"9223372036854775808", b"-9223372036854775809",
             b"99999999999999999999", b"\t7", b"- 7")
XML_FIELDS = (b"Lamp", b"Lift", b"PowerOn", b"DVIConnected", b"Scene")
ODD_XML_FIELDS = (b"", b" Lamp", b"Lamp\r", b"a=b")
ODD_VALUES = (b"", b" ", b"=", b"==x", b"1=2", b"a\r", b"\xe4\xff", b" 1 ", b"%s%n", b"true", b"1;2")
KEYS_WITHOUT_EVENT = (b"EnableEvents", b"FastCableDetectEvents", b"DataEncode", b"GenericEventsCount",
                      b"", b" ")
LINES_WITHOUT_EQUALS = (b"", b" ", b"# comment", b"PowerOnCount", b"\r", b"[PowerOn]", b"\xff\xfe",
                        b"PowerOnCount:3")
STEP_FIELDS = (b"Protocol", b"IP", b"Port", b"Data", b"Data", b"Delay", b"Delay", b"XMLfield", b"Count")
HEX_TEXTS = (b"48656C6C6F", b"414243", b"7B7B74696D657D7D", b"5C725C6E", b"00", b"ff", b"aBcDeF")
HEX_PIECES = (b"41", b"4a", b"FF", b"7B", b"7D", b"5C", b"6e", b"00", b"0A", b"3A", b"G1", b"1G", b" F",
              b"F ", b"-1", b"-F", b"+7", b"0x", b"0X", b"x1", b"  ", b"--", b"zz", b"\t9", b"=4",
              b"\xff\xfe", b"1\r")


def one_in(rng, n):
    return rng.randrange(n) == 0


def mostly(rng, usual, odd, n=4):
    """One of the odd ones in one of n cases."""
    return rng.choice(odd) if one_in(rng, n) else rng.choice(usual)


def random_bytes(rng, length):
    return bytes(rng.randrange(256) for _ in range(length))


def insert_at(text, position, piece):
    return text[:position] + piece + text[position:]


# Settings files

def hex_text(rng):
    if one_in(rng, 3):
        return rng.choice(HEX_TEXTS)
    text = b"".join(rng.choice(HEX_PIECES) for _ in range(rng.randrange(6)))
    if one_in(rng, 4):
        text += rng.choice((b"4", b"f", b" ", b"-", b"g"))
    return text


def xml_field(rng):
    return mostly(rng, XML_FIELDS, ODD_XML_FIELDS)


def odd_value(rng):
    return rng.choice(ODD_VALUES)


def value_of(rng, field):
    if one_in(rng, 25):
        return odd_value(rng)
    if field == b"Count":
        return mostly(rng, COUNTS, ODD_COUNTS, 3)
    if field == b"XMLfield":
        return xml_field(rng)
    if field == b"Protocol":
        return mostly(rng, PROTOCOLS, ODD_PROTOCOLS)
    if field == b"Delay":
        return mostly(rng, DELAYS, ODD_DELAYS, 3)
    if field == b"IP":
        return mostly(rng, IPS, ODD_IPS)
    if field == b"Port":
        return mostly(rng, PORTS, ODD_PORTS)
    if field == b"Data":
        return hex_text(rng)
    return odd_value(rng)


def any_index(rng):
    if one_in(rng, 60):
        return rng.choice(NO_NUMBER_INDICES)
    if one_in(rng, 80):
        return rng.choice(TOO_LARGE_INDICES)
    return mostly(rng, GOOD_INDICES, ODD_INDICES, 5)


def key_with_two_fields(rng):
    """The order of the field list and the first occurrence decide such a key."""
    name = mostly(rng, NAMES, ODD_NAMES)
    first = rng.choice(FIELDS)
    second = rng.choice(FIELDS)
    return name + first + rng.choice((b"", b"1", b"x", b"My")) + second + rng.choice((b"", b"", b"0", b"2"))


def key_with_field_in_front(rng):
    """A field at position 0 is passed over for good."""
    field = rng.choice(FIELDS)
    other = rng.choice(FIELDS)
    return field + rng.choice((b"", b"1", field, other, b"Lamp" + other, b"al" + field))


def odd_key(rng):
    choice = rng.randrange(5)
    if choice == 0:
        return key_with_two_fields(rng)
    if choice == 1:
        return key_with_field_in_front(rng)
    if choice == 2:
        return rng.choice(NAMES) + rng.choice(ODD_FIELDS) + rng.choice((b"", b"1"))
    if choice == 3:
        return rng.choice(ODD_NAMES) + rng.choice(FIELDS) + rng.choice((b"", b"0", b"1"))
    return rng.choice(KEYS_WITHOUT_EVENT)


def odd_key_line(rng):
    return odd_key(rng) + b"=" + value_of(rng, rng.choice(FIELDS))


def line_without_equals(rng):
    return rng.choice(LINES_WITHOUT_EQUALS)


def count_line(rng, name):
    return name + b"Count=" + value_of(rng, b"Count")


def event_level_line(rng, name):
    field = rng.choice((b"XMLfield", b"XMLfield", b"Delay", b"Delay", b"Count", b"Data", b"IP"))
    return name + field + b"=" + value_of(rng, field)


def step_line(rng, name):
    field = rng.choice(STEP_FIELDS)
    return name + field + any_index(rng) + b"=" + value_of(rng, field)


def delay_lines(rng, name):
    """One step delay after the other, in rising or any order."""
    indices = list(range(rng.randrange(1, 6)))
    if one_in(rng, 2):
        rng.shuffle(indices)
    return [name + b"Delay%d=" % i + value_of(rng, b"Delay") for i in indices]


def xml_field_and_delay_lines(rng, name):
    """Which of the two comes first decides the trigger name of a built-in event."""
    lines = [name + b"XMLfield=" + xml_field(rng), name + b"Delay=" + value_of(rng, b"Delay")]
    if one_in(rng, 2):
        lines.reverse()
    return lines


def event_lines(rng):
    name = mostly(rng, NAMES, ODD_NAMES, 6)
    lines = [count_line(rng, name)]
    if one_in(rng, 5):
        lines.append(count_line(rng, name))
    for _ in range(rng.randrange(3)):
        lines.append(event_level_line(rng, name))
    if one_in(rng, 3):
        lines += xml_field_and_delay_lines(rng, name)
    for _ in range(rng.randrange(8)):
        lines.append(step_line(rng, name))
    if one_in(rng, 2):
        lines += delay_lines(rng, name)
    if one_in(rng, 3):
        rng.shuffle(lines)
    return lines


def line_of_length(rng, length):
    """A line of exactly this many bytes without its line feed."""
    start = rng.choice((b"LampData0=", b"PowerOnXMLfield=", b"LampIP1=", b"nothing", b"="))
    tail = rng.choice((b"", b"=", b"PowerOnCount=3", b"LampCount=2", b"4"))
    return start + b"4" * (length - len(start) - len(tail)) + tail


def key_of_length(rng, length):
    """The equals sign itself lies at this position."""
    field = rng.choice((b"Count", b"XMLfield"))
    return b"L" * (length - len(field)) + field + b"=" + rng.choice((b"", b"2", b"2=3"))


def long_line(rng):
    length = rng.choice((2044, 2045, 2046, 2047, 2048, 2049, 2050, 4093, 4094, 4095, 4096))
    if one_in(rng, 3):
        return key_of_length(rng, length)
    return line_of_length(rng, length)


def with_zero_byte(rng, text):
    return insert_at(text, rng.randrange(len(text) + 1), b"\0")


def line_end(rng):
    if one_in(rng, 12):
        return rng.choice((b"\r\n", b"\r\n", b"\r", b"\n\n", b"\n\r", b"\0\n", b" \n"))
    return b"\n"


def settings_file(rng):
    lines = []
    for _ in range(rng.choice((0, 1, 1, 1, 2, 2, 3))):
        lines += event_lines(rng)
    for _ in range(rng.randrange(4)):
        lines.insert(rng.randrange(len(lines) + 1), odd_key_line(rng))
    for _ in range(rng.randrange(3)):
        lines.insert(rng.randrange(len(lines) + 1), line_without_equals(rng))
    if one_in(rng, 6):
        lines.insert(rng.randrange(len(lines) + 1), long_line(rng))
    content = b"".join(line + line_end(rng) for line in lines)
    if one_in(rng, 12):
        content = with_zero_byte(rng, content)
    if one_in(rng, 5):
        content = content[:-1]
    return content


def make_records(rng):
    return {"op": "records", "file": settings_file(rng).hex()}


def make_event_list(rng):
    return {"op": "event_list", "file": settings_file(rng).hex()}


def make_mirrors(rng):
    return {"op": "mirrors", "file": settings_file(rng).hex()}


# Expansion

MACRO_NAMES = (b"date", b"Date", b"DATE", b"time", b"Time", b"TIME", b"tImE", b"uptime", b"UPTIME", b"UpTime")
ODD_MACRO_NAMES = (b"", b" ", b" date", b"date ", b"a{{b", b"{date", b"date}", b"unknown", b"date\0",
                   b"time\0x", b"\0date", b"\0", b"input", b"Input", b"power", b"\xe9", b"\\n", b"dat",
                   b"times", b"a:b", b"\n")
LOOSE_PIECES = (b"{{", b"}}", b"{", b"}", b"{{{", b"}}}", b"{{{{", b"}}}}", b"{}", b"}{", b"{{}", b"{}}",
                b"a{{b", b"a}}b")
ESCAPE_PIECES = (b"\\n", b"\\r", b"\\t", b"\\", b"\\\\", b"\\\\n", b"\\\\r", b"n", b"r", b"t", b"nn",
                 b"\\x41", b"\\N", b"\\0", b"\\\n", b"\\\\nr", b"\\\\nt", b"\\t\\r\\n", b"\\n\\r\\t")
PLAIN_PIECES = (b"", b"T=", b" ", b"\0", b"\r\n", b"\xff", b"\xc3\xa4", b"hello", b"%s", b"0")
VARIABLE_NAMES = (b"input", b"power", b"time", b"Time", b"date", b"DATE", b"uptime", b"", b" ", b"a{{b",
                  b"{date", b"\xe9", b"unknown", b"\\n")
VARIABLE_VALUES = (b"HDMI1", b"on", b"", b" on ", b"\\n", b"\\r\\n", b"\\", b"\\\\", b"n", b"{{date}}", b"{{",
                   b"}}", b"a:b", b"\xff", b"{{time", b"\\t")


def braced(name):
    return b"{{" + name + b"}}"


def data_piece(rng):
    choice = rng.randrange(10)
    if choice < 3:
        return braced(mostly(rng, MACRO_NAMES, ODD_MACRO_NAMES, 2))
    if choice == 3:
        return braced(rng.choice(VARIABLE_NAMES))
    if choice == 4:
        return rng.choice(LOOSE_PIECES)
    if choice < 8:
        return rng.choice(ESCAPE_PIECES)
    if choice == 8:
        return random_bytes(rng, rng.randrange(1, 4))
    return rng.choice(PLAIN_PIECES)


def event_data(rng):
    return b"".join(data_piece(rng) for _ in range(rng.randrange(10)))


def status_variables(rng):
    count = rng.choice((0, 0, 3, 6, 8))
    return [(rng.choice(VARIABLE_NAMES), rng.choice(VARIABLE_VALUES)) for _ in range(count)]


def local_time(rng):
    if one_in(rng, 4):
        return rng.choice(([1970, 1, 1, 0, 0, 0], [2000, 2, 29, 23, 59, 59], [2016, 12, 31, 23, 59, 60],
                           [9999, 12, 31, 1, 2, 3], [10000, 1, 1, 0, 0, 0], [987, 6, 5, 4, 3, 2]))
    return [rng.randrange(1970, 2100), rng.randrange(1, 13), rng.randrange(1, 29),
            rng.randrange(24), rng.randrange(60), rng.randrange(60)]


def uptime_seconds(rng):
    usual = rng.randrange(10 ** 7)
    return rng.choice((0, 1, 9, 90, 119, 120, 121, -1, 2 ** 31, 2 ** 32, LONG_MAX, LONG_MIN, usual))


def make_expand(rng):
    variables = [[name.hex(), value.hex()] for name, value in status_variables(rng)]
    return {"op": "expand", "data": event_data(rng).hex(), "variables": variables,
            "time": local_time(rng), "uptime": uptime_seconds(rng)}


# Status reports

STATUS_NAMES = (b"input", b"power", b"time", b"Date", b"", b" name ", b"\xe9", b"a b", b"\ttab", b"x=y")
STATUS_VALUES = (b"HDMI1", b"on", b"", b" value", b"b:c", b":", b"::", b"1=2", b"\xff", b"\\n", b"a\tb ")


def status_item(rng):
    return rng.choice(STATUS_NAMES) + b":" + rng.choice(STATUS_VALUES)


def status_line_without_colon(rng):
    return rng.choice((b"", b" ", b"OK", b"no colon", b"a=b", b"\xff"))


def long_status_line(rng):
    """The colon and the cut lie near each other, or a second colon lies behind the cut."""
    length = rng.choice((2044, 2045, 2046, 2047, 2048, 2049, 2050, 4094, 4095))
    start = rng.choice((b"long:", b"long", b":"))
    tail = rng.choice((b"", b":", b":b", b"c:d"))
    return start + b"v" * (length - len(start) - len(tail)) + tail


def status_report(rng):
    lines = [status_item(rng) for _ in range(rng.choice((0, 1, 4, 5, 5, 6, 6, 7, 7, 9)))]
    for _ in range(rng.randrange(3)):
        lines.insert(rng.randrange(len(lines) + 1), status_line_without_colon(rng))
    if one_in(rng, 5):
        lines.insert(rng.randrange(len(lines) + 1), long_status_line(rng))
    report = b"".join(line + b"\n" for line in lines)
    if one_in(rng, 6):
        report = with_zero_byte(rng, report)
    if one_in(rng, 4):
        report = report[:-1]
    return report


def make_status(rng):
    return {"op": "status", "report": status_report(rng).hex()}


# Client replies

CLIENT_KEYS = (b"a", b"b", b"B", b"input", b"", b" a", b"a ", b"\xe9", b"\x01", b"ab", b"\ta", b"a=b")
CLIENT_SEPARATORS = (b":", b": ", b":  ", b"::", b": : ", b":\t", b" :", b": :")
CLIENT_VALUES = (b"1", b"2", b"", b" ", b"x:y", b"on ", b"\xff", b"1=2", b"\tv", b":")
CLIENT_LINE_ENDS = (b"\r", b"\r", b"\r", b"\n", b"\r\n", b"\n\r", b"\r\r")


def client_line(rng):
    if one_in(rng, 6):
        return rng.choice((b"", b"no colon", b" ", b"OK"))
    return rng.choice(CLIENT_KEYS) + rng.choice(CLIENT_SEPARATORS) + rng.choice(CLIENT_VALUES)


def client_reply(rng):
    """Far shorter than the client's reply buffer."""
    reply = b"".join(client_line(rng) + rng.choice(CLIENT_LINE_ENDS) for _ in range(rng.randrange(9)))
    if one_in(rng, 6):
        reply = with_zero_byte(rng, reply)
    if one_in(rng, 3):
        reply = reply[:-1]
    return reply


def make_client(rng):
    return {"op": "client", "reply": client_reply(rng).hex()}


# Requests of the command port

REQUESTS = (b"PowerOn\n", b"PowerOn", b"DVIConnected\n", b"Lamp\r\n", b"Lamp\n\n", b"Lamp\nLift\n",
            b"Lamp\nLift", b"\n", b"\n\n", b"\nLamp", b" Lamp", b"Lamp ", b"a=b", b"a=b\n", b"a\n=b",
            b"a\n=b\n", b"=", b"=\n", b"=b", b"a=", b"a==b", b"a=b=c", b"a\nb=c", b"\r", b"\xff\xfe\n",
            b"a\n\nb")
COMMANDS = (b"__", b"__\n", b"__TEST__:PowerOn", b"__TEST__:PowerOn\n", b"__SET__:network.ruvo.enable=1\n",
            b"__=", b"__GET__:network.ruvo.enable", b"__GET__", b"___", b"__\0", b"__TEST__\0:x", b"__a=__b")
NEAR_COMMANDS = (b"_", b"_\n", b"_=_", b"_TEST__:PowerOn", b" __TEST__:PowerOn", b"\n__TEST__", b"a__",
                 b"_=__", b"=__TEST__", b"_\0_")


def long_request(rng):
    length = rng.choice((1021, 1022, 1023, 1024, 1025, 2000))
    filler = b"L" * length
    position = rng.choice((0, 1, 1021, 1022, 1023, 1024))
    piece = rng.choice((b"", b"=", b"\n", b"=x\n", b"__", b"\0"))
    return insert_at(filler, position, piece)[:length]


def request_text(rng):
    choice = rng.randrange(10)
    if choice < 4:
        text = rng.choice(REQUESTS)
    elif choice < 6:
        text = rng.choice(COMMANDS)
    elif choice < 7:
        text = rng.choice(NEAR_COMMANDS)
    elif choice < 9:
        pieces = (b"Lamp", b"\n", b"=", b"_", b"__", b"\r", b"a", b"\0")
        text = b"".join(rng.choice(pieces) for _ in range(rng.randrange(1, 8)))
    else:
        text = long_request(rng)
    if one_in(rng, 12):
        text = with_zero_byte(rng, text)
    return text


def make_request(rng):
    return {"op": "request", "request": request_text(rng).hex(), "enabled": rng.randrange(2)}


# Records, steps and senders

def make_record(rng):
    created = rng.choice((1, 2, 250000000, MINUTE_NS, rng.randrange(1, 10 ** 15), -1, 0))
    delay = rng.choice((0, 1, -1, 1000000000, -1000000000, MINUTE_NS, MINUTE_NS + 1, MINUTE_NS - 1))
    due = rng.choice((created, created + delay, created + delay, created + delay, 0))
    near = rng.choice((created, due, created + MINUTE_NS, created + MINUTE_NS, due + MINUTE_NS))
    now = near + rng.choice((-1, 0, 0, 1, 1000, -250000000))
    has_run = rng.choice((0, 0, 0, 1, 2))
    return {"op": "record", "created": created, "due": due, "has_run": has_run, "now": now}


CABLE_NAMES = (b"DVIConnected", b"DVIDisconnected", b"dviconnected", b"DVIDISCONNECTED", b"dViCoNnEcTeD",
               b"dviDisconnected")
NEAR_CABLE_NAMES = (b"DVIConnected ", b" DVIConnected", b"DVIConnecte", b"DVIConnectedX", b"DVI", b"PowerOn",
                    b"Lamp", b"DVI\xc3\x89", b"\xc4VIConnected", b"DVIDisConnecte", b"")


def make_step(rng):
    name = mostly(rng, CABLE_NAMES, NEAR_CABLE_NAMES, 2)
    return {"op": "step", "name": name.hex(), "test": rng.randrange(2), "window_over": rng.randrange(2),
            "enable": rng.randrange(2)}


def outgoing_ip(rng):
    if one_in(rng, 4):
        return b"1234567890" * 8 if one_in(rng, 4) else b"1" * rng.choice((62, 63, 64, 65))
    return mostly(rng, IPS, ODD_IPS)


def outgoing_data(rng):
    if one_in(rng, 2):
        return event_data(rng)
    length = rng.choice((0, 1, 101, 102, 103, 104, 105, 200, 1023, 1024))
    data = bytes(rng.randrange(1, 256) for _ in range(length))
    if one_in(rng, 3):
        data = insert_at(data, rng.choice((0, 1, 102, 103, 104)), b"\0")
    return data


def make_outgoing(rng):
    return {"op": "outgoing", "ip": outgoing_ip(rng).hex(), "port": mostly(rng, PORTS, ODD_PORTS, 2).hex(),
            "protocol": mostly(rng, PROTOCOLS, ODD_PROTOCOLS, 2).hex(), "data": outgoing_data(rng).hex(),
            "uptime": uptime_seconds(rng)}


def make_due(rng):
    pool = rng.choice(((0, 100000000), (0, -1, -100000000, 1, 1000000), (100000000, 100100000, 100200000),
                       (0, 500000000, 1000000000, -500000000), (1000000, 2147483647000000, 2000000)))
    return {"op": "due", "delays": [rng.choice(pool) for _ in range(rng.choice((0, 1, 2, 3, 5, 8, 16)))]}


# Whole plans

def lines_of_step(rng, name, index):
    """Address, protocol and data with macros and escapes, as bytes or as a long filler."""
    data = event_data(rng)
    if one_in(rng, 5):
        data += b"x" * rng.choice((90, 102, 103, 104, 300))
    values = (b"Protocol", value_of(rng, b"Protocol")), (b"IP", value_of(rng, b"IP")), \
        (b"Port", value_of(rng, b"Port")), (b"Data", data.hex().encode())
    return [name + field + b"%d=" % index + value for field, value in values]


def settings_to_plan(rng):
    """A settings file with events that send something, among others."""
    lines = []
    for name in rng.sample(NAMES, rng.randrange(1, 4)):
        lines.append(count_line(rng, name))
        for index in range(rng.randrange(1, 5)):
            lines += lines_of_step(rng, name, index)
            lines.append(step_line(rng, name))
        if one_in(rng, 3):
            lines.append(name + b"Delay=" + rng.choice((b"1", b"59", b"60", b"61", b"-3", b"2")))
    if one_in(rng, 4):
        rng.shuffle(lines)
    return b"".join(line + line_end(rng) for line in lines)


def make_plan(rng):
    """Reports with six items and more are taken over by the daemon."""
    report = None if one_in(rng, 3) else status_report(rng).hex()
    settings = settings_file(rng) if one_in(rng, 3) else settings_to_plan(rng)
    date = [rng.randrange(1970, 2100), rng.randrange(1, 13), rng.randrange(1, 29)]
    return {"op": "plan", "file": settings.hex(), "report": report,
            "time": date + [rng.randrange(24), rng.randrange(60), rng.randrange(60)],
            "uptime": rng.choice((0, 59, 118, 119, 120, 121, 3600, 2 ** 31)),
            "test": int(one_in(rng, 4)), "switch": rng.choice(("on", "on", "on", "trigger", "run"))}


MAKERS = {
    "records": make_records,
    "event_list": make_event_list,
    "mirrors": make_mirrors,
    "expand": make_expand,
    "status": make_status,
    "client": make_client,
    "request": make_request,
    "record": make_record,
    "step": make_step,
    "outgoing": make_outgoing,
    "due": make_due,
}


def requests(rng, count):
    """The operations take turns."""
    makers = list(MAKERS.values())
    return [makers[i % len(makers)](rng) for i in range(count)]
