"""A device with a daemon that is to survive: what it has to deliver, and what it may not lose."""

import os
import pathlib
import re
import threading

from harness import EVENT_LOG, TEST_SETTINGS, event, request, text_of, trigger, wait_until
from process import IDLE_EVENT, change_settings, descriptors, thread_count

# All sender slots at once: so many events of 128 steps each.
FULL_EVENTS = 4
FULL_STEPS = 128
# Long enough for the launch of them all; on a busy machine a longer one is.
FULL_DELAYS_MS = (600, 3000, 12000)
# The three standard ones and the listening socket.
STANDING_DESCRIPTORS = 4


def process_table():
    """(parent, command, state) of every process of this world, by its number."""
    found = {}
    for stat in pathlib.Path("/proc").glob("[0-9]*/stat"):
        try:
            name, rest = re.fullmatch(r"\d+ \((.*)\) (.*)\n", text_of(stat), re.DOTALL).groups()
        except (AttributeError, ProcessLookupError):
            continue
        fields = rest.split()
        found[int(stat.parent.name)] = (int(fields[1]), name, fields[0])
    return found


def descendants(pid):
    """The processes below the daemon, those that have ended and not been waited for included."""
    table = process_table()
    found = [pid]
    for parent in found:
        found += [number for number, (above, *_) in table.items() if above == parent]
    return {number: table[number] for number in found[1:]}


class Footprint:
    """What the daemon holds while it has nothing to do."""

    def __init__(self, pid):
        self.threads = len(os.listdir(f"/proc/{pid}/task"))
        # Which socket or pipe it is does not matter, its number does.
        self.descriptors = {
            number: re.sub(r"\[\d+\]", "", target) for number, target in descriptors(pid).items()
        }
        self.children = descendants(pid)
        # Of what shell commands have left behind, the parent is another by now.
        self.strangers = {
            name for _, name, _ in process_table().values() if name in ("nc", "timeout", "tr", "sh", "dash")
        }

    def __eq__(self, other):
        return vars(self) == vars(other)

    def __repr__(self):
        return f"Footprint({vars(self)})"


