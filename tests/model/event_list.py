"""The event list, built from the settings records in two passes."""

from dataclasses import dataclass, field

from c_numbers import product_int64, stoul, strtol, to_int32, to_int64, to_uint32
from c_strings import up_to_zero
from records import KIND_FIELD, KIND_FIELD_AND_INDEX

MOST_STEPS = 128
NS_PER_MS = 1000000
BUILT_IN_NAMES = (b"PowerOn", b"DVIConnected", b"DVIDisconnected")


@dataclass
class Step:
    ip: bytes = b""
    port: bytes = b""
    protocol: bytes = b""
    data: bytes = b""
    delayNs: int = 0
    delayFromExecNs: int = 0


@dataclass
class Entry:
    name: bytes = b""
    xmlField: bytes = b""
    t_ns_cread: int = 0
    t_ns_exec: int = 0
    steps: list = field(default_factory=list)
    has_run: int = 0
    delay: int = 0
    test: int = 0


def hex_to_bytes(text):
    """Two characters a byte, a lone last one is a byte of its own; nothing is checked."""
    decoded = []
    position = 0
    while position < len(text):
        piece = text[position:position + 2]
        decoded.append(strtol(piece, 16) % 256)
        position += 2
    return bytes(decoded)


def create_entries(records, long_bits):
    """Every Count record of 1 or more makes an entry, two of the same name make two."""
    entries = []
    for record in records:
        if record.kind != KIND_FIELD or record.field != b"Count":
            continue
        count = to_int32(strtol(record.value, 10, long_bits))
        if count < 1:
            continue
        steps = [Step() for _ in range(min(count, MOST_STEPS))]
        entries.append(Entry(name=record.name, xmlField=record.name, steps=steps))
    return entries


def set_event_property(entry, record, long_bits):
    if record.field == b"XMLfield":
        entry.xmlField = record.value
    elif record.field == b"Delay":
        entry.delay = to_int32(strtol(record.value, 10, long_bits))
        # A built-in event's own name wins over an XMLfield that came before its Delay.
        if record.name in BUILT_IN_NAMES:
            entry.xmlField = record.name


def set_step_delay(steps, i, value, long_bits):
    """The neighbour counts as it stands now, so delays add up only in rising order of the index."""
    milliseconds = to_int32(strtol(value, 10, long_bits))
    before = steps[i - 1].delayFromExecNs if i > 0 else 0
    steps[i].delayNs = product_int64(milliseconds, NS_PER_MS)
    steps[i].delayFromExecNs = to_int64(steps[i].delayNs + before)


def set_step_property(entry, record, long_bits):
    """The index is read before the field is looked at, so a bad one raises for every field."""
    i = to_uint32(stoul(record.index, long_bits))
    if i >= len(entry.steps):
        return
    if record.field == b"Protocol":
        entry.steps[i].protocol = record.value
    elif record.field == b"IP":
        entry.steps[i].ip = record.value
    elif record.field == b"Port":
        entry.steps[i].port = record.value
    elif record.field == b"Data":
        entry.steps[i].data = hex_to_bytes(record.value)
    elif record.field == b"Delay":
        set_step_delay(entry.steps, i, record.value, long_bits)


def build_event_list(records, long_bits=64):
    """Raises InvalidArgument or OutOfRange for an index that is no number, if its event has an entry."""
    entries = create_entries(records, long_bits)
    for record in records:
        for entry in entries:
            if entry.name != record.name:
                continue
            if record.kind == KIND_FIELD:
                set_event_property(entry, record, long_bits)
            elif record.kind == KIND_FIELD_AND_INDEX:
                set_step_property(entry, record, long_bits)
    return entries


def quotient_toward_zero(number, divisor):
    if number < 0:
        return -(-number // divisor)
    return number // divisor


def decimal(number):
    return b"%d" % number


def entry_line(entry):
    line = entry.name + b";" + entry.xmlField + b";"
    for i, step in enumerate(entry.steps):
        milliseconds = quotient_toward_zero(step.delayNs, NS_PER_MS)
        line += decimal(i) + b":" + step.data + b":" + decimal(milliseconds) + b";"
    return line + b"Delay=" + decimal(entry.delay) + b";\n"


def event_list_text(entries):
    """Each line is written as a C text: a zero byte in the data ends its line, line feed included."""
    return b"".join(up_to_zero(entry_line(entry)) for entry in entries)
