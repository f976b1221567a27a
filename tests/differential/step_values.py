"""Values of single settings, well formed or with a trap, as bytes.

Every function draws from the random numbers it is given, so a seed repeats its file.
Destinations stay within what a receiver hears or the kernel always refuses: datagrams
to joined multicast groups, the daemon's own ports and step delays beyond a few
seconds are left out.
"""

# The receiver listens here, for both protocols; none is a port that the system hands
# out. 65535 is what a number beyond a long becomes.
PORTS = (9, 80, 1024, 2701, 4352, 5000, 5001, 6000, 9100, 23023, 32000, 65535)

# Nothing arrives from there: sockets are not let send, or nobody has joined the group.
UNHEARD_ADDRESSES = ("255.255.255.255", "192.0.2.255", "239.1.2.3")

ADDRESSES = (
    b"10.1.2.3", b"203.0.113.7", b"198.51.100.9", b"127.0.0.1", b"127.9.9.9", b"192.0.2.10",
    b"192.0.2.11", b"240.0.0.1", b"10.255.255.255", b"1.1.1.1",
)
ADDRESS_TRAPS = (
    b"010.1.2.3", b"10.1.2.03", b"10.01.2.3", b"beamer.local", b"localhost", b"10.1.2.3 ", b" 10.1.2.3",
    b"10.1.2.3\r", b"10.1.2.3\t", b"", b"10.1.2", b"10.1.2.3.4", b"256.1.2.3", b"0x0a.1.2.3",
    b"10.1.2.3:80", b"::1", b"167837955", b"0.0.0.0", b"0.1.2.3", b"10.1.2.3\0 projector",
    b"10.1.2.3\0", b"10.1.2.3" + b" " * 60, b"10." * 30, b"1" * 70, b"1" * 63, b"10,1,2,3", b"+10.1.2.3",
    *(address.encode() for address in UNHEARD_ADDRESSES),
)

PROTOCOLS = ((46, b"UDP"), (34, b"TCP"), (4, b"UDPStatus"), (5, b"TCPStatus"))
PROTOCOL_TRAPS = (
    b"tcp", b"udp", b"Udp", b"UDPTCP", b"TCPUDP", b"xUDPx", b"xTCP", b"", b"Status", b"StatusTCP",
    b"UDPTCPStatus", b" UDP ", b"UDPstatus", b"TCPSTATUS", b"TC P", b"UDP\r", b"UDP/TCP", b"UD\0P",
    b"TCP\0Status", b"HTTP", b"TCP=UDP", b"UDPSta tus",
)

STALE_DELAYS = (b"60", b"61", b"3600", b"4294967356", b"2147483647", b"60s")
EVENT_DELAYS_AT_ONCE = (
    b"0", b"-5", b"abc", b"", b"0.5", b"2147483648", b"-1", b"0x2", b"99999999999999999999",
)
EVENT_DELAYS_OF_ONE = (b"1", b" 1", b"+1", b"1s", b"01", b"1.9", b"4294967297", b"1\r", b"1\0" b"000")

COUNT_GARBAGE = (b"0", b"-1", b"abc", b"", b"x2", b"2147483648", b"99999999999999999999", b"-4294967295 ")

INDEX_VOIDS = (b"x", b" ", b"99999999999999999999", b"-", b"- 1", b"X0", b"_0", b"[0]", b"s0")


def pick_weighted(random, choices):
    """One value of (weight, value) pairs."""
    weights, values = zip(*choices)
    return random.choices(values, weights)[0]


def address(random, trap):
    return random.choice(ADDRESS_TRAPS if trap else ADDRESSES)


def protocol(random, trap):
    return random.choice(PROTOCOL_TRAPS) if trap else pick_weighted(random, PROTOCOLS)


def port(random, trap):
    number = random.choice(PORTS)
    if not trap:
        return b"%d" % number
    return random.choice((
        b"0", b"", b"abc", b"%d" % (number + 65536), b"%d" % (number + 7 * 65536),
        b"%d" % (number - 65536), b" %d" % number, b"%d " % number, b"\t%d" % number, b"+%d" % number,
        b"0%d" % number, b"%dabc" % number,
        b"%d.5" % number, b"%d" % (number + 2**32), b"%d" % (number - 2**32), b"99999999999999999999",
        b"-99999999999999999999", b"%d\r" % number, b"0x1388", b"%d\0" % number, b"- %d" % number, b"65536",
        b"%d=%d" % (number, number + 1),
    ))


def step_delay(random, trap, largest_ms):
    number = random.randint(1, max(1, largest_ms))
    if not trap:
        return b"%d" % random.choice((0, number, number, number // 2))
    return random.choice((
        b"0", b"-%d" % number, b"abc", b"1s", b"0.5", b"", b"%d" % (number + 2**32), b"2147483648",
        b" %d" % number, b"0%d" % number, b"+%d" % number, b"%dms" % number, b"99999999999999999999",
        b"-99999999999999999999", b"0x40", b"%d\r" % number, b"%d,5" % number,
    ))


def index(random, number, trap, count):
    """The text behind an indexed field; a trap means the same step, another one, or none."""
    if not trap:
        return b"%d" % number
    same = (
        b" %d" % number, b"+%d" % number, b"0%d" % number, b"%d " % number, b"%dabc" % number,
        b"%d.5" % number, b"%d" % (number + 2**32), b"-%d" % (2**32 - number), b"\t%d" % number,
        b" +0%d " % number, b"%d]" % number,
    )
    other = (b"0x%d" % number, b"%d" % (number + 1), b"-0", b"%d" % max(0, number - 1))
    none = (b"%d" % (count + 3), b"%d" % (128 + number), b"-1", b"4294967295", b"-%d" % (number + 1))
    return random.choice(pick_weighted(random, ((6, same), (2, other), (2, none))))
