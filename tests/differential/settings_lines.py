"""The lines of a settings file: whole events with their traps, and what stands around them."""

import event_data
import step_values
from step_values import pick_weighted

BUILT_INS = ("PowerOn", "DVIConnected", "DVIDisconnected")

TRAP = 0.05  # of each value, each index and each line

# The sum of an event's step delays stays near this: a test waits for the last one.
LONGEST_EVENT_MS = 700

LINE_BYTES = 2047  # a longer line is read in pieces


class EventLines:
    """One event's settings lines, without line ends."""

    def __init__(self, random, name, item_names, other_names, most_steps):
        self._random = random
        self._name = name
        self._is_built_in = name.decode("latin-1") in BUILT_INS
        self._item_names = item_names
        self.steps = self._number_of_steps(most_steps)
        self.triggers = [name]
        self.lines = self._arranged(other_names)

    def _number_of_steps(self, most):
        small = self._random.randint(1, 9)
        many = self._random.choice((20, 60, 128))
        return min(most, many if self._random.random() < 0.03 else small)

    def _trap(self, scale=1.0):
        return self._random.random() < TRAP * scale

    def _arranged(self, other_names):
        random = self._random
        head = self._count_lines()
        settings = self._event_delay_lines() + self._trigger_lines(other_names)
        random.shuffle(settings)
        steps = self._step_lines()
        return pick_weighted(random, (
            (16, head + settings + steps), (2, settings + steps + head), (1, steps + head + settings),
            (1, head + steps + settings),
        ))

    def _count_lines(self):
        random, name, steps = self._random, self._name, self.steps
        usual = b"%d" % steps
        values = (
            (70, usual), (5, b"%d" % (steps + random.randint(1, 3))), (3, b"%d" % max(1, steps - 1)),
            (1, b"128"),
            (1, b"129"), (1, b"300"), (2, usual + b"abc"), (2, b" " + usual), (1, b"+0" + usual),
            (1, b"%d" % (steps + 2**32)), (2, usual + b" steps"), (1, usual + b".9"),
            (4, random.choice(step_values.COUNT_GARBAGE)),
        )
        lines = [name + b"Count=" + pick_weighted(random, values)]
        if self._trap():
            lines.append(name + b"Count=" + pick_weighted(random, values))
        if self._trap(0.5):
            lines.append(name + random.choice((b"Count0=9", b"count=3", b"Counts", b"Count")))
        return lines

    def _event_delay_lines(self):
        random = self._random
        delays = (
            (20 if self._is_built_in else 60, ()), (10, (b"1",)), (2, (b"2",)),
            (3, (b"1", b"0")), (1, (b"60", b"0")),
            (16, (random.choice(step_values.EVENT_DELAYS_AT_ONCE),)),
            (6, (random.choice(step_values.EVENT_DELAYS_OF_ONE),)),
            (2, (random.choice(step_values.STALE_DELAYS),)),
        )
        return [self._name + b"Delay=" + delay for delay in pick_weighted(random, delays)]

    def _trigger_lines(self, other_names):
        random = self._random
        if random.random() < (0.3 if self._is_built_in else 0.6):
            return []
        trigger = pick_weighted(random, (
            (10, b"on %d" % random.randrange(100)), (1, b""), (1, self._name + b" "), (1, b"a=b"),
            (2, random.choice(other_names).encode("latin-1")), (1, self._name.lower()), (1, b"x" * 300),
            (1, b"y" * random.choice((1022, 1023, 1024))), (1, b"{{time}}"), (1, b"__own"), (1, b"\xe4\xf6"),
            (1, b"cr\r"), (1, b"zero\0byte"),
        ))
        self.triggers.append(trigger.split(b"\0")[0])
        return [self._name + b"XMLfield=" + trigger]

    def _step_lines(self):
        random = self._random
        delays = self._delays()
        steps = [self._one_step(number, delay) for number, delay in enumerate(delays)]
        order = pick_weighted(random, ((20, steps), (1, steps[::-1]), (1, random.sample(steps, len(steps)))))
        return [line for step in order for line in step]

    def _delays(self):
        """A value for each step, or None for a step without a Delay line."""
        random, steps = self._random, self.steps
        largest = LONGEST_EVENT_MS // steps
        first = step_values.step_delay(random, False, min(largest, 120))
        return pick_weighted(random, (
            (3, [None] * steps),
            (2, [first] + [b"0"] * (steps - 1)),  # all due together
            (4, [step_values.step_delay(random, self._trap(2), largest) for _ in range(steps)]),
            (2, [self._delay_or_none(largest) for _ in range(steps)]),
            (1, [b"%d" % random.choice((0, min(5, largest))) for _ in range(steps)]),
        ))

    def _delay_or_none(self, largest):
        if self._random.random() < 0.4:
            return None
        return step_values.step_delay(self._random, self._trap(), largest)

    def _one_step(self, number, delay):
        random = self._random
        data = event_data.message(random, self._item_names)
        values = [
            (b"Protocol", lambda: step_values.protocol(random, self._trap(2))),
            (b"IP", lambda: step_values.address(random, self._trap(2))),
            (b"Port", lambda: step_values.port(random, self._trap(2))),
            (b"Data", lambda: event_data.hex_text(random, data, self._trap(2))),
        ]
        if delay is not None:
            values.append((b"Delay", lambda: delay))
        if random.random() < 0.3:
            random.shuffle(values)
        return [line for field, value in values for line in self._property_lines(number, field, value)]

    def _property_lines(self, number, field, value):
        if field != b"Delay" and self._trap(0.4):
            return []  # a forgotten line
        lines = [self._property_line(number, field, value())]
        if self._trap(0.4):
            lines.append(self._property_line(number, field, value()))
        return lines

    def _property_line(self, number, field, value):
        random = self._random
        key = self._name + field + step_values.index(random, number, self._trap(), self.steps)
        if self._trap(0.3):
            # Delay without an index is the event's own, in seconds.
            without_index = () if field == b"Delay" else (self._name + field,)
            others = (b" " + key, key.lower(), b"#" + key, key + b" ", b"\t" + key)
            key = random.choice(others + without_index)
        return self._padded(key + b"=" + value)

    def _padded(self, line):
        """Sometimes the line stands behind a piece of a line that is too long."""
        if not self._trap(0.15):
            return line
        return self._random.choice((
            b"#" * LINE_BYTES + line, b"#" * (LINE_BYTES - 1) + line, b"x=" + b"y" * (LINE_BYTES - 2) + line,
            line + b"0" * (LINE_BYTES + 5), line + b"\0" + b"z" * LINE_BYTES,
        ))


