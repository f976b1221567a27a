"""The one-shot client's view of a status reply."""

from c_strings import up_to_zero


def first_value_position(text, position):
    """The first character that is neither a colon nor a blank, or -1."""
    while position < len(text):
        if text[position:position + 1] not in (b":", b" "):
            return position
        position += 1
    return -1


def parse_status_reply(text):
    """A key keeps what stands before it, line feeds included, and its first value when it comes again."""
    pairs = {}
    position = 0
    while position < len(text):
        colon = text.find(b":", position)
        if colon == -1:
            break
        start = first_value_position(text, colon + 1)
        if start == -1:
            break
        line_feed = text.find(b"\n", start)
        end = len(text) if line_feed == -1 else line_feed
        key = text[position:colon]
        if key not in pairs:
            pairs[key] = text[start:end]
        position = end + 1
    return pairs


def printed_text(reply):
    """What the client prints for the bytes in its reply buffer: the pairs in the order of their keys."""
    text = up_to_zero(reply).replace(b"\r", b"\n")
    pairs = parse_status_reply(text)
    return b"".join(key + b"=" + pairs[key] + b"\n" for key in sorted(pairs))
