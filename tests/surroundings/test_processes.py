"""Process limits, under which neither a thread nor a shell command can be started."""

import re
import resource

import pytest
from harness import LOG, VARIABLES, event, request, text_of, touch, trigger, wait_until
from plant import descendants
from process import thread_count
from resource_limits import open_to_everyone, process_limit, run_copy

# The main thread, the command server's and the queue's.
STANDING = 3
STEPS = 128
HARD = 4096
EAGAIN = "Resource temporarily unavailable"
UNSTARTED = r"Error: \[exec_event:912\] pthread_create, skip {} {}:{}: " + EAGAIN + "\n"


@pytest.fixture
def limited(plant, monkeypatch):
    """Starts the plant's daemon as a user with a limit; many processes are no limit."""
    run_copy(open_to_everyone(plant.device), monkeypatch)

    def start(count, *arguments, **options):
        start = plant.device.start_daemon if options.pop("bare", False) else plant.start
        return start(*arguments, preexec_fn=process_limit(count, HARD), **options)

    return start


def limit_processes(plant, count):
    resource.prlimit(plant.pid, resource.RLIMIT_NPROC, (count, HARD))


@pytest.mark.parametrize("count, thread", [(1, "handle_tcp_event"), (2, "handle_q_event")])
def test_a_start_without_its_threads_ends_with_status_1(plant, limited, count, thread):
    daemon = limited(count, bare=True, wait=False)
    assert daemon.wait_for_end() == 1
    line = f"Error: pthread_create {thread}(): {EAGAIN}\n"
    assert daemon.output().endswith(line) and text_of(LOG).endswith(line)
    assert "[main:1931] ip=192.0.2.10\n" in daemon.output()


@pytest.mark.full
def test_a_start_without_any_further_process_waits_for_the_status_service(plant, limited):
    """As long as its threads have not been started there is room for two processes."""
    plant.daemon = daemon = limited(STANDING, bare=True)
    daemon.wait_for_output(r"\[main:1959\] wait getStatus\.\.\.2\n")
    assert text_of(VARIABLES) == ""
    trigger("Hall")
    daemon.wait_for_output(UNSTARTED.format("Hall", re.escape(plant.udp.ip), plant.udp.port))
    limit_processes(plant, HARD)
    daemon.wait_for_supervision()
    plant.note_footprint()
    plant.recover()


def test_a_limit_that_is_reached_costs_steps_and_commands_and_nothing_else(plant, limited):
    daemon = limited(HARD)
    limit_processes(plant, STANDING)
    seen = len(text_of(LOG))
    for _ in range(3):
        trigger("Hall")
    unstarted = UNSTARTED.format("Hall", re.escape(plant.udp.ip), plant.udp.port)
    daemon.wait_for_output(unstarted, count=3)
    assert len(re.findall(unstarted, text_of(LOG)[seen:])) == 3
    reloads = daemon.reloads()
    touch()
    daemon.wait_for_reloads(reloads + 1)
    # The switch is a word in memory as well; its tool cannot be started.
    assert request(b"__SET__:network.ruvo.enable=0\n") == b"Error: fail command:__SET__\n"
    assert request(b"Hall") == b"Event Disabled, skip Hall"
    assert request(b"__SET__:network.ruvo.enable=1\n") == b"Error: fail command:__SET__\n"
    assert request(b"__TEST__:Probe\n") == b"call event Probe"
    daemon.wait_for_output(UNSTARTED.format("Probe", re.escape(plant.udp.ip), plant.udp.port))
    assert plant.udp.arrivals == [] and not descendants(plant.pid)
    limit_processes(plant, HARD)
    plant.recover()


def test_a_record_of_128_steps_costs_those_without_a_thread(plant, limited, record_property):
    silent = plant.device.tcp_receiver(silent=True)
    plant.settings += event("Crowd", *[(silent.ip, silent.port, "TCP", b"crowd")] * STEPS)
    plant.device.write_settings(plant.settings)
    daemon = limited(HARD)
    room = 50
    limit_processes(plant, STANDING + room)
    trigger("Crowd")
    unstarted = UNSTARTED.format("Crowd", re.escape(silent.ip), silent.port)
    daemon.wait_for_output(unstarted, count=STEPS - room)
    silent.wait_for(room)
    wait_until(lambda: thread_count(plant.pid) == plant.before.threads, "every sender has ended")
    record_property("of 128 steps delivered", len(silent.arrivals))
    assert len(silent.arrivals) + len(re.findall(unstarted, daemon.output())) == STEPS
    assert len(silent.arrivals) == room
    limit_processes(plant, HARD)
    plant.recover()


@pytest.mark.full
@pytest.mark.parametrize("more", range(1, 6))
def test_a_shell_pipeline_that_is_cut_anywhere_keeps_the_variables(plant, limited, more):
    """The shell starts, and its second, third, ... process does not."""
    daemon = limited(HARD)
    limit_processes(plant, STANDING + more)
    for _ in range(3):
        plant.deliver_plain()
    touch()
    daemon.wait_for_reloads(2)
    limit_processes(plant, HARD)
    plant.recover()