def junk_lines(random):
    """What a file holds besides events."""
    default = [
        b"EnableEvents=false", b"FastCableDetectEvents=false", b"GenericEventsCount=0", b"DataEncode=HEX",
    ]
    comments = [
        b"# comment", b"", b"no setting", b"#a=b", b"=", b"==", b"=value", b"\0hidden=1", b" ", b"Unknown=1",
    ]
    return (default if random.random() < 0.5 else []) + random.sample(comments, random.randint(0, 4))


def dress_lines(random, lines):
    """Puts line ends behind the lines, and zero bytes and a byte-order mark where they hurt."""
    style = pick_weighted(random, ((70, "lf"), (12, "crlf"), (10, "mixed"), (1, "cr")))
    dressed = [_with_zero_byte(random, line) + _line_end(random, style) for line in lines]
    if dressed and random.random() < 0.1:
        dressed[-1] = dressed[-1].rstrip(b"\n")
    if dressed and random.random() < 0.04:
        dressed[0] = b"\xef\xbb\xbf" + dressed[0]
    return dressed


def _line_end(random, style):
    return {
        "lf": b"\n", "crlf": b"\r\n", "cr": b"\r", "mixed": random.choice((b"\n", b"\n", b"\r\n")),
    }[style]


def _with_zero_byte(random, line):
    # Not in a Delay: a shortened number could be any.
    if random.random() > 0.008 or b"Delay" in line:
        return line
    place = random.randint(0, len(line))
    return line[:place] + b"\0" + line[place:]
