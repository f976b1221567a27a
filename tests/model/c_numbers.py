"""Numbers as C reads and stores them."""

from dataclasses import dataclass

from c_strings import up_to_zero

BLANKS = b" \t\n\v\f\r"
DIGITS = b"0123456789abcdef"


class InvalidArgument(Exception):
    """The text holds no number."""


class OutOfRange(Exception):
    """The number does not fit into an unsigned long."""


@dataclass
class NumberText:
    has_digits: bool
    negative: bool
    magnitude: int


def digit_value(byte, base):
    """The value of one digit, or None when the byte is no digit of the base."""
    value = DIGITS.find(bytes([byte]).lower())
    if value == -1 or value >= base:
        return None
    return value


def is_digit_at(text, position, base):
    return position < len(text) and digit_value(text[position], base) is not None


def read_number_text(text, base):
    """Blanks, a sign, a hexadecimal prefix and digits, up to the first other character."""
    text = up_to_zero(text)
    position = 0
    while position < len(text) and text[position] in BLANKS:
        position += 1
    sign = text[position:position + 1]
    if sign == b"+" or sign == b"-":
        position += 1
    # A prefix without a digit behind it is the number 0 and a stray x.
    if base == 16 and text[position:position + 2].lower() == b"0x" and is_digit_at(text, position + 2, base):
        position += 2
    has_digits = False
    magnitude = 0
    while is_digit_at(text, position, base):
        has_digits = True
        magnitude = magnitude * base + digit_value(text[position], base)
        position += 1
    return NumberText(has_digits, sign == b"-", magnitude)


def strtol(text, base, long_bits=64):
    """0 when there are no digits; a number beyond the long's range becomes the nearest limit."""
    number = read_number_text(text, base)
    value = -number.magnitude if number.negative else number.magnitude
    lowest = -2 ** (long_bits - 1)
    highest = 2 ** (long_bits - 1) - 1
    return max(lowest, min(highest, value))


def strtoul(text, base, long_bits=64):
    """A magnitude beyond the range becomes the largest value; a minus sign counts down from the top."""
    number = read_number_text(text, base)
    largest = 2 ** long_bits - 1
    if number.magnitude > largest:
        return largest
    if number.negative:
        return -number.magnitude % 2 ** long_bits
    return number.magnitude


def stoul(text, long_bits=64):
    """Base 10; no digits and a magnitude beyond the range are the two exceptions."""
    number = read_number_text(text, 10)
    if not number.has_digits:
        raise InvalidArgument("stoul")
    if number.magnitude > 2 ** long_bits - 1:
        raise OutOfRange("stoul")
    return strtoul(text, 10, long_bits)


def wrap_unsigned(value, bits):
    return value % 2 ** bits


def wrap_signed(value, bits):
    value = value % 2 ** bits
    if value >= 2 ** (bits - 1):
        return value - 2 ** bits
    return value


def to_int32(value):
    return wrap_signed(value, 32)


def to_uint32(value):
    return wrap_unsigned(value, 32)


def to_int64(value):
    return wrap_signed(value, 64)


def product_int64(one, other):
    return to_int64(one * other)
