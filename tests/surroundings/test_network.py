"""Interfaces that disappear and come back while the daemon waits for an address or serves triggers."""

import re
import subprocess

import pytest
from harness import LOG, event, request, text_of, trigger, wait_until

UNREACHABLE = "[ruvotcp] Error: connect {}:{} ;(101)Network is unreachable;{};\n"
ADDRESS = "192.0.2.10"
NETWORK_WAIT = r"\[main:1949\] wait network\.\.\.(\d+)\n"


def ip(words, check=True):
    return subprocess.run(["ip", *words.split()], check=check, stderr=subprocess.DEVNULL).returncode == 0


def add_interface(name):
    """Of whatever kind the kernel offers."""
    kinds = (
        f"link add {name} type veth peer name peer-{name}",
        f"link add {name} type dummy",
        f"tuntap add mode tap name {name}",
    )
    if not any(ip(kind, check=False) for kind in kinds):
        raise AssertionError("the kernel makes no further interface")
    ip(f"link set dev peer-{name} up", check=False)
    ip(f"address add {ADDRESS}/24 dev {name}")
    ip(f"link set dev {name} up")


@pytest.fixture
def only_way():
    """Without the route that leads every address back into this world: net0 is the only way out."""
    ip("route del local 0.0.0.0/0 dev lo")
    yield
    if not ip("link show dev net0", check=False):
        add_interface("net0")
    ip("link set dev lo up")
    ip("link set dev net0 up")
    ip("address replace 192.0.2.10/24 dev net0 noprefixroute")
    ip("route replace local 0.0.0.0/0 dev lo")


@pytest.fixture
def outside(plant):
    """Receivers at the interface's own address, which goes with it."""
    udp = plant.device.udp_receiver(address=ADDRESS)
    tcp = plant.device.tcp_receiver(address=ADDRESS, reply=b"OK")
    plant.settings += event("Out", (udp.ip, udp.port, "UDP", b"out"), (tcp.ip, tcp.port, "TCP", b"out"))
    plant.device.write_settings(plant.settings)
    return udp, tcp


def disappear(how):
    if how == "down":
        ip("link set dev net0 down")
    elif how == "no address":
        ip("address flush dev net0")
    else:
        ip("link delete dev net0")


def come_back(how):
    if how == "down":
        ip("link set dev net0 up")
    elif how == "no address":
        ip(f"address add {ADDRESS}/24 dev net0")
    else:
        add_interface("net0")


# An interface that is only down keeps its address, which is then reached without it.
@pytest.mark.parametrize("how", [pytest.param("no address", marks=pytest.mark.full), "deleted"])
def test_sends_fail_while_the_interface_is_gone_and_work_when_it_is_back(plant, only_way, outside, how):
    udp, tcp = outside
    daemon = plant.start()

    def deliver_out():
        before = len(udp.arrivals), len(tcp.arrivals)
        trigger("Out")
        udp.wait_for(before[0] + 1)
        tcp.wait_for(before[1] + 1)

    deliver_out()
    for times in (1, 2, 3):
        disappear(how)
        line = UNREACHABLE.format(ADDRESS, tcp.port, "out")
        trigger("Out")
        daemon.wait_for_output(re.escape(line), count=times)
        assert text_of(LOG).count(line) == times
        # Everything on the device itself goes on.
        plant.deliver()
        come_back(how)
        deliver_out()
    assert len(udp.arrivals) == 4 and len(tcp.arrivals) == 4
    plant.recover()


@pytest.mark.full
def test_without_loopback_nobody_can_ask_and_afterwards_everybody_can(plant, only_way):
    daemon = plant.start()
    for _ in range(3):
        ip("link set dev lo down")
        with pytest.raises(OSError):
            request(b"Nobody\n", timeout_s=0.2)
        ip("link set dev lo up")
        wait_until(lambda: request(b"Nobody\n") == b"Nobody\n", "the command port is there again")
        plant.deliver()
    assert "Error" not in daemon.output()
    plant.recover()


@pytest.mark.full
def test_an_interface_that_comes_and_goes_during_the_wait_for_it(plant, only_way):
    ip("link delete dev net0")
    plant.daemon = daemon = plant.device.start_daemon()
    daemon.wait_for_output(NETWORK_WAIT, count=1)
    assert "[main:1931] ip=\n" in daemon.output()
    # An interface without an address, and one whose address goes at once: both may be missed.
    ip("link add net7 type dummy", check=False)
    ip("link set dev net7 up", check=False)
    plant.deliver_plain()
    daemon.wait_for_output(NETWORK_WAIT, count=2)
    add_interface("net0")
    daemon.wait_for_supervision()
    ip("link delete dev net7", check=False)
    waits = len(re.findall(NETWORK_WAIT, daemon.output()))
    for _ in range(3):
        ip("link delete dev net0")
        plant.deliver()
        add_interface("net0")
    # Once there has been an address nobody asks for it again.
    assert len(re.findall(NETWORK_WAIT, daemon.output())) == waits
    plant.note_footprint()
    plant.recover()


def test_an_interface_that_flaps_all_the_time_disturbs_no_trigger(plant, only_way):
    daemon = plant.start()
    for number in range(30):
        disappear("down" if number % 2 else "deleted")
        if number % 5 == 0:
            plant.deliver_plain()
        come_back("down" if number % 2 else "deleted")
    assert daemon.output().count("[handle_tcp_event:1461] send() Hall\n\n") == 6
    plant.recover()
