"""Faults while the daemon starts, and in its client mode: a process for each of them."""

import os
import re

from errors import ALL_ALLOCATIONS, number_of
from harness import (
    EVENT_LOG, LOG, PID_FILE, SETTINGS, STATUS_ITEMS, VARIABLES, command_port_listens, text_of,
    wait_until,
)
from operations import NOT_READ, SELECT
from process import REBUILT, descriptors
from subject import PRELOADED, Growing, Subject, children_of, unknown_lines

# The calls without which there is no command port; the daemon lives on.
NO_PORT = {
    "socket": r"Error: \[handle_tcp_event:1368\] open socket\(\): {text}\n",
    "setsockopt": r"Error: \[handle_tcp_event:1372\] Server-setsockopt\(\): {text}\n",
    "bind": r"Error: \[handle_tcp_event:1384\] bind\(\): \({number}\){text}\n",
    "listen": r"Error: \[handle_tcp_event:1392\] listen\(\): {text}\n",
    "select": SELECT,
}
NO_THREAD = r"Error: pthread_create handle_(tcp|q)_event\(\): {text}\n"
NO_INTERFACES = r"\[renew_network_info:648\] Cannot get ether net info\n"
NO_MEMORY = r"Error: \[main:\d+\] .*: std::bad_alloc\n"


def message(pattern, number):
    return pattern.replace("{text}", re.escape(os.strerror(number))).replace("{number}", str(number))


class StartUp:
    """From the start of the process to the supervision loop."""

    calls = (
        "socket", "setsockopt", "bind", "listen", "select", "open_to_read", "open_to_write", "write", "stat",
        "popen", "system", "pthread_create", "getifaddrs", "allocation", ALL_ALLOCATIONS,
    )

    def __init__(self, device):
        self.device = device
        device.enable()
        device.start_status_service()
        self.subject = Subject(device)

    def attempt(self, call, name, after):
        kind = "allocation" if call == ALL_ALLOCATIONS else call
        subject = self.subject
        for path in (LOG, EVENT_LOG, PID_FILE, VARIABLES):
            path.unlink(missing_ok=True)
        subject.configure("")
        number = 0 if name is None else number_of(name)
        times = 1_000_000 if call == ALL_ALLOCATIONS else 1
        before = subject.orders.calls(kind)
        passes = subject.orders.calls("supervision_pass")
        queue_passes = subject.orders.calls("queue_pass")
        if name is not None:
            subject.orders.fail(kind, number, after, times)
        subject.log = Growing(LOG)
        subject.start(wait=False)
        subject.pid = subject.daemon.process.pid
        try:
            if call == ALL_ALLOCATIONS:
                wait_until(lambda: subject.ended() or subject.orders.calls("queue_pass") >= queue_passes + 3,
                           "the queue is looked at")
                subject.orders.stop(kind)
            wait_until(lambda: subject.ended() or subject.orders.calls("supervision_pass") >= passes + 3,
                       "the supervision begins")
            met = name is not None and subject.orders.failures_left(kind) < times
            calls = subject.orders.calls(kind) - before
            subject.orders.stop(kind)
            self.check(kind, name if met else None, after)
        finally:
            subject.orders.stop(kind)
            subject.daemon.stop()
        return met, calls

    def check(self, kind, name, after):
        subject = self.subject
        number = 0 if name is None else number_of(name)
        if name is not None and self.ends_process(kind, name):
            self.check_end(kind, number)
        elif name is not None and self.ends_server(kind, name, after):
            self.check_without_port(message(NO_PORT[kind], number))
        else:
            self.check_works(kind, name, number)

    def ends_process(self, kind, name):
        if kind == "allocation":
            return self.subject.ended()
        return kind == "pthread_create" or (kind == "bind" and name == "EADDRINUSE")

    @staticmethod
    def ends_server(kind, name, after):
        if kind == "setsockopt":
            return after == 0  # the time-outs, set later, do not matter
        return kind in NO_PORT and (kind, name) != ("select", "EINTR")

    def check_end(self, kind, number):
        subject = self.subject
        status = subject.daemon.wait_for_end()
        assert status == 1, f"the daemon has ended with {status}"
        output = subject.told()[0]
        patterns = {"pthread_create": NO_THREAD, "bind": NO_PORT["bind"], "allocation": f"{NO_MEMORY}|"}
        assert re.search(message(patterns[kind], number), output), output

    def check_without_port(self, pattern):
        subject = self.subject
        wait_until(lambda: subject.thread_count() == 2, "the command server's thread ends")
        assert not command_port_listens()
        assert re.search(pattern, text_of(LOG)), text_of(LOG)
        reloads = text_of(LOG).count(REBUILT)
        subject.device.replace_settings(subject.settings(""))
        subject.wait(lambda: text_of(LOG).count(REBUILT) > reloads, "the settings are read again")
        wait_until(lambda: len(descriptors(subject.pid)) == 3, "the standard descriptors alone are open")

    def check_works(self, kind, name, number):
        subject = self.subject
        subject.wait(command_port_listens, "the command port listens")
        subject.wait_for_events()
        wait_until(lambda: subject.thread_count() == 3 and not children_of(subject.pid), "the daemon is idle")
        wait_until(lambda: len(descriptors(subject.pid)) == 4, "the daemon has its descriptors and no other")
        output, log = subject.told()
        if kind == "write":
            return
        for text in (output, log):
            unknown = unknown_lines(text, ("", r",value=.*"))
            assert not unknown, f"unknown messages {unknown}"
        told = {"getifaddrs": NO_INTERFACES, "open_to_read": NOT_READ.format(path=SETTINGS)}.get(kind, "")
        assert name is None or re.search(message(told, number), output), output


class Client:
    """`ruvotcpd --client getStatus`: whatever fails, the status is 0."""

    calls = ("socket", "setsockopt", "connect", "send", "recv", "write", "allocation", ALL_ALLOCATIONS)
    ENTRIES = "".join(f"{key}={value}\n" for key, value in sorted(
        line.split(":") for line in STATUS_ITEMS.splitlines())).encode()

    def __init__(self, device):
        self.device = device
        device.start_status_service()
        self.subject = Subject(device)
        self.subject.device.environment["LD_PRELOAD"] = ":".join(
            os.path.join(os.environ["RUVO_FAULTS_DIR"], name) for name in PRELOADED)

    def attempt(self, call, name, after):
        kind = "allocation" if call == ALL_ALLOCATIONS else call
        orders = self.subject.orders
        before = orders.calls(kind)
        times = 1_000_000 if call == ALL_ALLOCATIONS else 1
        if name is not None:
            orders.fail(kind, number_of(name), after, times)
        result = self.device.run_program("--client", "getStatus")
        met = name is not None and orders.failures_left(kind) < times
        orders.stop(kind)
        assert result.returncode == 0, f"the client has ended with {result.returncode}: {result.stderr}"
        if not met or (kind == "setsockopt" and name):
            assert result.stdout == self.ENTRIES, result.stdout
        if met and kind == "connect":
            assert result.stdout.startswith(b"[ruvotcp] Error: connect 127.0.0.1:50003 ;("), result.stdout
        assert not PID_FILE.exists()
        return met, orders.calls(kind) - before
