"""The operations of the daemon that faults are put into, each with what it must do without one."""

import os
import re
import socket
import struct
import time

from harness import (
    ASC_MIRROR, COMMAND_PORT, DEADLINE_S, EVENT_LIST, EVENT_LOG, HEX_MIRROR, LOG, ROTATED_LOG, SETTINGS,
    STATUS_ITEMS, TEST_SETTINGS, event, request, text_of,
)

# What a failing call of the command server has it say.
ACCEPT = r"Error: \[handle_tcp_event:1410\] accept\(\): {text}\n"
RECEIVE = r"Error: \[handle_tcp_event:1420\] Recv\(\): {text}\n"
REPLY = r"Error: \[handle_tcp_event:1459\] send\(\): {text}\n"
COMMAND_REPLY = r"Error: fail response: __\w+__"
MALFORMED_REPLY = r"Error: fail response: __\w+"
SELECT = r"Error: \[handle_tcp_event:1401\] select\(\): {text}\n"
# And of a sender.
NOT_STARTED = r"Error: \[exec_event:912\] pthread_create, skip \w+ [\d.]+:\d+: {text}\n"
CONNECT = r"\[ruvotcp\] Error: connect [\d.]+:\d+ ;\({number}\){text};.*;\n"
SEND = r"\[ruvotcp\] Error: send\(len=-1\) [\d.]+:\d+ :\({number}\){text}\n\(\d+\)"
NOT_READ = r"\[renew_ruvo_txt;241\] Error: not found: {path}, writ default\n"
NOT_READ_EITHER = r"\[renew_ruvo_txt;261\] Error: cannot open .*;{text}\n"
SILENT = ""

SERVER_CALLS = ("select", "accept", "recv", "send", "open_to_write", "write", "allocation", "all_allocations")
EVENT_CALLS = SERVER_CALLS + ("popen",)
SENDER_CALLS = EVENT_CALLS + ("socket", "pthread_create")
DEFAULTS = (
    "EnableEvents=true\nFastCableDetectEvents=false\nPowerOnCount=0\nPowerOnDelay=1\nDVIConnectedCount=0\n"
    "DVIConnectedDelay=0\nDVIDisconnectedCount=0\nDVIDisconnectedDelay=0\nGenericEventsCount=0\n"
    "DataEncode=HEX\n"
)
REPORT = STATUS_ITEMS.replace("\n", "\r").encode()
SWITCH = b"__SET__:network.ruvo.enable="
SWITCH_REPLY = b"Error: fail command:__SET__\n"


class Operation:
    """Something that the daemon does, from its cause until nothing of it is left to do."""

    calls = SERVER_CALLS
    # What a failing call makes the daemon say; a call without an entry fails in silence.
    told = {"accept": (ACCEPT,), "recv": (RECEIVE,), "send": (REPLY,), "select": (SELECT,)}
    # Calls whose failure changes nothing of what the operation does.
    harmless = {"open_to_write", "write", "popen", "stat", "sysinfo", "rename", "system"}
    # Lines that go on with a message.
    continuations = (r"", r",value=.*")
    uptime_s = None
    preload = ()
    options = {}
    allowed_descriptors = ()

    def prepare(self, device):
        """Before the daemon starts."""

    def events(self, subject):
        """The settings of its events, beside the one that checks the daemon."""
        return ""

    def before(self, subject):
        """Before each fault, while no call fails."""

    def run(self, subject):
        """Causes it, and waits until it is over, whatever fails."""

    def works(self, subject):
        """Fails unless it has done what it is to do; when nothing failed, or nothing that matters."""

    def is_complete(self, subject):
        """What is missing when a harmless call has failed."""

    def restore(self, subject):
        """After each fault, while no call fails."""

    def wait_until_over(self, subject):
        # Two passes begin: the one between them has found everything that was queued.
        subject.wait_for_passes("queue", 2)
        subject.wait(lambda: subject.thread_count() <= 3, "the senders end")


class Request(Operation):
    """A request of the command port and its reply."""

    def __init__(self, data, reply, told=None):
        self.data, self.reply = data, reply
        # What a reply that can't be sent makes the daemon say continues the next message.
        if told is not None:
            self.told = {**Operation.told, "send": (told,)}

    def run(self, subject):
        self.answer = subject.ask(self.data)
        self.wait_until_over(subject)

    def works(self, subject):
        assert self.answer == self.reply, f"{self.data!r} is answered with {self.answer!r}"


