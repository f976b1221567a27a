"""What a strain leaves behind: descriptors, threads, child processes, memory, log messages."""

import collections
import pathlib
import re

from harness import text_of, wait_until
from process import descriptors, thread_count

# Where a message begins, as the log has no line end behind some of them.
MESSAGE = re.compile(r"(Error: )?\[(\w+)[:;](\d+)\] (accept|Recv|send|request)?")
KNOWN_MESSAGES = {
    ("", "main", "1924", ""), ("", "main", "1931", ""), ("", "main", "1959", ""), ("", "main", "1983", ""),
    ("", "handle_tcp_event", "1382", ""), ("", "rebuild_ruvo_event_list", "629", ""),
    ("", "handle_tcp_event", "1434", "Recv"), ("", "handle_tcp_event", "1461", "send"),
    ("", "handle_tcp_command", "1512", ""),
    ("Error: ", "handle_tcp_event", "1410", "accept"), ("Error: ", "handle_tcp_event", "1420", "Recv"),
    ("Error: ", "handle_tcp_event", "1459", "send"),
}
KNOWN_REASONS = {
    ("1410", "Too many open files"),
    ("1420", "Connection reset by peer"),
    ("1459", "Broken pipe"), ("1459", "Connection reset by peer"),
}
REASON = re.compile(r"Error: \[handle_tcp_event:(14[125][09])\] \w+\(\): ([^\n]*)\n")


def messages(log):
    """How often the log has each message; texts that clients sent are in between."""
    return collections.Counter(tuple(part or "" for part in found) for found in MESSAGE.findall(log))


def check_messages(log):
    unknown = {message: count for message, count in messages(log).items() if message not in KNOWN_MESSAGES}
    assert not unknown, f"messages that nobody expects: {unknown}"
    reasons = set(REASON.findall(log))
    assert reasons <= KNOWN_REASONS, f"reasons that nobody expects: {reasons - KNOWN_REASONS}"


def memory_kb(pid, field="VmRSS"):
    return int(re.search(rf"^{field}:\s+(\d+) kB$", text_of(f"/proc/{pid}/status"), re.MULTILINE)[1])


def children(pid):
    """The command lines of its child processes, ended ones included."""
    found = []
    for status in pathlib.Path("/proc").glob("[0-9]*/status"):
        try:
            text = status.read_text()
        except (FileNotFoundError, ProcessLookupError):
            continue
        if re.search(rf"^PPid:\s+{pid}$", text, re.MULTILINE):
            found.append(text.splitlines()[0])
    return found


class Possessions:
    """What the daemon has when it has nothing to do."""

    def __init__(self, pid):
        self._pid = pid
        self.warm_up()
        self.threads = thread_count(pid)
        self.descriptors = self._kinds()

    def warm_up(self):
        """The memory of now is what it is compared with."""
        self._memory_kb = memory_kb(self._pid)

    def _kinds(self):
        """A socket's number in its name is new with each socket; what counts is how many."""
        return sorted(to.split(":")[0] for to in descriptors(self._pid).values())

    def check_nothing_more(self, memory_allowance_kb):
        def same():
            return (self._kinds(), thread_count(self._pid), children(self._pid)) == (
                self.descriptors, self.threads, [],
            )

        wait_until(same, "descriptors, threads and children are as before", 60)
        more_kb = memory_kb(self._pid) - self._memory_kb
        assert more_kb <= memory_allowance_kb, f"{more_kb} KB more than before"
        return f"{len(self.descriptors)} descriptors, {self.threads} threads, no child, {more_kb:+} KB memory"
