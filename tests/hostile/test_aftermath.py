"""The tests' own judges: they accept what the daemon may do and nothing else."""

import random

import hostile_requests
import pytest
from aftermath import check_messages

LOG = (
    "ruvotcp V1.4.2-1. Build: Oct 17 2024 03:18:38 +00:00\n"
    "[main:1924] create /var/run/ruvotcp.pid=7\n[main:1931] ip=192.0.2.10\n"
    "[handle_tcp_event:1434] Recv[5]:key=Lamp\n,value=Lamp\n[handle_tcp_event:1461] send() Lamp\n\n"
    "Error: [handle_tcp_event:1420] Recv(): Connection reset by peer\n"
    "[handle_tcp_event:1434] Recv[4]:key=__X_,value=__X_"
    "[handle_tcp_command:1512] Error command: Error: fail command:__X_\n"
)


def test_known_messages_are_accepted():
    check_messages(LOG)


@pytest.mark.parametrize("message", [
    "Error: [handle_tcp_event:1444] request: std::bad_alloc\n",
    "Error: [handle_tcp_event:1401] select(): Bad file descriptor\n",
    "Error: [handle_tcp_event:1420] Recv(): Bad file descriptor\n",
    "Error: [main:1996] rebuild_ruvo_event_list(): stoul\n",
    "[exec_event:410] Error cannot send sys event=Lamp, run event=Lamp, now=1, t_exec=1, sub cmd size=1\n",
])
def test_other_messages_are_not(message):
    with pytest.raises(AssertionError):
        check_messages(LOG + message)


@pytest.mark.parametrize("request_bytes, lookups", [
    (b"Lamp", 1), (b"Lamp\n", 1), (b"\n\n\n", 3), (b"a\nb", 2), (b"a=\n\n", 1), (b"=", 1), (b"a\n\0\n\n", 1),
    (b"\n" * 2000, 1023), (b"__X__", 0), (b"__\n\n", 0), (b"__GET__:x", 0),
    (b"__SET__:x=1", 1), (b"__TEST__:x", 2),
])
def test_the_price_of_a_request(request_bytes, lookups):
    assert hostile_requests.lookups(request_bytes) == lookups


@pytest.mark.parametrize("request_bytes, off", [
    (b"__SET__:network.ruvo.enable=0", True), (b"__SET__:NETWORK.ruvo.enable=0\n", True),
    (b"__SET__:network.ruvo.enable=1", False), (b"__SET__:network.ruvo.enable=", False),
])
def test_what_switches_the_feature_off(request_bytes, off):
    assert hostile_requests.switches_off(request_bytes) is off


def test_hostile_requests_are_of_every_kind_and_none_is_dear():
    dice = random.Random(1)
    said = [hostile_requests.request_of(dice) for _ in range(3000)]
    assert {kind for kind, _ in said} == {kind.__name__ for kind in hostile_requests.KINDS}
    assert max(hostile_requests.lookups(request) for _, request in said) <= hostile_requests.MAX_LINES
    assert {len(request) for _, request in said} >= {1, 1022, 1023, 1024, 70000}