class Trigger(Request):
    """An event whose bytes arrive."""

    calls = SENDER_CALLS
    told = {**Operation.told, "pthread_create": (NOT_STARTED,)}
    continuations = Operation.continuations + (r"\(\d+\).*;",)
    name = "Lamp"

    def __init__(self):
        super().__init__(self.name.encode() + b"\n", self.name.encode() + b"\n")

    def prepare(self, device):
        self.udp = device.udp_receiver()
        self.tcp = device.tcp_receiver(reply=b"OK\r\n")

    def step(self, protocol, data, *delay, receiver=None):
        receiver = receiver or (self.tcp if "TCP" in protocol else self.udp)
        return (receiver.ip, receiver.port, protocol, data, *delay)

    def run(self, subject):
        self.seen = {receiver: len(receiver.arrivals) for receiver in (self.udp, self.tcp)}
        super().run(subject)

    def arrived(self, receiver):
        return [arrival.data for arrival in receiver.arrivals[self.seen[receiver]:]]

    def expected(self):
        """By UDP, by TCP."""
        raise NotImplementedError

    def works(self, subject):
        super().works(subject)
        for receiver, datas in zip((self.udp, self.tcp), self.expected()):
            subject.wait(lambda: len(self.arrived(receiver)) >= len(datas), f"{datas} arrive")
            assert sorted(self.arrived(receiver)) == sorted(datas), self.arrived(receiver)


class UdpEvent(Trigger):
    """Two datagrams, one of them later."""

    calls = SENDER_CALLS + ("sendto",)

    def events(self, subject):
        return event("Lamp", self.step("UDP", b"first"), self.step("UDP", b"second", 10))

    def expected(self):
        return [b"first", b"second"], []


TCP_CALLS = SENDER_CALLS + ("setsockopt", "connect")
TCP_TOLD = {
    **Trigger.told,
    "connect": (CONNECT,),
    "send": (REPLY, SEND),
    "recv": (RECEIVE, SILENT),  # a sender takes no notice of a reply that fails
}


class TcpEvent(Trigger):
    calls = TCP_CALLS
    told = TCP_TOLD
    harmless = Trigger.harmless | {"setsockopt"}

    def events(self, subject):
        return event("Lamp", self.step("TCP", b"on!"))

    def expected(self):
        return [], [b"on!"]


class TcpEventOnDescriptor0(TcpEvent):
    """The socket that gets descriptor 0 stays open; no other does."""

    calls = ("setsockopt", "connect", "send", "recv")
    preload = ("close_stdin_at_listen.so",)
    allowed_descriptors = (0,)

    def descriptor_is_free(self, subject):
        return "0" not in os.listdir(f"/proc/{subject.pid}/fd")

    def before(self, subject):
        if not self.descriptor_is_free(subject):
            subject.restart()
        assert self.descriptor_is_free(subject)

    def is_complete(self, subject):
        assert not self.descriptor_is_free(subject)


class StatusUdpEvent(Trigger):
    calls = TCP_CALLS + ("sendto",)
    told = TCP_TOLD
    harmless = Trigger.harmless | {"setsockopt"}

    def events(self, subject):
        return event("Lamp", self.step("StatusUDP", b""))

    def expected(self):
        return [REPORT], []


class StatusTcpEvent(StatusUdpEvent):
    calls = TCP_CALLS

    def events(self, subject):
        return event("Lamp", self.step("StatusTCP", b""))

    def expected(self):
        return [], [REPORT]


class MacroEvent(Trigger):
    calls = SENDER_CALLS + ("sendto",)

    def events(self, subject):
        # The values of the status come from what was known before, where the service can't be asked.
        return event("Lamp", self.step("UDP", rb"{{input}} {{power}}\n{{nothing}}{{DATE}}{{time}}{{uptime}}"))

    continuations = Trigger.continuations + (r"\d{4}-\d\d-\d\d .*",)

    def works(self, subject):
        Request.works(self, subject)
        [data] = subject.wait(lambda: self.arrived(self.udp), "the event arrives")
        assert re.fullmatch(rb"HDMI1 on\n\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\d+", data), data


class UnreachableEvent(Trigger):
    """Nobody listens at the destination; the log tells."""

    calls = TCP_CALLS
    told = TCP_TOLD
    harmless = {"open_to_write", "popen", "setsockopt"}

    def events(self, subject):
        return event("Lamp", ("127.0.0.1", "9", "TCP", b"on!"))

    def expected(self):
        return [], []


class ManyLines(Request):
    """A text of several lines is looked up for each of them."""

    calls = EVENT_CALLS

    def __init__(self):
        super().__init__(b"a\nb\nc", b"a\nb\nc\n")

    continuations = Request.continuations + (r"b", r"c.*")


class UnknownEvent(Request):
    calls = EVENT_CALLS

    def __init__(self):
        super().__init__(b"Nobody\n", b"Nobody\n")


