"""Full and read-only file systems, when the daemon starts and while it runs."""

import re
import shutil

import pytest
from harness import (
    ASC_MIRROR,
    EVENT_LIST,
    EVENT_LOG,
    HEX_MIRROR,
    LOG,
    PID_FILE,
    RELOADED,
    SETTINGS,
    USER_CONFIG,
    VARIABLES,
    request,
    text_of,
    touch,
    trigger,
    wait_until,
)
from mounts import CONFIGS, LOGS, NO_INODE, NO_SPACE, READ_ONLY, RUN, TMP, SmallFileSystem

CONDITIONS = {"no space": NO_SPACE, "no inode": NO_INODE, "read-only": READ_ONLY}
PLACES = {"log": [LOGS], "tmp": [TMP], "configs": [CONFIGS], "all": [LOGS, TMP, CONFIGS]}

# What is told through the writer that needs the log file.
UNCOUNTED = (
    r"\[main:1924\] create /var/run/ruvotcp\.pid=",
    r"\[handle_tcp_event:1382\] bind 127\.0\.0\.1:2700\n",
)
SENT_HALL = "[handle_tcp_event:1461] send() Hall\n\n"
MISSING = "No such file or directory"
NOBODY = (
    "[handle_tcp_event:1434] Recv[7]:key=Nobody\n,value=Nobody\n"
    "[handle_tcp_event:1461] send() Nobody\n\n"
)
NOT_FOUND = f"[renew_ruvo_txt;241] Error: not found: {SETTINGS}, writ default\n"


def every_case(function):
    """Every condition in every place; a quick run has the most common ones everywhere at once."""
    cases = [
        pytest.param(
            condition, place, id=f"{condition}-{place}",
            marks=() if place == "all" and condition != "no inode" else pytest.mark.full,
        )
        for condition in CONDITIONS
        for place in PLACES
    ]
    return pytest.mark.parametrize("condition, place", cases)(function)


@pytest.fixture
def small():
    """Puts small file systems over the folders of a place, and a condition on them."""
    systems = []

    def cover(place):
        for folder in PLACES[place] if place in PLACES else [place]:
            systems.append(SmallFileSystem(folder))
        return systems

    yield cover
    for system in reversed(systems):
        system.end()


def is_in(place, folder):
    return folder in PLACES[place]


def mirrors_are_whole(plant):
    return (
        text_of(HEX_MIRROR) == plant.settings
        and text_of(ASC_MIRROR).startswith("IdleCount=1\nIdleProtocol0=none\nLampCount=4\n")
        and text_of(EVENT_LIST).count(";Delay=") == plant.settings.count("Count=")
        and text_of(VARIABLES).startswith("model=AV-100\n")
    )


def sent_lines():
    return len(re.findall(r" UDP hall\n", text_of(EVENT_LOG)))


@every_case
def test_a_daemon_starts_where_it_cannot_write(plant, small, condition, place):
    condition = CONDITIONS[condition]
    systems = small(place)
    LOG.unlink(missing_ok=True)
    condition.begin(systems)
    daemon = plant.device.start_daemon()
    daemon.wait_for_output(r"\[main:1931\] ip=192\.0\.2\.10\n")
    plant.deliver_plain()
    # Supervision has begun once a touched file is read again.
    if not (condition is READ_ONLY and is_in(place, CONFIGS)):
        wait_until(lambda: touch() or daemon.reloads() > 1, "the settings are read again")

    assert daemon.output().count(SENT_HALL) == 1, "standard output has every counted message"
    without_log = is_in(place, LOGS) and condition is not NO_SPACE
    for message in UNCOUNTED:
        assert len(re.findall(message, daemon.output())) == (0 if without_log else 1), message
    if is_in(place, LOGS):
        assert text_of(LOG) == "" and text_of(EVENT_LOG) == ""
        assert LOG.exists() is not without_log
    if is_in(place, TMP):
        assert text_of(HEX_MIRROR) == text_of(EVENT_LIST) == text_of(VARIABLES) == ""
        assert HEX_MIRROR.exists() is (condition is NO_SPACE)
    assert text_of(SETTINGS) == plant.settings

    condition.end(systems)
    plant.daemon = daemon
    plant.note_footprint()
    plant.recover()
    assert SENT_HALL not in text_of(LOG) or not is_in(place, LOGS)
    assert mirrors_are_whole(plant)


