"""The few habits of C texts that the daemon's behaviour shows."""


def up_to_zero(text):
    """What a C text operation sees of the bytes: all before the first zero byte."""
    zero = text.find(b"\0")
    if zero == -1:
        return text
    return text[:zero]


def equal_ignoring_case(one, other):
    """Letters a to z and A to Z are alike; every other byte is itself."""
    return one.lower() == other.lower()


def fgets_pieces(content, buffer_size):
    """The pieces that reading with a buffer yields: each ends behind a line feed or when the buffer is full.

    One byte of the buffer is taken by the terminating zero.
    """
    pieces = []
    position = 0
    while position < len(content):
        line_feed = content.find(b"\n", position)
        end = len(content) if line_feed == -1 else line_feed + 1
        end = min(end, position + buffer_size - 1)
        pieces.append(content[position:end])
        position = end
    return pieces


def read_lines(content, buffer_size):
    """The pieces as C texts: a zero byte hides the rest of its piece, the line feed included."""
    return [up_to_zero(piece) for piece in fgets_pieces(content, buffer_size)]


def without_line_feed(text):
    """Removes one line feed at the end, if there is one."""
    if text.endswith(b"\n"):
        return text[:-1]
    return text