class GetCommand(Request):
    """With the simulated device's library, which does not survive each want of memory."""

    calls = ("select", "accept", "recv", "send", "open_to_read", "open_to_write", "write")

    def __init__(self):
        super().__init__(b"__GET__:network.ruvo.enable\n", b"network.ruvo.enable=1\n", COMMAND_REPLY)


class GetCommandOfSimpleLibrary(Request):
    """A device's library that needs no memory: every allocation is the daemon's own."""

    calls = ("allocation", "all_allocations")
    preload = ("answer_without_memory.so",)

    def __init__(self):
        key = b"network.name.of.the.device"
        super().__init__(b"__GET__:" + key + b"\n", key + b"=" + b"x" * 100 + b"\n")


class UnknownCommand(Request):
    def __init__(self):
        super().__init__(b"__FOO__:bar\n", b"Error: fail command:__FOO__\n", COMMAND_REPLY)


class MalformedCommand(Request):
    def __init__(self):
        super().__init__(b"__FOO\n", b"Error: fail command:__FOO\n", MALFORMED_REPLY)


class TestCommand(Trigger):
    calls = SENDER_CALLS + ("sendto", "open_to_read")
    told = {
        **Trigger.told,
        "send": (COMMAND_REPLY,),
        "open_to_read": (NOT_READ.format(path=TEST_SETTINGS),),
    }
    harmless = Trigger.harmless | {"open_to_read"}

    def __init__(self):
        super().__init__()
        self.data, self.reply = b"__TEST__:Lamp\n", b"call event Lamp"

    def before(self, subject):
        subject.device.write_settings(event("Lamp", self.step("UDP", b"test")), TEST_SETTINGS)

    def expected(self):
        return [b"test"], []


class TestCommandWithoutSettings(Request):
    """The test settings are made when they are missing."""

    calls = EVENT_CALLS + ("open_to_read",)
    told = {
        **Operation.told,
        "open_to_read": (NOT_READ.format(path=TEST_SETTINGS), NOT_READ_EITHER),
    }
    harmless = {"popen"}

    def __init__(self):
        super().__init__(b"__TEST__:Lamp\n", b"call event Lamp", COMMAND_REPLY)
        self.told = {**self.told, "open_to_read": TestCommandWithoutSettings.told["open_to_read"]}

    def before(self, subject):
        TEST_SETTINGS.unlink(missing_ok=True)

    def works(self, subject):
        super().works(subject)
        assert text_of(TEST_SETTINGS) == DEFAULTS, text_of(TEST_SETTINGS)


class SwitchCommand(Operation):
    """Off, a trigger, on again, a trigger."""

    calls = EVENT_CALLS + ("system",)
    told = {**Operation.told, "send": (REPLY, COMMAND_REPLY)}

    def run(self, subject):
        self.answers = [subject.ask(data) for data in (SWITCH + b"0", b"Nobody", SWITCH + b"1", b"Nobody")]
        self.wait_until_over(subject)

    def works(self, subject):
        expected = [SWITCH_REPLY, b"Event Disabled, skip Nobody", SWITCH_REPLY, b"Nobody\n"]
        assert self.answers == expected, self.answers

    def restore(self, subject):
        assert subject.ask(SWITCH + b"1") == SWITCH_REPLY


class DisabledEvent(Trigger):
    """It is queued while events are enabled and skipped when they are not any more."""

    DELAY_S = 2  # long enough for the command that comes between, on a crowded machine too

    calls = ("open_to_write", "allocation", "all_allocations")
    harmless = set()

    def events(self, subject):
        return event("Lamp", self.step("UDP", b"never"), delay=self.DELAY_S)

    def run(self, subject):
        self.lines = text_of(EVENT_LOG).count(", disabled uptime=")
        self.seen = {receiver: len(receiver.arrivals) for receiver in (self.udp, self.tcp)}
        self.answer = subject.ask(self.data)
        queued = time.monotonic()
        subject.ask(SWITCH + b"0")
        # Delays are counted by the daemon's own clock and not shortened.
        subject.wait(lambda: time.monotonic() - queued > self.DELAY_S, "the event is due")
        self.wait_until_over(subject)

    def expected(self):
        return [], []

    def is_complete(self, subject):
        assert text_of(EVENT_LOG).count(", disabled uptime=") == self.lines + 1

    restore = SwitchCommand.restore


