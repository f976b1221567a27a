"""Macros and backslash escapes in the data of an event."""

from dataclasses import dataclass

from c_strings import equal_ignoring_case, up_to_zero


@dataclass
class LocalTime:
    year: int
    month: int
    day: int
    hour: int
    minute: int
    second: int


def format_date(local_time):
    """The blank at the end belongs to the date."""
    return b"%04d-%02d-%02d " % (local_time.year, local_time.month, local_time.day)


def format_time(local_time):
    return b"%02d:%02d:%02d" % (local_time.hour, local_time.minute, local_time.second)


def expand_macro(name, variables, local_time, uptime):
    """A status variable of exactly this name wins; an unknown macro vanishes."""
    for variable_name, value in variables:
        if variable_name == name:
            return value
    word = up_to_zero(name)
    if equal_ignoring_case(word, b"date"):
        return format_date(local_time)
    if equal_ignoring_case(word, b"time"):
        return format_time(local_time)
    if equal_ignoring_case(word, b"uptime"):
        return b"%d" % uptime
    return b""


def split_pieces(data):
    """Text and macros in turn: the first opening braces, then the first closing ones behind them."""
    pieces = []
    position = 0
    while True:
        opening = data.find(b"{{", position)
        if opening == -1:
            break
        closing = data.find(b"}}", opening + 2)
        if closing == -1:
            break
        pieces.append(data[position:opening])
        pieces.append(data[opening:closing + 2])
        position = closing + 2
    pieces.append(data[position:])
    return pieces


def is_macro(piece):
    return len(piece) >= 4 and piece.startswith(b"{{") and piece.endswith(b"}}")


def replace_all(text, pattern, replacement):
    """Searches again from the start of the text after every replacement."""
    while True:
        position = text.find(pattern)
        if position == -1:
            return text
        text = text[:position] + replacement + text[position + len(pattern):]


def unescape_data(data):
    data = replace_all(data, b"\\n", b"\n")
    data = replace_all(data, b"\\r", b"\r")
    data = replace_all(data, b"\\t", b"\t")
    return data


def expand_data(data, variables, local_time, uptime):
    """Macros first, then escapes, so the text that a macro brings in is unescaped as well."""
    output = b""
    for piece in split_pieces(data):
        if is_macro(piece):
            output += expand_macro(piece[2:-2], variables, local_time, uptime)
        else:
            output += piece
    return unescape_data(output)
