"""The two text mirrors of the settings records."""

from c_strings import up_to_zero
from event_list import hex_to_bytes


def mirror_line(record, value):
    """Written as a C text: a zero byte ends the line, line feed included."""
    key = record.name + record.field + record.index
    return up_to_zero(key + b"=" + value + b"\n")


def shown_value(record):
    if record.field == b"Data":
        return hex_to_bytes(record.value)
    return record.value


def ascii_mirror(records):
    """Data values as the bytes that their hexadecimal text stands for."""
    return b"".join(mirror_line(record, shown_value(record)) for record in records)


def raw_dump(records):
    """Every record as it was read."""
    return b"".join(mirror_line(record, record.value) for record in records)
