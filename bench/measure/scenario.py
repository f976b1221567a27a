"""What is to be sent, and when: one description for the daemon and for every peer."""

import dataclasses
import json
import pathlib

COMMAND_PORT = 2700
STATUS_PORT = 50001
MAX_SENDS = 128
MAX_TEXT_BYTES = 103
# The last one is the daemon's own: the status report as it is.
PROTOCOLS = ("UDP", "TCP", "TCPStatus")
# With fewer the daemon takes a report for an incomplete one.
MIN_ITEMS = 6
# The daemon splits a settings key at the first of these words.
FIELD_WORDS = ("Count", "XMLfield", "Protocol", "Delay", "IP", "Port", "Data")


@dataclasses.dataclass(frozen=True)
class Send:
    """One message. The text may hold macros ({{time}}, {{date}}, {{uptime}}, {{ITEM}}) and the
    two-character escapes backslash + n, r or t; the delay counts from the send before."""

    protocol: str
    port: int
    text: bytes
    delay_ms: int = 0
    ip: str = "127.0.0.1"


@dataclasses.dataclass(frozen=True)
class Event:
    """What one trigger sends; the delay counts from the trigger."""

    name: str
    delay_s: int
    sends: tuple[Send, ...]

    def due_ms(self):
        """When each send is due, in milliseconds after the event's own start."""
        due, now = [], 0
        for send in self.sends:
            now += send.delay_ms
            due.append(now)
        return due


@dataclasses.dataclass(frozen=True)
class Scenario:
    """Events and the items of the status report; ValueError for what a system could not do."""

    events: tuple[Event, ...]
    items: dict[str, str]

    def __post_init__(self):
        if len(self.items) < MIN_ITEMS:
            raise ValueError(f"a status report has {MIN_ITEMS} items or more")
        for event in self.events:
            _check_event(event)

    def event(self, name):
        return next(event for event in self.events if event.name == name)

    def ports(self, protocol):
        """The ports that are sent to, in rising order."""
        sends = (send for event in self.events for send in event.sends)
        return sorted({send.port for send in sends if send.protocol == protocol})

    def write_items(self, path):
        """The status service's items, a line name:value each."""
        lines = [f"{name}:{value}\n" for name, value in self.items.items()]
        pathlib.Path(path).write_text("".join(lines), encoding="latin-1")

    def write_settings(self, path):
        """The daemon's settings file."""
        path = pathlib.Path(path)
        path.parent.mkdir(parents=True, exist_ok=True)
        lines = [line for event in self.events for line in _settings_lines(event)]
        path.write_text("".join(line + "\n" for line in lines), encoding="latin-1")

    def write_json(self, path):
        """The same for the peers that read JSON."""
        events = {event.name: _event_json(event) for event in self.events}
        document = {"port": COMMAND_PORT, "status_port": STATUS_PORT, "events": events}
        pathlib.Path(path).write_text(json.dumps(document, indent=1), encoding="ascii")

    def write_shell(self, folder):
        """The same for a shell: a file an event, named after it, of `send` commands."""
        folder = pathlib.Path(folder)
        folder.mkdir(parents=True, exist_ok=True)
        for event in self.events:
            steps = zip(event.due_ms(), event.sends)
            lines = [f"send {event.delay_s * 1000 + due} {_shell_words(send)}\n" for due, send in steps]
            (folder / event.name).write_text("".join(lines), encoding="ascii")


def _check_event(event):
    if any(word in event.name for word in FIELD_WORDS):
        raise ValueError(f"{event.name}: a settings key would be split inside the name")
    if not 1 <= len(event.sends) <= MAX_SENDS:
        raise ValueError(f"{event.name}: 1 to {MAX_SENDS} sends")
    for send in event.sends:
        if len(send.text) > MAX_TEXT_BYTES or b"\0" in send.text:
            raise ValueError(f"{event.name}: at most {MAX_TEXT_BYTES} bytes and no zero are sent")
        if send.protocol not in PROTOCOLS:
            raise ValueError(f"{event.name}: {send.protocol} is none of {', '.join(PROTOCOLS)}")


def _settings_lines(event):
    yield f"{event.name}Count={len(event.sends)}"
    if event.delay_s:
        yield f"{event.name}Delay={event.delay_s}"
    # Rising order, and a delay for every step: the daemon adds them up as it reads.
    for i, send in enumerate(event.sends):
        yield f"{event.name}IP{i}={send.ip}"
        yield f"{event.name}Port{i}={send.port}"
        yield f"{event.name}Protocol{i}={send.protocol}"
        yield f"{event.name}Data{i}={send.text.hex().upper()}"
        yield f"{event.name}Delay{i}={send.delay_ms}"


def _event_json(event):
    sends = [{**dataclasses.asdict(send), "text": send.text.decode("latin-1")} for send in event.sends]
    return {"delay_s": event.delay_s, "sends": sends}


def _shell_words(send):
    return f"{send.protocol} {send.ip} {send.port} {_shell_text(send.text)}"


def _shell_text(text):
    plain = (chr(byte) if 32 <= byte < 127 and byte not in b"'\\" else f"\\x{byte:02x}" for byte in text)
    return "$'" + "".join(plain) + "'"
