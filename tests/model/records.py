"""The settings file as records, one per line that holds an equals sign."""

from dataclasses import dataclass

from c_strings import read_lines, without_line_feed

LINE_BUFFER = 2048

KIND_NO_FIELD = 0
KIND_FIELD = 1
KIND_FIELD_AND_INDEX = 2

# The order decides keys that hold two field words.
FIELDS = (b"Count", b"XMLfield", b"Protocol", b"Delay", b"IP", b"Port", b"Data")


@dataclass
class Record:
    kind: int
    name: bytes
    field: bytes
    index: bytes
    value: bytes


def split_key(key, value):
    """The first field of the list whose first occurrence stands behind position 0 wins."""
    for field in FIELDS:
        position = key.find(field)
        if position > 0:
            name = key[:position]
            index = key[position + len(field):]
            if index == b"":
                return Record(KIND_FIELD, name, field, b"", value)
            return Record(KIND_FIELD_AND_INDEX, name, field, index, value)
    return Record(KIND_NO_FIELD, key, b"", b"", value)


def read_records(content):
    """Key and value are taken exactly; only one line feed at the value's end is removed."""
    records = []
    for line in read_lines(content, LINE_BUFFER):
        equals = line.find(b"=")
        if equals == -1:
            continue
        key = line[:equals]
        value = without_line_feed(line[equals + 1:])
        records.append(split_key(key, value))
    return records
