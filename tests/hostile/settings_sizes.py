"""Settings files of a size or a shape that nobody writes, and how many events they have."""

import random

MB = 1_000_000
LINE = b"a line without the one character that counts, as long as a line is wont to be\n"


class Shape:
    def __init__(self, name, make, full_size, entries=lambda size: 0):
        self.name = name
        self.full_size = full_size  # of what `make` counts: bytes or events
        self._make = make
        self.entries = entries

    def write(self, path, size):
        """The file has a few lines more than the shape asks for: none is cut in two."""
        with open(path, "wb") as file:
            self._make(file, size)


def _repeated(line):
    def make(file, size):
        block = line * (MB // len(line))
        whole, rest = divmod(size, len(block))
        for _ in range(whole):
            file.write(block)
        file.write(block[: rest // len(line) * len(line)])

    return make


def _one_line(piece, start=b""):
    def make(file, size):
        file.write(start)
        _repeated(piece)(file, size)
        file.write(b"\n")

    return make


def _binary(file, size):
    dice = random.Random(1)
    block = dice.randbytes(MB)
    whole, rest = divmod(size, MB)
    for _ in range(whole):
        file.write(block)
    file.write(block[:rest] + b"\n")


def _numbered(lines):
    def make(file, size):
        for first in range(0, size, 1000):
            file.write(b"".join(lines % number for number in range(first, min(first + 1000, size))))

    return make


def _namesakes(file, size):
    file.write(b"ManyCount=1\n" * (size // 2) + b"ManyIP0=127.0.0.1\n" * (size // 2))


def _events(file, size):
    for number in range(size):
        file.write(
            b"Event%dCount=1\nEvent%dIP0=127.0.0.1\nEvent%dPort0=9\nEvent%dProtocol0=UDP\nEvent%dData0=4F4E\n"
            % ((number,) * 5)
        )


SHAPES = [
    Shape("100 MB without an equals sign", _repeated(LINE), 100 * MB),
    Shape("5 MB of the shortest settings", _repeated(b"a=1\n"), 5 * MB),
    Shape("450,000 different settings, 5 MB", _numbered(b"k%07d=1\n"), 450_000),
    Shape("one line of 50 MB", _one_line(b"x"), 50 * MB),
    Shape("one line of 50 MB that is a setting", _one_line(b"x", b"Key="), 50 * MB),
    Shape("one line of 50 MB of settings", _one_line(b"Key=Value "), 50 * MB),
    Shape("50 MB of random bytes", _binary, 50 * MB),
    Shape("50 MB of zero bytes", _one_line(b"\0"), 50 * MB),
    Shape("200,000 events of Count 1", _numbered(b"Event%dCount=1\n"), 200_000, lambda size: size),
    Shape("200,000 events of Count 1 with all their lines", _events, 200_000, lambda size: size),
    Shape("100,000 Counts and 100,000 lines of one name", _namesakes, 200_000, lambda size: size // 2),
    Shape("5,000 events of Count 128", _numbered(b"Event%dCount=128\n"), 5_000, lambda size: size),
]
