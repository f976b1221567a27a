"""Data values: the bytes of a message, and the hexadecimal text that stands for them."""

from step_values import pick_weighted

CUT = 103  # so many bytes of a message leave at most

WORDS = (
    b"POWER ON", b"input HDMI1", b"\x81\x01\x04\x00\x02\xff", b"%1POWR 1", b"volume=42", b"\xe4\xf6\xfc",
    b"ka 00 01", b"!", b"{", b"}", b"\\", b"#", b"",
)
ESCAPES = (rb"\r", rb"\n", rb"\t", rb"\r\n", rb"\\n", rb"\x0D", b"\r", b"\n", rb"\\\n\r", rb"\R", b"\\")
CLOCK_MACROS = (
    b"{{date}}", b"{{time}}", b"{{uptime}}", b"{{DATE}}", b"{{Time}}", b"{{UpTime}}", b"{{date}}{{time}}",
    b"{{TIME}} {{UPTIME}}",
)
ODD_MACROS = (
    b"{{unknown}}", b"{{}}", b"{{a{{time}}", b"{{time", b"time}}", b"}}{{date}}", b"{{{time}}}", b"{{ time}}",
    b"{{time }}", b"{time}", b"{{{{time}}}}", b"{{time\\n}}", b"{{}}{{}}", b"{{ti\0me}}", b"{{time\0}}",
    b"\\{{half}}", b"{{esc}}", b"{{brace}}", b"{{nest}}", b"{{long}}", b"{{name }}", b"{{MODEL}}",
    b"{{half}}\\{{half}}", b"{{a}b}}", b"{{time}",
)


def message(random, items):
    """The bytes that a Data value stands for; `items` are names of status items."""
    kinds = (
        (40, lambda: _text(random)),
        (38, lambda: _with_macros(random, items)),
        (10, lambda: _near_the_cut(random, items)),
        (6, lambda: _text(random) + b"\0" + _text(random)),
        (3, lambda: b""),
        (6, lambda: random.randbytes(random.randint(1, 12))),
    )
    return pick_weighted(random, kinds)()


def _text(random):
    parts = [random.choice(WORDS), b"%06x" % random.getrandbits(24)]
    if random.random() < 0.4:
        parts.append(random.choice(ESCAPES))
    return b" ".join(parts)


def _macro(random, items):
    kinds = ((5, CLOCK_MACROS), (4, [b"{{%s}}" % name for name in items]), (3, ODD_MACROS))
    return random.choice(pick_weighted(random, kinds))


def _with_macros(random, items):
    parts = [_text(random)]
    for _ in range(random.choice((1, 1, 1, 2, 3))):
        parts.append(_macro(random, items))
        if random.random() < 0.5:
            parts.append(random.choice(WORDS + ESCAPES))
    random.shuffle(parts)
    return b"".join(parts)


def _near_the_cut(random, items):
    length = random.choice((101, 102, 103, 104, 105, 106, 150, 300))
    end = pick_weighted(random, ((4, b""), (2, rb"\r\n"), (3, _macro(random, items)), (1, b"\r")))
    return (_text(random) + b"." * length)[: max(0, length - len(end))] + end


def hex_text(random, data, trap):
    """The bytes as a settings file writes them, or as one should not."""
    plain = data.hex().encode()
    if not trap:
        return pick_weighted(random, ((8, plain.upper()), (1, plain)))
    return random.choice((
        plain[:-1], plain + b"G1", b"G" + plain, plain.replace(b"0", b"G", 2), data.hex(" ").encode(),
        b",".join(b"0x%02x" % byte for byte in data), b"\\x" + plain, data.replace(b"\n", b""), plain + b"\r",
        plain + b" ", b" " + plain, b"", plain + b"00" + plain, b"-1" + plain, plain + b"1",
        plain[:4] + b"  " + plain[4:], plain[:6] + b"=" + plain[6:], data.hex(":").encode(), b"+" + plain,
    ))
