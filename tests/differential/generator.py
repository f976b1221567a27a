"""Rounds of the differential test: a world, a settings file, and what is triggered in it.

A round follows from its seed and number alone, so either can be repeated alone.
"""

import dataclasses
import random as random_numbers
import typing

import event_data
import settings_lines
import step_values
from settings_lines import EventLines, dress_lines, junk_lines
from step_values import pick_weighted

STEPS_OF_A_ROUND = 170  # more of them at once would hold up the executor's pass

BUILT_INS = settings_lines.BUILT_INS
PLAIN_NAMES = ("Lamp", "Beamer", "Saal 1", "X", "Screen-down", "R\xe4um", "lamp", "Wand;2", "a:b", "__Own")
LIKE_BUILT_INS = (
    "dviconnected", "POWERON", "DVIDISCONNECTED", "PowerOn2", "DviConnected", "DVIConnected2",
)
NAMES_WITH_FIELD_WORDS = (
    "DisplayPortOn", "HDMIPlug", "HDM", "CountdownStart", "DataWall", "MyIPCam", "PortalView", "ProtocolX",
    "DelayLine", "XMLfieldLamp", "LampCounter", "GenericEvents", "Count", "IP", "TheDelay",
)

# The status service's answer; the serial number tells one answer from the next.
ITEMS = ("model:AV-100", "input:HDMI1", "power:on", "volume:42", "mute:off", "temperature:38 C")
ODD_ITEMS = (
    "time:noon", "Time:half past", "date:", "uptime:-1", ":nameless", "mute2:", "name : value ",
    "esc:a\\nb\\rc\\td", "half:n tail", "brace:}}", "nest:{{time}}", "long:" + "v" * 120, "model:second",
    "caf\xe9:cr\xe8me", "no colon in here", "a:b:c", "huge:" + "h" * 2100, "huge:" + "h" * 2042 + "tail:end",
    "{:brace", "time}:odd",
)


@dataclasses.dataclass(frozen=True)
class World:
    uptime_s: int = 5000
    # "none" does not run, and "short" answers with too few items: the daemon then waits
    # for ever, with its port open and without an item.
    service: str = "full"

    @property
    def in_window(self):
        return self.service != "full" or self.uptime_s <= 120


@dataclasses.dataclass(frozen=True)
class Round:
    seed: int
    number: int
    world: World
    fresh: bool  # the daemon starts with this file instead of noticing a change
    settings: tuple[bytes, ...]  # lines with their ends
    test_settings: tuple[bytes, ...]
    items: bytes
    short_items: typing.Optional[bytes]  # an answer too short to be taken over
    requests: tuple[bytes, ...]
    tests: tuple[bytes, ...]  # names that __TEST__ runs
    late_requests: tuple[bytes, ...]  # taken while the switch is on, due when it is off
    refused_requests: tuple[bytes, ...]  # sent while the switch is off
    settings_before: tuple[bytes, ...]  # what the daemon has when this file is void


def make_round(seed, number):
    random = random_numbers.Random(f"{seed}/{number}")
    world, fresh = _world(random, number)
    items, names = _items(random)
    if world.service == "short":
        items = _short_items(seed, number)
    event_names = [_event_names(random, largest, world) for largest in (9, 9, 3)]
    void = number % 14 == 9 or random.random() < 0.01
    settings, events = _settings(random, names, event_names[0], void)
    before, events_before = _settings(random, names, event_names[1])
    test_settings, test_events = _settings(random, names, event_names[2], is_test=True)
    requests = _requests(random, events + events_before[:2])
    with_switch = not fresh and random.random() < 0.35
    return Round(
        seed=seed, number=number, world=world, fresh=fresh, settings=tuple(settings),
        test_settings=tuple(test_settings), items=items,
        short_items=_short_items(seed, number) if not fresh and random.random() < 0.15 else None,
        requests=tuple(requests),
        tests=tuple(_test_names(random, test_events)),
        late_requests=(b"Slow\n", b"Slower\n") if with_switch else (),
        refused_requests=tuple(requests[:3]) if with_switch else (),
        settings_before=tuple(before),
    )


