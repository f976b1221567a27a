"""The daemon under test: one process that is to survive thousands of faults."""

import os
import pathlib
import re
import sys

sys.path.insert(0, str(pathlib.Path(__file__).parents[1] / "system"))

# The folder of the system tests is known from here on.
from fault_orders import LIBRARY, CallOrders  # noqa: E402
from harness import DAEMON, LOG, PID_FILE, event, request, text_of, wait_until  # noqa: E402
from process import descriptors  # noqa: E402

SANITIZED = b"__asan_init" in pathlib.Path(DAEMON).read_bytes()
PRELOADED = [LIBRARY] if SANITIZED else [LIBRARY, "fail_allocations.so"]
SHORTER_NAPS = "10"

# Every message with a function and a line number that the daemon has.
KNOWN_MESSAGES = {
    "_system": {156},
    "dump": {733},
    "exec_event": {786, 797, 804, 819, 836, 847, 861, 878, 885, 912},
    "get_new_ret_thread": {57, 63, 68},
    "get_token_value": {1313},
    "handle_q_event": {938},
    "handle_tcp_command": {1512, 1521, 1540, 1549, 1556, 1559, 1562},
    "handle_tcp_event": {1368, 1372, 1382, 1384, 1392, 1401, 1410, 1420, 1434, 1444, 1459, 1461},
    "main": {1918, 1924, 1929, 1931, 1949, 1957, 1959, 1983, 1996},
    "push_event_back": {171},
    "rebuild_ruvo_event_list": {620, 629},
    "renew_enable_event": {700},
    "renew_macro_var": {307, 327},
    "renew_network_info": {648},
    "renew_ruvo_txt": {241, 261, 288, 292},
    "tcpclient": {108},
    "tcpclient_getStatus_thread": {199},
    "tcpclient_thread": {154, 159},
    "udpclient": {42},
    "udpclient_getStatus_thread": {178},
    "udpclient_thread": {131, 136},
}
TAG = re.compile(r"(?:Error: )?\[(\w+)[:;](\d+)\]")
OTHER_MESSAGES = re.compile(
    r"\[ruvotcp\] Error: (connect|send\(len=-1\)) .*"
    r"|ruvotcp V\S+ Build: .*"
    r"|Error: pthread_create handle_(tcp|q)_event\(\): .*"
    r"|Error: fail response: .*"
    r"|Error: fail command:.*"
)

CHECK_DATA = b"check"
# So many senders at a time look at so many slots at least.
SLOTS_LOOKED_AT = 16


def unknown_lines(text, continuations=()):
    """Lines that are no message of the daemon's, nor the rest of one."""
    unknown = []
    for line in text.split("\n"):
        tag = TAG.match(line)
        if tag:
            known = int(tag[2]) in KNOWN_MESSAGES.get(tag[1], ())
        else:
            known = OTHER_MESSAGES.fullmatch(line) or any(re.fullmatch(one, line) for one in continuations)
        if not known:
            unknown.append(line)
    return unknown


def taken_slots(output):
    return [int(slot) for slot in re.findall(r"get thread id=(\d+)\n", output)]


def freed_slots(output):
    return [int(slot) for slot in re.findall(r"free thread id=(\d+)\n", output)]


class Growing:
    """What has been added to a file since the last look."""

    def __init__(self, path):
        self._path = pathlib.Path(path)
        self._seen = 0

    def added(self):
        try:
            with self._path.open("rb") as file:
                if os.fstat(file.fileno()).st_size < self._seen:
                    self._seen = 0  # another file by now
                file.seek(self._seen)
                data = file.read()
        except FileNotFoundError:
            return ""
        self._seen += len(data)
        return data.decode("latin-1")


def children_of(pid):
    found = []
    for entry in pathlib.Path("/proc").glob("[0-9]*"):
        fields = text_of(entry / "stat").rsplit(")", 1)
        if len(fields) == 2 and int(fields[1].split()[1]) == pid:
            found.append((int(entry.name), fields[0].split("(", 1)[1]))
    return found


