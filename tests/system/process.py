"""What /proc tells about the running daemon, and its settings changed under it."""

import os
import pathlib
import signal
import time

from harness import EVENT_LOG, LOG, PID_FILE, SETTINGS, text_of, trigger, wait_until

REBUILT = "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n"

# An event that the executor runs without starting a sender.
IDLE_EVENT = "IdleCount=1\nIdleProtocol0=none\n"


def daemon_pid():
    """The daemon's own process id, also where a launcher started it."""
    return int(wait_until(lambda: text_of(PID_FILE).strip(), "the pid file is written"))


def thread_count(pid):
    return len(os.listdir(f"/proc/{pid}/task"))


def threads_when_idle(pid):
    """How many threads the daemon has without a sender; needs IDLE_EVENT in the settings."""
    lines = text_of(EVENT_LOG).count("\n")
    trigger("Idle")
    wait_until(lambda: text_of(EVENT_LOG).count("\n") > lines, "the queue thread runs")
    return thread_count(pid)


def descriptors(pid):
    """What each open descriptor points to."""
    found = {}
    for entry in pathlib.Path(f"/proc/{pid}/fd").iterdir():
        try:
            found[int(entry.name)] = os.readlink(entry)
        except FileNotFoundError:
            pass
    return found


def closes_on_exec(pid, descriptor):
    """None when the descriptor is gone meanwhile."""
    for line in text_of(f"/proc/{pid}/fdinfo/{descriptor}").splitlines():
        if line.startswith("flags:"):
            return bool(int(line.split()[1], 8) & os.O_CLOEXEC)
    return None


def hold(pid):
    """Stops the daemon with SIGSTOP and returns when each of its threads stands still."""
    os.kill(pid, signal.SIGSTOP)

    def stands_still():
        threads = pathlib.Path(f"/proc/{pid}/task").iterdir()
        return all(text_of(thread / "stat").rsplit(")", 1)[1].split()[0] == "T" for thread in threads)

    wait_until(stands_still, "every thread is stopped")


def cpu_seconds(pid):
    fields = text_of(f"/proc/{pid}/stat").rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def change_settings(text=None):
    """Replaces the settings file (None: by the same text) and waits until the daemon has read it."""
    seen = text_of(LOG).count(REBUILT)
    new = SETTINGS.with_name("ruvo.txt.new")
    new.write_bytes((text_of(SETTINGS) if text is None else text).encode("latin-1"))
    new.rename(SETTINGS)
    touched_at = time.monotonic()

    def read_again():
        nonlocal touched_at
        if text_of(LOG).count(REBUILT) > seen:
            return True
        # A change before the supervision loop's first look counts as no change.
        if time.monotonic() > touched_at + 1:
            os.utime(SETTINGS)
            touched_at = time.monotonic()
        return False

    wait_until(read_again, "the changed settings are read")
