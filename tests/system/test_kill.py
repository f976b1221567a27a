"""kill -9 at any moment leaves nothing that the next start does not cope with.

RUVO_KILL_ROUNDS says how often; a failing run's seed is RUVO_KILL_SEED for the next.
"""

import json
import os
import pathlib
import random
import re
import signal
import threading
import time

from event_log import STAMP
from harness import EVENT_LOG, LOG, PID_FILE, SETTINGS, STATE, event, request, text_of, wait_until
from process import change_settings

PAGE = os.sysconf("SC_PAGESIZE")
ROUNDS = int(os.environ.get("RUVO_KILL_ROUNDS", "20"))
SEED = int(os.environ.get("RUVO_KILL_SEED", str(random.randrange(1 << 31))))

DEFAULT_LINES = (
    "EnableEvents=true\n",
    "FastCableDetectEvents=false\n",
    "PowerOnCount=0\n",
    "PowerOnDelay=1\n",
    "DVIConnectedCount=0\n",
    "DVIConnectedDelay=0\n",
    "DVIDisconnectedCount=0\n",
    "DVIDisconnectedDelay=0\n",
    "GenericEventsCount=0\n",
    "DataEncode=HEX\n",
)

# Mirrors may be cut anywhere; nothing else may lie about.
FILES = {
    "/tmp/ruvo_asc.txt",
    "/tmp/ruvo_hex.txt",
    "/tmp/ruvo_event_list.txt",
    "/tmp/ruvo_var.txt",
    "/var/log/ruvo.log",
    "/var/log/ruvoevent.log",
    "/var/run/ruvotcp.pid",
}


def ask(data):
    """The reply, or nothing when the daemon is being killed or started."""
    try:
        return request(data)
    except OSError:
        return b""


def make_sure_it_works(receiver):
    """The daemon answers and delivers; its queue may still hold what came before."""
    before = len(receiver.arrivals)

    def delivered():
        return ask(b"Check\n") == b"Check\n" and len(receiver.arrivals) > before

    wait_until(delivered, "the restarted daemon answers and delivers")


def torn_lines(text, pattern):
    """The lines that a kill has torn where it can't: inside a page of the file.

    A line is one write, which the system may end between two pages when its process
    is killed; what the next process appends then continues that line.
    """
    torn, offset = [], 0
    for line in text.splitlines(keepends=True):
        to_next_page = -offset % PAGE
        rest = line[to_next_page:]
        is_cut_at_page = to_next_page <= len(line) and (not rest or re.fullmatch(pattern, rest))
        if not re.fullmatch(pattern, line) and not is_cut_at_page:
            torn.append(line)
        offset += len(line)
    return torn


def look_for_damage(settings_texts, pids):
    assert text_of(SETTINGS) in settings_texts
    json.loads((STATE / "user_config.json").read_text())
    assert text_of(PID_FILE) in {"", *(f"{pid}\n" for pid in pids)}
    assert not torn_lines(text_of(EVENT_LOG), rf"{STAMP}127\.0\.0\.1:\d+ UDP (lamp|check)\n")
    # The middle one is the second half of a request's message.
    assert not torn_lines(text_of(LOG), r"(\[\w+[:;]\d+\] .*|,value=\w+|ruvotcp V.*|)\n")
    patterns = ("tmp/ruvo*", "var/log/ruvo*", "var/run/ruvo*")
    assert {str(path) for pattern in patterns for path in pathlib.Path("/").glob(pattern)} <= FILES
    assert {path.name for path in SETTINGS.parent.iterdir()} <= {"ruvo.txt", "config", "tmp"}


def test_a_kill_at_any_moment_leaves_a_working_device(device):
    print(f"seed {SEED}")
    dice = random.Random(SEED)
    receiver = device.udp_receiver()
    check = event("Check", (receiver.ip, receiver.port, "UDP", b"check"))
    texts = [
        check + event("Lamp", *[(receiver.ip, receiver.port, "UDP", b"lamp", 3)] * count)
        for count in (1, 5, 128)
    ]
    device.write_settings(texts[0])
    stop, pids = threading.Event(), []

    def rewrite():
        while not stop.wait(0.03):
            # On the settings' own file system: one rename, never half a text.
            new = SETTINGS.parent.parent / "ruvo.txt.new"
            new.write_text(dice.choice(texts))
            new.rename(SETTINGS)

    def fire():
        while not stop.wait(0.002):
            ask(b"Lamp\n")

    threads = [threading.Thread(target=rewrite), threading.Thread(target=fire)]
    for thread in threads:
        thread.start()
    try:
        for _ in range(ROUNDS):
            daemon = device.start_daemon(wait=False)
            pids.append(daemon.pid)
            # Half of the moments lie in the start-up.
            time.sleep(dice.uniform(0, 0.15 if dice.random() < 0.5 else 1.0))
            assert daemon.running(), daemon.output()
            assert daemon.stop(signal.SIGKILL) == -signal.SIGKILL
            look_for_damage(texts, pids)
            daemon = device.start_daemon()
            pids.append(daemon.pid)
            make_sure_it_works(receiver)
            assert daemon.stop(signal.SIGKILL) == -signal.SIGKILL
            look_for_damage(texts, pids)
    finally:
        stop.set()
        for thread in threads:
            thread.join()


def test_a_kill_while_the_first_settings_are_written_leaves_whole_lines(device):
    print(f"seed {SEED}")
    dice = random.Random(SEED)
    receiver = device.udp_receiver()
    check = event("Check", (receiver.ip, receiver.port, "UDP", b"check"))
    whole_lines = ["".join(DEFAULT_LINES[:count]) for count in range(len(DEFAULT_LINES) + 1)]
    for number in range(max(6, ROUNDS // 4)):
        SETTINGS.unlink(missing_ok=True)
        daemon = device.start_daemon(wait=False)
        if number % 2:
            # As early as can be seen: the file has just been made.
            end = time.monotonic() + 20
            while not SETTINGS.exists() and time.monotonic() < end:
                pass
        else:
            time.sleep(dice.uniform(0, 0.15))
        assert daemon.stop(signal.SIGKILL) == -signal.SIGKILL
        assert text_of(SETTINGS) in whole_lines

        daemon = device.start_daemon()
        assert text_of(SETTINGS) in whole_lines
        change_settings(check)
        make_sure_it_works(receiver)
        daemon.stop()