class PowerOnEvent(Trigger):
    """Within the power-on window; an event of the display is skipped there."""

    uptime_s = 20
    calls = SENDER_CALLS + ("sendto",)
    name = "PowerOn"

    def events(self, subject):
        self.started = time.monotonic()
        skipped = event("DVIConnected", self.step("UDP", b"never"))
        return event("PowerOn", self.step("UDP", b"power on")) + skipped

    def before(self, subject):
        if time.monotonic() - self.started > 60:
            self.started = time.monotonic()
            subject.restart()

    def run(self, subject):
        self.skipped = text_of(EVENT_LOG).count("  skip uptime=")
        self.second = subject.ask(b"DVIConnected\n")
        super().run(subject)

    def works(self, subject):
        super().works(subject)
        assert self.second == b"DVIConnected\n", self.second

    def is_complete(self, subject):
        assert text_of(EVENT_LOG).count("  skip uptime=") == self.skipped + 1

    def expected(self):
        return [b"power on"], []


class Reload(Trigger):
    """The settings file is replaced, and what is in the new one counts."""

    calls = ("stat", "open_to_read", "open_to_write", "write", "popen", "allocation", "all_allocations")
    told = {"open_to_read": (NOT_READ.format(path=SETTINGS),)}
    harmless = Trigger.harmless | {"open_to_read"}
    version = 0

    def events(self, subject):
        self.version += 1
        return event("Lamp", self.step("UDP", b"version %d" % self.version), delay=0)

    def run(self, subject):
        self.text = subject.settings(self.events(subject))
        subject.device.replace_settings(self.text)
        # One pass sees it; a file that the daemon has appended to is seen to change again.
        subject.wait_for_passes("supervision", 5)

    def works(self, subject):
        Trigger.run(self, subject)
        Trigger.works(self, subject)

    def expected(self):
        return [b"version %d" % self.version], []

    def is_complete(self, subject):
        assert text_of(SETTINGS) == self.text
        assert text_of(HEX_MIRROR) == self.text
        assert f"=version {self.version}\n" in text_of(ASC_MIRROR)
        assert f":version {self.version}:" in text_of(EVENT_LIST)


class Clients(Request):
    """Clients that say nothing, that go away, that say something."""

    calls = EVENT_CALLS
    told = {**Operation.told, "recv": (RECEIVE, SILENT)}

    def __init__(self):
        super().__init__(b"Nobody\n", b"Nobody\n")

    def run(self, subject):
        clients = []
        for _ in range(4):
            try:
                clients.append(socket.create_connection(("127.0.0.1", COMMAND_PORT), DEADLINE_S))
            except ConnectionRefusedError:
                pass
        for client in clients[:1]:
            client.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            client.close()
        for client in clients[1:2]:
            client.shutdown(socket.SHUT_WR)
        super().run(subject)
        for client in clients[1:]:
            client.close()
        subject.wait(lambda: not subject.holds_connections(), "the silent connections are closed")


class Uptime(Operation):
    """The supervision loop looks at the clock once a second."""

    calls = ("sysinfo",)

    def run(self, subject):
        end = subject.orders.calls("sysinfo") + 1
        subject.wait(lambda: subject.orders.calls("sysinfo") >= end, "the uptime is read")
        subject.wait_for_passes("supervision", 1)


class Rotation(Operation):
    """One statement's 20000th message renames the log; each request here is one message."""

    LIMIT = 20000
    calls = ("rename",)
    harmless = set()
    counted_from = 0

    def before(self, subject):
        self.counted_from = max(self.counted_from, subject.received_before)
        while subject.orders.calls("recv") - self.counted_from < self.LIMIT - 1:
            request(b"__X__:\n")
        self.renames = subject.orders.calls("rename")

    def run(self, subject):
        subject.ask(b"__X__:\n")
        self.wait_until_over(subject)
        assert subject.orders.calls("rename") == self.renames + 1
        # Counting starts over, whether the file has got its new name or not.
        self.counted_from = subject.orders.calls("recv")

    def works(self, subject):
        assert not LOG.exists() or LOG.stat().st_size < 1000
        assert text_of(ROTATED_LOG).count("[handle_tcp_event:1434]") >= self.LIMIT


OPERATIONS = {
    "udp": UdpEvent,
    "tcp": TcpEvent,
    "tcp-on-0": TcpEventOnDescriptor0,
    "status-udp": StatusUdpEvent,
    "status-tcp": StatusTcpEvent,
    "macros": MacroEvent,
    "unreachable": UnreachableEvent,
    "unknown-event": UnknownEvent,
    "lines": ManyLines,
    "power-on": PowerOnEvent,
    "disabled": DisabledEvent,
    "get": GetCommand,
    "get-memory": GetCommandOfSimpleLibrary,
    "set": SwitchCommand,
    "test": TestCommand,
    "test-defaults": TestCommandWithoutSettings,
    "unknown-command": UnknownCommand,
    "malformed-command": MalformedCommand,
    "reload": Reload,
    "clients": Clients,
    "uptime": Uptime,
    "rotation": Rotation,
}