class Subject:
    """The daemon, what it had when it was idle, and the event that shows that it works."""

    def __init__(self, device, uptime_s=None, preload=(), **options):
        self.device = device
        self.orders = CallOrders(device)
        self.checks = device.udp_receiver()
        self._uptime_s = uptime_s
        self._preload = [*PRELOADED, *preload]
        self._options = options
        self._events = ""
        device.environment["RUVO_SHORTER_NAPS"] = SHORTER_NAPS
        self.log = Growing(LOG)

    def settings(self, events):
        """The settings with these events and the one that checks the daemon."""
        check = event("Check", (self.checks.ip, self.checks.port, "UDP", CHECK_DATA))
        waiting = [("127.0.0.1", "9", "UDP", b"slot", 100 if i == 0 else 0) for i in range(SLOTS_LOOKED_AT)]
        return "EnableEvents=true\n" + check + event("Slots", *waiting) + events

    def configure(self, events):
        self.device.write_settings(self.settings(events))

    def start(self, wait=True):
        self.received_before = self.orders.calls("recv")
        self.daemon = self.device.start_daemon(
            "-d", preload=self._preload, uptime_s=self._uptime_s, wait=wait, **self._options
        )
        self.output = Growing(self.daemon.output_path)

    def start_and_settle(self):
        PID_FILE.unlink(missing_ok=True)
        self.start()
        self.pid = int(wait_until(lambda: text_of(PID_FILE).strip(), "the pid file is written"))
        self.wait_for_passes("supervision", 3)
        for _ in range(2):
            self.fire_check()
            self.wait_for_passes("queue", 2)
        wait_until(lambda: self.thread_count() == 3 and not children_of(self.pid), "the daemon is idle")
        self.idle_descriptors = descriptors(self.pid)
        self.told()

    def restart(self):
        self.daemon.stop()
        self.device.enable()
        self.start_and_settle()

    def holds_connections(self):
        """Sockets that it has not had while it was idle."""
        return [to for to in descriptors(self.pid).values()
                if to.startswith("socket:") and to not in self.idle_descriptors.values()]

    def ended(self):
        return not self.daemon.running()

    def wait(self, condition, what):
        """As wait_until, but a daemon that has ended is not waited for."""

        def checked():
            assert not self.ended(), f"the daemon has ended with {self.daemon.process.returncode}"
            return condition()

        return wait_until(checked, what)

    def wait_for_passes(self, which, count):
        call = f"{which}_pass"
        end = self.orders.calls(call) + count
        self.wait(lambda: self.orders.calls(call) >= end, f"{count} passes of the {which}")

    def thread_count(self):
        return len(os.listdir(f"/proc/{self.pid}/task"))

    def ask(self, data):
        """One request; no reply at all is an empty one."""
        try:
            return request(data)
        except TimeoutError as error:
            raise AssertionError(f"{data!r} is not answered") from error
        except OSError:
            return b""

    def fire_check(self):
        before = len(self.checks.arrivals)
        reply = self.ask(b"Check\n")
        assert reply == b"Check\n", f"a trigger is answered with {reply!r}"
        self.wait(lambda: len(self.checks.arrivals) > before, "the checking event arrives")
        datas = [arrival.data for arrival in self.checks.arrivals[before:]]
        assert datas == [CHECK_DATA], f"the checking event has sent {datas}"

    def wait_for_events(self):
        """Waits until the daemon knows its settings and runs an event."""
        before = len(self.checks.arrivals)

        def runs():
            assert self.ask(b"Check\n") in (b"Check\n", b"Event Disabled, skip Check\n"), "another reply"
            self.wait_for_passes("queue", 2)
            return len(self.checks.arrivals) > before

        self.wait(runs, "the checking event arrives")

    def check_one_slot(self, output):
        """The slots before the one that the only sender has got were all waiting to be joined."""
        [taken] = taken_slots(output)
        freed = freed_slots(output)
        assert freed == list(range(taken)), f"slot {taken} is taken, {freed} are freed"

    def check_slots(self, allowed_descriptors):
        """Holds many slots at a time; one that is neither free nor joined by then is lost."""
        self.told()
        assert self.ask(b"Slots\n") == b"Slots\n"
        self.wait_for_passes("queue", 2)
        self.wait_for_quiet(allowed=allowed_descriptors)
        output = self.told()[0]
        taken = taken_slots(output)
        assert len(taken) == SLOTS_LOOKED_AT, f"slots {taken} have been taken"
        lost = set(range(max(taken))) - set(taken) - set(freed_slots(output))
        assert not lost, f"slots are lost: {lost}"

    def wait_for_quiet(self, threads=3, missing=(), allowed=()):
        """Waits until the daemon has again what it had when it was idle, and no more."""

        def left_over():
            expected = {number: to for number, to in self.idle_descriptors.items() if number not in missing}
            found = {number: to for number, to in descriptors(self.pid).items()
                     if number not in allowed or number in expected}
            return {
                "threads": self.thread_count() - threads,
                "children": children_of(self.pid),
                "descriptors lost": [item for item in found.items() if item not in expected.items()],
                "descriptors gone": [item for item in expected.items() if item not in found.items()],
            }

        try:
            self.wait(lambda: not any(left_over().values()), "")
        except AssertionError as error:
            assert not self.ended(), error
            raise AssertionError(f"still there: {left_over()}") from None

    def told(self):
        """What the daemon has told since the last look, on standard output and in the log."""
        return self.output.added(), self.log.added()