class Plant:
    """Receivers for every kind of step, the settings that name them, and the daemon."""

    def __init__(self, device):
        self.device = device
        self.udp = device.udp_receiver()
        self.tcp = device.tcp_receiver(reply=b"OK\r\n")
        self.full = [device.udp_receiver() for _ in range(FULL_EVENTS)]
        self.settings = self._settings()
        self.daemon = None
        self.before = None
        device.write_settings(self.settings)
        device.write_settings(event("Probe", (self.udp.ip, self.udp.port, "UDP", b"probe")), TEST_SETTINGS)

    def _settings(self):
        udp, tcp = (self.udp.ip, self.udp.port), (self.tcp.ip, self.tcp.port)
        text = IDLE_EVENT + event(
            "Lamp",
            (*udp, "UDP", b"input is {{input}}"),
            (*tcp, "TCP", b"on"),
            (*udp, "StatusUDP", b""),
            (*tcp, "StatusTCP", b""),
        )
        text += event("Hall", (*udp, "UDP", b"hall"))
        text += event("Spare", (*udp, "UDP", b"spare"))
        text += event("Later", (*udp, "UDP", b"later"), delay=1)
        for number, receiver in enumerate(self.full):
            step = (receiver.ip, receiver.port, "UDP", b"full")
            text += event(f"Full{number}", (*step, FULL_DELAYS_MS[0]), *[(*step, 0)] * (FULL_STEPS - 1))
        return text

    def start(self, *arguments, **options):
        """Starts the daemon and waits until it supervises; everything works before it is disturbed."""
        self.daemon = self.device.start_daemon(*arguments, **options)
        self.daemon.wait_for_supervision()
        self.note_footprint()
        return self.daemon

    @property
    def pid(self):
        return self.daemon.main_pid()

    def note_footprint(self):
        """Once the daemon has nothing to do: no shell command, no file, no connection."""
        seen = []

        def is_idle():
            seen.append(Footprint(self.pid))
            has_nothing_to_do = not seen[-1].children and len(seen[-1].descriptors) == STANDING_DESCRIPTORS
            return has_nothing_to_do and len(seen) > 3 and seen[-1] == seen[-2] == seen[-3]

        wait_until(is_idle, "the daemon has nothing to do")
        self.before = seen[-1]

    # What has to work.

    def deliver(self):
        """One trigger, and every kind of step arrives."""
        udp, tcp = len(self.udp.arrivals), len(self.tcp.arrivals)
        trigger("Lamp")
        for receiver, before, plain in ((self.udp, udp, b"input is HDMI1"), (self.tcp, tcp, b"on")):
            self._wait_for_pair(receiver, before, plain)

    @staticmethod
    def _wait_for_pair(receiver, before, plain):
        """A step's own data and the report of a status step; an earlier event may come in between."""

        def arrived():
            data = [arrival.data for arrival in receiver.arrivals[before:]]
            reports = [one for one in data if one.startswith(b"model:AV-100")]
            return data.count(plain) == 1 and len(reports) == 1

        wait_until(arrived, f"{plain!r} and a report arrive; got {receiver.arrivals[before:]}")

    def deliver_plain(self, name="Hall", data=b"hall"):
        """One trigger of one datagram, which needs nothing but a thread and a socket."""
        count = len(self.udp.arrivals)
        trigger(name)
        self.wait_for(data, count)

    def wait_for(self, data, before=0):
        """Waits for a datagram behind the first `before` ones."""
        wait_until(
            lambda: data in [arrival.data for arrival in self.udp.arrivals[before:]], f"{data!r} arrives"
        )

    def fill_all_slots(self):
        """So many senders at once as there are slots: were one lost, its datagram would be missing."""
        for shorter, longer in zip(FULL_DELAYS_MS, FULL_DELAYS_MS[1:] + (None,)):
            if self._senders_at_once() == FULL_EVENTS * FULL_STEPS:
                return
            assert longer, "the machine is too busy for so many senders at once"
            for number in range(FULL_EVENTS):
                self.settings = self.settings.replace(
                    f"Full{number}Delay0={shorter}\n", f"Full{number}Delay0={longer}\n"
                )
            change_settings(self.settings)

    def _senders_at_once(self):
        """Fires a datagram for each slot, all of which must arrive; returns how many waited together."""
        before = sum(len(receiver.arrivals) for receiver in self.full)
        most = 0

        def all_arrived():
            nonlocal most
            most = max(most, thread_count(self.pid) - self.before.threads)
            arrived = sum(len(receiver.arrivals) for receiver in self.full) - before
            return arrived == FULL_EVENTS * FULL_STEPS

        for number in range(FULL_EVENTS):
            trigger(f"Full{number}")
        wait_until(all_arrived, f"a datagram of each slot; {most} waited together", 40)
        # A table full of finished senders costs the next step its place, and is free behind it.
        wait_until(lambda: thread_count(self.pid) == self.before.threads, "every sender has ended")
        spared = text_of(EVENT_LOG).count(" UDP spare\n")
        trigger("Spare")
        wait_until(
            lambda: text_of(EVENT_LOG).count(" UDP spare\n") > spared, "the table has been looked through"
        )
        return most

    def command(self):
        """Every administrative command."""
        count = len(self.udp.arrivals)
        assert request(b"__TEST__:Probe\n") == b"call event Probe"
        self.wait_for(b"probe", count)
        assert request(b"__SET__:network.ruvo.enable=0\n") == b"Error: fail command:__SET__\n"
        assert request(b"Hall\n") == b"Event Disabled, skip Hall\n"
        assert request(b"__SET__:network.ruvo.enable=1\n") == b"Error: fail command:__SET__\n"
        assert request(b"__GET__:network.ruvo.enable\n").startswith(b"network.ruvo.enable=")

    def recover(self):
        """The very next trigger works, so does everything else, and nothing has been lost."""
        assert self.daemon.running()
        self.deliver()
        change_settings()
        self.command()
        self.fill_all_slots()
        self.deliver()
        self.lose_nothing()

    def lose_nothing(self):
        def is_back():
            return Footprint(self.pid) == self.before

        try:
            wait_until(is_back, "descriptors, threads and children are as before")
        except AssertionError:
            assert Footprint(self.pid) == self.before
            raise


class Asking:
    """A request on its way, whose reply may take until something gives way."""

    def __init__(self, data, timeout_s=60):
        self.reply = None
        self._thread = threading.Thread(target=self._ask, args=(data, timeout_s), daemon=True)
        self._thread.start()

    def _ask(self, data, timeout_s):
        self.reply = request(data, timeout_s=timeout_s)

    def wait(self):
        self._thread.join(60)
        return self.reply

    def waits(self):
        return self._thread.is_alive()
