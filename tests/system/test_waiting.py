"""The two waits of start-up: for an IPv4 address and for the status service."""

import re
import signal
import subprocess
import time

import pytest

from fault_orders import MainThreadTimes
from harness import EVENT_LIST, LOG, VARIABLES, event, hex_of, request, text_of, touch, wait_until

NETWORK = r"\[main:1949\] wait network\.\.\.(\d+)\n"
STATUS = r"\[main:1959\] wait getStatus\.\.\.(\d+)\n"

FIVE_ITEMS = b"model:AV-100\rinput:HDMI1\rpower:on\rvolume:42\rmute:off\r"
SIX_ITEMS = FIVE_ITEMS + b"serial:0042\r"
SIX_VARIABLES = b"model=AV-100\ninput=HDMI1\npower=on\nvolume=42\nmute=off\nserial=0042\n"


def ip(words):
    subprocess.run(["ip", *words.split()], check=True)


@pytest.fixture
def no_address():
    """The device's interface has lost its address; the test may give it one."""
    ip("address flush dev net0")
    yield
    ip("address flush dev net0")
    ip("address add 192.0.2.10/24 dev net0")


def make_interface(name):
    """Makes an interface of whatever kind the kernel offers."""
    kinds = ("link add {} type dummy", "link add {} type veth", "link add {} type bridge",
             "tuntap add mode tap name {}")
    for kind in kinds:
        words = kind.format(name).split()
        if subprocess.run(["ip", *words], stderr=subprocess.DEVNULL, check=False).returncode == 0:
            return
    raise AssertionError("the kernel makes no further interface")


@pytest.fixture
def second_interface():
    make_interface("net9")
    yield "net9"
    ip("link delete net9")


def logged_ip(device):
    device.start_daemon()
    return re.search(r"\[main:1931\] ip=(.*)\n", text_of(LOG))[1]


# The address.


def test_the_address_of_the_interface_is_logged(bare_device):
    assert logged_ip(bare_device) == "192.0.2.10"


def test_of_two_interfaces_the_last_one_wins(bare_device, second_interface):
    ip(f"address add 198.51.100.7/24 dev {second_interface}")
    assert logged_ip(bare_device) == "198.51.100.7"


def test_of_two_addresses_the_last_one_wins(bare_device):
    ip("address add 192.0.2.11/24 dev net0")
    try:
        assert logged_ip(bare_device) == "192.0.2.11"
    finally:
        ip("address delete 192.0.2.11/24 dev net0")


def test_the_longest_address_is_whole(bare_device, second_interface):
    ip(f"address add 203.111.222.133/24 dev {second_interface}")
    assert logged_ip(bare_device) == "203.111.222.133"


def test_an_interface_without_an_ipv4_address_is_passed_over(bare_device, second_interface):
    ip(f"link set {second_interface} up")
    assert logged_ip(bare_device) == "192.0.2.10"


def test_an_entry_without_any_address_is_passed_over(bare_device, second_interface):
    ip(f"address add 198.51.100.7/24 dev {second_interface}")
    bare_device.start_daemon(
        preload=["fail_getifaddrs.so"], environment={"RUVO_BARE_INTERFACE": second_interface}
    )
    assert "[main:1931] ip=192.0.2.10\n" in text_of(LOG)


def test_only_the_very_name_lo_is_passed_over(bare_device, no_address, second_interface):
    ip(f"link set {second_interface} name lo9")
    try:
        ip("address add 198.51.100.7/24 dev lo9")
        assert logged_ip(bare_device) == "198.51.100.7"
    finally:
        ip("link set lo9 down")
        ip(f"link set lo9 name {second_interface}")


# Waiting for the address.


def test_without_an_address_it_waits(bare_device, no_address):
    started_s = time.monotonic()
    daemon = bare_device.start_daemon()
    waits = daemon.wait_for_output(NETWORK, count=3)
    assert time.monotonic() - started_s >= 3
    assert "[main:1931] ip=\n[main:1949] wait network" in text_of(LOG).replace(
        "[handle_tcp_event:1382] bind 127.0.0.1:2700\n", "")
    assert int(waits[0][1]) >= 1
    assert int(waits[0][1]) < int(waits[1][1]) < int(waits[2][1])


@pytest.mark.parametrize("has_address, pattern", [(False, NETWORK), (True, STATUS)])
def test_each_wait_sleeps_for_a_second(bare_device, no_address, has_address, pattern):
    if has_address:
        ip("address add 192.0.2.10/24 dev net0")
    times = MainThreadTimes(bare_device, wall_s=1000, uptime_s=10)
    daemon = bare_device.start_daemon(preload=[times.LIBRARY])
    daemon.wait_for_output(pattern)
    wait_until(times.last_sleep_ns, "the first sleep has begun")
    assert times.last_sleep_ns() == 1_000_000_000


def test_the_count_of_the_network_wait_is_in_seconds(bare_device, no_address):
    daemon = bare_device.start_daemon()
    before = int(daemon.wait_for_output(NETWORK)[-1][1])
    daemon.process.send_signal(signal.SIGSTOP)
    stopped_s = time.monotonic()
    wait_until(lambda: time.monotonic() > stopped_s + 3, "three seconds have gone by")
    count = len(re.findall(NETWORK, daemon.output()))
    daemon.process.send_signal(signal.SIGCONT)
    after = int(daemon.wait_for_output(NETWORK, count + 1)[count][1])
    assert after >= before + 3