@every_case
def test_file_systems_that_fail_while_it_runs_hold_nothing_up(plant, small, condition, place):
    condition = CONDITIONS[condition]
    daemon = plant.start()
    plant.deliver_plain()
    systems = small(place)
    log, hall = text_of(LOG), sent_lines()
    condition.begin(systems)
    if condition is not READ_ONLY and is_in(place, TMP):
        for mirror in (ASC_MIRROR, HEX_MIRROR, EVENT_LIST, VARIABLES):
            mirror.unlink()
        condition.begin(systems)
    for _ in range(3):
        plant.deliver_plain()
    if not (condition is READ_ONLY and is_in(place, CONFIGS)):
        reloads = daemon.reloads()
        touch()
        daemon.wait_for_reloads(reloads + 1)
    assert daemon.output().count(SENT_HALL) == 4
    if is_in(place, LOGS):
        grown = text_of(LOG)[len(log):]
        # Inodes are needed for new files only; without space there is the rest of a page.
        if condition is NO_INODE:
            assert grown.count(SENT_HALL) == 3 and sent_lines() == hall + 3
        elif condition is READ_ONLY:
            assert grown == "" and sent_lines() == hall
        else:
            assert len(grown) <= 4096 and grown in daemon.output()
    else:
        assert text_of(LOG)[len(log):].count(SENT_HALL) == 3 and sent_lines() == hall + 3
    if is_in(place, TMP):
        assert text_of(HEX_MIRROR) == (plant.settings if condition is READ_ONLY else "")

    condition.end(systems)
    log = len(text_of(LOG))
    trigger("Nobody")
    wait_until(lambda: text_of(LOG)[log:] == NOBODY, "the first message behind it is whole")
    plant.recover()
    assert mirrors_are_whole(plant)


@pytest.mark.full
@pytest.mark.parametrize("place", ["log", "tmp", "all"])
def test_a_file_system_that_fills_up_and_empties_again_and_again(plant, small, place):
    daemon = plant.start()
    systems = small(place)
    for _ in range(5):
        NO_SPACE.begin(systems)
        plant.deliver_plain()
        request(b"__TEST__:Probe")
        NO_SPACE.end(systems)
        plant.deliver_plain()
    assert daemon.output().count(SENT_HALL) == 10
    plant.recover()
    assert mirrors_are_whole(plant)


def test_a_log_that_fills_up_in_the_middle_of_a_message_goes_on_behind_it(plant, small):
    daemon = plant.start()
    [system] = small("log")
    page = 4096
    # The next message crosses the end of the last page that there is.
    text = text_of(LOG) + "x" * (page - len(text_of(LOG)) % page - 30)
    LOG.write_text(text)
    NO_SPACE.begin([system])
    plant.deliver_plain()
    received = "[handle_tcp_event:1434] Recv[5]:key=Hall\n,value=Hall\n"
    daemon.wait_for_output(re.escape(received + SENT_HALL))
    assert text_of(LOG) == text + received[:30]
    NO_SPACE.end([system])
    trigger("Nobody")
    wait_until(lambda: text_of(LOG) == text + received[:30] + NOBODY, "the next message is behind it")
    plant.recover()


def test_default_settings_without_space_are_an_empty_file(plant, small):
    SETTINGS.unlink()
    [system] = small("configs")
    NO_SPACE.begin([system])
    daemon = plant.device.start_daemon()
    daemon.wait_for_supervision()
    assert daemon.output().count(NOT_FOUND) == 1 and "cannot open" not in daemon.output()
    assert SETTINGS.read_bytes() == b""
    NO_SPACE.end([system])
    plant.daemon = daemon
    plant.note_footprint()
    plant.device.change_settings(daemon, plant.settings)
    plant.recover()


@pytest.mark.parametrize("condition", [pytest.param("no inode", marks=pytest.mark.full), "read-only"])
def test_default_settings_that_cannot_be_made_are_told(plant, small, condition):
    SETTINGS.unlink()
    systems = small("configs")
    CONDITIONS[condition].begin(systems)
    daemon = plant.device.start_daemon()
    daemon.wait_for_supervision()
    told = f"{NOT_FOUND}[renew_ruvo_txt;261] Error: cannot open {SETTINGS};{MISSING}\n{RELOADED}"
    assert told in daemon.output() and told in text_of(LOG)
    assert not HEX_MIRROR.exists() and text_of(EVENT_LIST) == ""
    CONDITIONS[condition].end(systems)
    plant.daemon = daemon
    plant.note_footprint()
    plant.device.write_settings(plant.settings)
    wait_until(lambda: touch() or daemon.reloads() > 1, "the new settings are read")
    plant.recover()


def test_a_read_only_run_folder_costs_the_pid_file_only(plant, small):
    PID_FILE.unlink(missing_ok=True)
    systems = small(RUN)
    READ_ONLY.begin(systems)
    daemon = plant.device.start_daemon()
    wait_until(lambda: text_of(VARIABLES), "the status variables are there")
    plant.deliver()
    assert not PID_FILE.exists()
    assert f"[main:1924] create /var/run/ruvotcp.pid={daemon.pid}\n" in text_of(LOG)
    READ_ONLY.end(systems)
    assert daemon.running()


@pytest.mark.full
@pytest.mark.parametrize("condition", CONDITIONS)
def test_the_switch_takes_effect_although_it_cannot_be_stored(plant, small, condition):
    store = CONFIGS / "user_config.json"
    shutil.copy(USER_CONFIG, store)
    plant.device.environment["RUVO_USER_CONFIG"] = str(store)
    plant.start()
    systems = small("configs")
    CONDITIONS[condition].begin(systems)
    kept = store.read_bytes()
    assert request(b"__SET__:network.ruvo.enable=0\n") == b"Error: fail command:__SET__\n"
    assert request(b"Hall") == b"Event Disabled, skip Hall"
    assert store.read_bytes() == kept
    assert request(b"__SET__:network.ruvo.enable=1\n") == b"Error: fail command:__SET__\n"
    plant.deliver_plain()
    CONDITIONS[condition].end(systems)
    plant.recover()