def _world(random, number):
    """Rounds of one world stand beside each other: a change of the uptime costs a new start."""
    place = number % 14
    if place in (4, 5, 6, 7):
        return World(uptime_s=20), False
    if place == 8:
        return World(uptime_s=random.choice((3, 60, 4000)), service=random.choice(("none", "short"))), True
    if place == 9:
        return World(), True
    if place in (10, 11, 12):
        return World(uptime_s=(121, 86400 * 400, 1000000)[number // 14 % 3]), False
    return World(), False


def _items(random):
    items = list(ITEMS) + [f"serial:{random.getrandbits(32):08x}"]
    items += random.sample(ODD_ITEMS, random.choice((0, 1, 3, 6)))
    if random.random() < 0.3:
        random.shuffle(items)
    names = [item.split(":")[0].encode("latin-1") for item in items]
    return "".join(item + "\n" for item in items).encode("latin-1"), names


def _short_items(seed, number):
    return f"model:short\nserial:short-{seed}-{number}\na:1\nb:2\nc:3\n".encode()


def _settings(random, item_names, names, void=False, is_test=False):
    """A settings file's lines, and its events as lists of the texts that may trigger them."""
    budget = STEPS_OF_A_ROUND // (4 if is_test else 1)
    lines, events = junk_lines(random), []
    for name in names:
        event = EventLines(random, name.encode("latin-1"), item_names, names, min(budget, 128))
        budget -= event.steps
        lines += event.lines
        events.append(event.triggers)
        if budget < 8:
            break
    if not is_test:
        lines += _slow_events(random)
    if random.random() < 0.08:
        random.shuffle(lines)
    if void:
        field = random.choice((b"IP", b"Data", b"Count", b"XMLfield", b"Delay"))
        line = random.choice(names).encode("latin-1") + field + random.choice(step_values.INDEX_VOIDS) + b"=1"
        lines.insert(random.randrange(len(lines) + 1), line)
    return dress_lines(random, lines), events


def _slow_events(random):
    """Events without a trap, due a known time behind their trigger."""
    lines = []
    for name, delay in ((b"Slow", 1), (b"Slower", random.choice((1, 2)))):
        lines += [
            name + b"Count=2", name + b"Delay=%d" % delay, name + b"IP0=10.1.2.3", name + b"Port0=5000",
            name + b"Protocol0=UDP",
            name + b"Data0=" + event_data.message(random, [b"model"]).hex().encode(),
            name + b"IP1=203.0.113.7", name + b"Port1=6000", name + b"Protocol1=TCP",
            name + b"Data1=736C6F77",
        ]
    return lines


def _event_names(random, largest, world):
    names = random.sample(PLAIN_NAMES, random.randint(1, largest - 1))
    if random.random() < 0.7:
        names += random.sample(BUILT_INS, random.randint(1, min(3, largest - 1)))
    if random.random() < (0.7 if world.in_window else 0.25):
        names.append(random.choice(LIKE_BUILT_INS))
    if random.random() < 0.3:
        names.append(random.choice(NAMES_WITH_FIELD_WORDS))
    random.shuffle(names)
    return names[:largest]


def _requests(random, events):
    requests = []
    for triggers in events:
        for trigger in triggers:
            requests += [_request(random, trigger) for _ in range(pick_weighted(random, ((8, 1), (1, 2))))]
    random.shuffle(requests)
    return requests[:14] or [b"Lamp\n"]


def _request(random, trigger):
    """What a client sends; nothing but the plain forms finds the event."""
    return pick_weighted(random, (
        (70, trigger + b"\n"), (12, trigger), (5, trigger + b"=1\n"), (3, trigger + b"\r\n"),
        (2, trigger.swapcase() + b"\n"), (2, trigger + b" \n"), (2, trigger + b"\n" + trigger + b"\n"),
        (1, trigger + b"\n\n"), (1, b" " + trigger + b"\n"), (2, trigger + b"\0 and more\n"),
        (1, trigger + b"=" + b"x" * 1200),
    )) or b"\n"


def _test_names(random, events):
    if random.random() < 0.4:
        return []
    return [trigger for triggers in events for trigger in triggers[:1] if b"=" not in trigger]