def test_an_address_on_the_loopback_interface_does_not_end_the_wait(bare_device, no_address):
    ip("address add 203.0.113.5/32 dev lo")
    try:
        daemon = bare_device.start_daemon()
        daemon.wait_for_output(NETWORK, count=2)
        assert not re.search(STATUS, daemon.output())
    finally:
        ip("address delete 203.0.113.5/32 dev lo")


def test_the_status_service_is_not_asked_before_there_is_an_address(bare_device, no_address):
    service = bare_device.tcp_receiver(port=50001, reply=SIX_ITEMS)
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(NETWORK, count=2)
    assert service.arrivals == []
    ip("address add 192.0.2.10/24 dev net0")
    service.wait_for(1)


def test_a_new_address_ends_the_wait(bare_device, no_address):
    bare_device.start_status_service()
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(NETWORK)
    ip("address add 192.0.2.10/24 dev net0")
    daemon.wait_for_supervision()
    waits = len(re.findall(NETWORK, daemon.output()))
    daemon.wait_for_passes(6)
    assert len(re.findall(NETWORK, daemon.output())) == waits


def test_an_interface_list_that_cannot_be_read_while_waiting_is_reported(bare_device):
    bare_device.start_status_service()
    daemon = bare_device.start_daemon(
        preload=["fail_getifaddrs.so"], environment={"RUVO_FAIL_GETIFADDRS": "1-2"}
    )
    daemon.wait_for_supervision()
    after_start = text_of(LOG).split("[main:1931] ip=\n")[1]
    after_start = after_start.replace("[handle_tcp_event:1382] bind 127.0.0.1:2700\n", "")
    waits = re.sub(STATUS, "", after_start)
    assert re.fullmatch(
        NETWORK + r"\[renew_network_info:648\] Cannot get ether net info\n" + NETWORK, waits)


def test_events_are_sent_while_it_waits_for_an_address(bare_device, no_address):
    bare_device.enable()
    receiver = bare_device.udp_receiver()
    bare_device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"on")))
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(NETWORK)
    assert request(b"Lamp\n") == b"Lamp\n"
    assert receiver.wait_for(1)[0].data == b"on"


# Waiting for the status service.


def test_without_a_status_service_it_waits(bare_device):
    started_s = time.monotonic()
    daemon = bare_device.start_daemon()
    waits = daemon.wait_for_output(STATUS, count=3)
    # The third message comes after two sleeps of a second each.
    assert time.monotonic() - started_s >= 2
    assert [wait[1] for wait in waits[:3]] == ["1", "2", "3"]
    assert "[main:1959] wait getStatus...1\n[main:1959] wait getStatus...2\n" in text_of(LOG)


def test_the_count_of_the_status_wait_is_in_attempts(bare_device):
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(STATUS)
    daemon.process.send_signal(signal.SIGSTOP)
    stopped_s = time.monotonic()
    wait_until(lambda: time.monotonic() > stopped_s + 3, "three seconds have gone by")
    daemon.process.send_signal(signal.SIGCONT)
    waits = daemon.wait_for_output(STATUS, count=3)
    assert [wait[1] for wait in waits[:3]] == ["1", "2", "3"]


def test_five_items_are_not_enough(bare_device):
    service = bare_device.tcp_receiver(port=50001, reply=FIVE_ITEMS)
    daemon = bare_device.start_daemon()
    service.wait_for(3)
    daemon.wait_for_output(STATUS, count=3)
    assert VARIABLES.read_bytes() == b""


def test_six_items_are_enough(bare_device):
    service = bare_device.tcp_receiver(port=50001, reply=FIVE_ITEMS)
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(STATUS)
    service.reply = SIX_ITEMS
    daemon.wait_for_supervision()
    assert VARIABLES.read_bytes() == SIX_VARIABLES
    touch()
    daemon.wait_for_reloads(2)


def test_settings_that_change_during_the_wait_are_not_read(bare_device):
    bare_device.write_settings("PowerOnCount=1\n")
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(STATUS)
    bare_device.replace_settings("LampCount=1\n")
    daemon.wait_for_output(STATUS, count=3)
    assert daemon.reloads() == 1
    assert EVENT_LIST.read_bytes() == b"PowerOn;PowerOn;0::0;Delay=0;\n"


def test_events_are_sent_while_it_waits_for_the_status_service(bare_device):
    bare_device.enable()
    receiver = bare_device.tcp_receiver()
    bare_device.write_settings(
        f"LampCount=1\nLampIP0={receiver.ip}\nLampPort0={receiver.port}\nLampProtocol0=TCP\n"
        f"LampData0={hex_of(b'on')}\n"
    )
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(STATUS)
    assert request(b"Lamp\n") == b"Lamp\n"
    assert receiver.wait_for(1)[0].data == b"on"


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
def test_a_signal_ends_the_wait(bare_device, number):
    daemon = bare_device.start_daemon()
    daemon.wait_for_output(STATUS)
    assert daemon.stop(number) == -number
