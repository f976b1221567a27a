"""What a hostile client says to the command port, by the kind."""

import string

ALL_BYTES = bytes(range(256))
PRINTABLE = string.printable.encode()

# The daemon asks its status service once a line of a trigger; see `lookups`.
MAX_LINES = 8

# Every shape but one: a client that may switch the feature off has no need to be hostile.
WORDS = (
    b"__TEST__", b"__SET__", b"__GET__", b"__", b"___", b"____", b"__X__", b"__test__", b"__TEST", b"TEST__",
)
SEPARATORS = (b"", b":", b"::", b" :", b":\n", b"\n:", b"=", b":=", b"=:")
ARGUMENTS = (
    b"", b"\n", b"\0", b"network.ruvo.enable", b"network.ruvo.enable=1", b"NETWORK.RUVO.ENABLE=1\n",
    b"network.ruvo.enable=2", b"network.ruvo.enable=", b"network.ruvo.enable==1", b"network.", b".", b"..",
    b"%s%n%d", b'"}{"', b"../../etc/passwd", b"$(reboot)", b"`reboot`", b"Visitor", b"Visitor\n", b"Nobody",
)


def lookups(request):
    """How often the daemon asks its status service for the request, at most.

    A command that runs a program counts like one: it takes as long.
    """
    text = request[:1023].split(b"\0")[0]
    key = text.split(b"=")[0]
    if key.startswith(b"__"):
        # Reading the test settings asks for the switch, and the event is looked up.
        return {b"__TEST__": 2, b"__SET__": 1}.get(key.split(b":")[0], 0)
    return max(1, key.count(b"\n") + (not key.endswith(b"\n")))


def switches_off(request):
    key, _, value = request[:1023].split(b"\0")[0].partition(b"=")
    return key.lower().startswith(b"__set__:network.ruvo.enable") and value.rstrip(b"\n") == b"0"


def random_bytes(dice):
    return dice.randbytes(dice.choice((1, 2, 7, 64, 300, 1022, 1023, 1024, 1025, 4000)))


def name(dice):
    """A name of any length, also longer than a request may be."""
    length = dice.choice((dice.randrange(1, 1030), 1022, 1023, 1024, 2000, 70000))
    letters = dice.choice((b"a", b"Lamp", PRINTABLE.replace(b"\n", b""), b"{{input}}", b"\\n\\r\\t"))
    text = bytes(dice.choice(letters) for _ in range(min(length, 60)))
    return (text * (length // len(text) + 1))[:length] + dice.choice((b"", b"\n", b"\r\n", b"=x", b"\0\n"))


def half_request(dice):
    return dice.choice((b"Visitor\n", b"PowerOn\n", b"Good0001\n"))[: dice.randrange(1, 7)]


def lines(dice):
    return dice.choice((b"\n", b"Visitor\n", b"x\n")) * dice.randrange(1, MAX_LINES)


def valid_trigger(dice):
    return dice.choice((b"Visitor\n", b"Visitor", b"Visitor=1\n"))


def command(dice):
    word, separator, argument = dice.choice(WORDS), dice.choice(SEPARATORS), dice.choice(ARGUMENTS)
    text = word + separator + argument
    if dice.random() < 0.1:
        text += dice.choice((ALL_BYTES, b"A" * 1100, b":" * 1023, b"=" * 1023))
    return text


KINDS = (random_bytes, name, half_request, lines, valid_trigger, command)
WEIGHTS = (4, 4, 3, 2, 1, 10)


def request_of(dice):
    """A kind and a request of it that asks for no more than a few lookups."""
    while True:
        kind = dice.choices(KINDS, WEIGHTS)[0]
        request = kind(dice)
        if lookups(request) <= MAX_LINES and not switches_off(request):
            return kind.__name__, request
