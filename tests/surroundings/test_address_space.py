"""An address space of a 32-bit process's size, and smaller ones in which stacks and records run out."""

import re
import resource

import pytest
from harness import LOG, STATE, command_port_listens, event, request, text_of, touch, wait_until
from plant import descendants
from process import thread_count

MIB = 1 << 20
STEPS = 128
SLOTS = 512
# All that can be wanted of an address space, for the daemon's hard limit.
HARD = 64 << 30

UNSTARTED = (
    r"Error: \[exec_event:912\] pthread_create, skip Crowd [\d.]+:\d+: "
    r"(?:Resource temporarily unavailable|Cannot allocate memory)\n"
)
LOST_RECORD = r"Error: \[handle_q_event:938\] exec_event\(\): std::bad_alloc\n"
LOST_REQUEST = r"Error: \[handle_tcp_event:1444\] request: std::bad_alloc\n"
NO_START = (
    r"Error: (?:pthread_create handle_(?:tcp|q)_event\(\): Resource temporarily unavailable|"
    r"\[main:1918\] start-up: std::bad_alloc)\n\Z"
)
NO_MEMORY = r"Error: \[main:1996\] rebuild_ruvo_event_list\(\): std::bad_alloc\n"


def full(*values):
    return [pytest.param(value, marks=pytest.mark.full) for value in values]


def limit_space(pid, size):
    resource.prlimit(pid, resource.RLIMIT_AS, (size, HARD))


def space(plant):
    """What the daemon has of its address space, in bytes."""
    return int(re.search(r"VmSize:\s+(\d+) kB", text_of(f"/proc/{plant.pid}/status"))[1]) * 1024


def resident(plant):
    return int(re.search(r"VmHWM:\s+(\d+) kB", text_of(f"/proc/{plant.pid}/status"))[1]) * 1024


def limited(size):
    return lambda: resource.setrlimit(resource.RLIMIT_AS, (size, HARD))


def big_settings(plant, size):
    """The plant's settings behind so many bytes of short ones."""
    line = "Ballast=0123456789abcdef\n"
    return line * (size // len(line)) + plant.settings


@pytest.mark.full
@pytest.mark.parametrize("size_mib", [3072, 2048])
def test_a_32_bit_sized_space_holds_512_senders_and_big_settings(plant, size_mib, record_property):
    daemon = plant.start(preexec_fn=limited(size_mib * MIB))
    for _ in range(2):
        plant.fill_all_slots()
    plant.device.change_settings(daemon, big_settings(plant, 20 * MIB))
    plant.deliver()
    plant.fill_all_slots()
    record_property("MiB of address space used", space(plant) // MIB)
    record_property("MiB resident at most", resident(plant) // MIB)
    plant.device.change_settings(daemon, plant.settings)
    plant.recover()
    assert not re.search(f"{UNSTARTED}|{NO_MEMORY}", daemon.output())


@pytest.mark.parametrize("spare_mib", [0, *full(1, 4, 16), 40])
def test_stacks_that_run_out_cost_steps_and_nothing_else(plant, spare_mib, record_property):
    crowd = plant.device.udp_receiver()
    step = (crowd.ip, crowd.port, "UDP", b"crowd")
    crowd_event = event("Crowd", (*step, 1500), *[(*step, 1)] * (STEPS - 1))
    plant.settings = crowd_event + plant.settings
    plant.device.write_settings(plant.settings)
    daemon = plant.start()
    limit_space(plant.pid, space(plant) + spare_mib * MIB)
    answered = [request(b"Crowd\n") for _ in range(SLOTS // STEPS)].count(b"Crowd\n")

    def count(pattern):
        return len(re.findall(pattern, daemon.output()))

    def all_decided():
        # Where there is no memory for the least text, a record or a request is lost with a line.
        lost = STEPS * (count(LOST_RECORD) + count(LOST_REQUEST))
        return (
            answered + count(LOST_REQUEST) == SLOTS // STEPS
            and SLOTS - lost <= len(crowd.arrivals) + count(UNSTARTED) <= SLOTS
            and thread_count(plant.pid) == 3
        )

    wait_until(all_decided, "each step is either sent or told")
    record_property("of 512 steps sent", len(crowd.arrivals))
    record_property("records lost with a line", count(LOST_RECORD))
    if spare_mib < 40:
        assert len(crowd.arrivals) < SLOTS, "there was no room for them all"
    assert daemon.running()
    limit_space(plant.pid, HARD)
    plant.recover()


@pytest.mark.parametrize("spare_mib", [*full(0), 8, *full(64)])
def test_settings_without_memory_keep_the_list_that_is_there(plant, spare_mib):
    daemon = plant.start()
    limit_space(plant.pid, space(plant) + spare_mib * MIB)
    plant.device.replace_settings(big_settings(plant, 40 * MIB).replace("hall".encode().hex().upper(), "00"))
    daemon.wait_for_output(NO_MEMORY)
    assert re.search(NO_MEMORY, text_of(LOG))
    limit_space(plant.pid, HARD)
    plant.deliver_plain()
    before = daemon.reloads()
    plant.device.replace_settings(plant.settings)
    daemon.wait_for_reloads(before + 1)
    plant.recover()


def test_a_status_report_without_end_costs_the_request_and_the_tool_that_prints_it(plant, record_property):
    """The report is read to its end; where memory ends first, its reader goes away and the tool with it."""
    endless = STATE / "endless"
    plant.device.replace_tool(f'[ -e {endless} ] && exec /usr/bin/yes a:b\nexec /usr/bin/tr "$@"\n', "tr")
    daemon = plant.start()
    limit_space(plant.pid, space(plant) + 64 * MIB)
    endless.touch()
    assert request(b"Hall\n") == b"", "the connection is closed without a reply"
    daemon.wait_for_output(LOST_REQUEST)
    assert re.search(LOST_REQUEST, text_of(LOG))
    wait_until(lambda: not descendants(plant.pid), "the tool has ended")
    record_property("MiB resident at most", resident(plant) // MIB)
    endless.unlink()
    plant.deliver()
    limit_space(plant.pid, HARD)
    plant.recover()


@pytest.mark.parametrize("size_mib", [8, *full(10, 12, 14, 16, 20, 24, 32), 64])
def test_a_start_in_a_tiny_space_works_or_says_what_is_missing(plant, size_mib, record_property):
    daemon = plant.device.start_daemon(preexec_fn=limited(size_mib * MIB), wait=False)
    wait_until(lambda: not daemon.running() or command_port_listens(), "it has started or ended")
    record_property("outcome", "runs" if daemon.running() else f"status {daemon.process.returncode}")
    if not daemon.running():
        assert daemon.process.returncode == 1
        assert re.search(NO_START, daemon.output()) and re.search(NO_START, text_of(LOG))
        return
    plant.daemon = daemon
    limit_space(daemon.pid, HARD)
    wait_until(lambda: touch() or daemon.reloads() > 1, "the settings are read with what it takes")
    plant.note_footprint()
    plant.recover()
