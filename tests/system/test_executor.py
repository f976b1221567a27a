"""What the executor decides for a due record, and how it starts senders."""

import errno
import re

from event_log import log_without_times
from fault_orders import LIBRARY, CallOrders
from harness import LOG, event, request, text_of, trigger, wait_until
from process import change_settings

STATUS_REPORT = b"a:1\rb:2\rc:3\rd:4\re:5\rf:6\r"


def datagrams_after(receiver, *names):
    """Fires the events one by one and returns what has come until the last one's datagram."""
    for name in names:
        trigger(name)
    return receiver.wait_for(len(names))


def test_data_reaches_the_destination(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp on")))
    device.start_daemon()
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp on"]


def test_any_address_is_a_destination(device):
    receiver = device.udp_receiver(address="0.0.0.0")
    device.write_settings(event("Lamp", ("203.0.113.77", receiver.port, "UDP", b"far")))
    device.start_daemon()
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"far"]


def test_200_characters_are_cut_to_103_for_the_sender_only(device):
    receiver = device.udp_receiver()
    data = b"0123456789" * 20
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", data)))
    device.start_daemon()
    trigger("Lamp")
    cut = (
        b"0123456789012345678901234567890123456789012345678901234567890123456789"
        b"012345678901234567890123456789012"
    )
    assert len(cut) == 103
    assert [arrival.data for arrival in receiver.wait_for(1)] == [cut]
    assert log_without_times(1) == f"127.0.0.1:{receiver.port} UDP {data.decode()}\n"


def test_103_characters_are_sent_whole_and_the_104th_is_lost(device):
    receiver = device.tcp_receiver()
    device.write_settings(
        event("Fits", (receiver.ip, receiver.port, "TCP", b"x" * 102 + b"y"))
        + event("Over", (receiver.ip, receiver.port, "TCP", b"x" * 102 + b"yz"))
    )
    device.start_daemon()
    arrivals = datagrams_after(receiver, "Fits", "Over")
    assert [arrival.data for arrival in arrivals] == [b"x" * 102 + b"y", b"x" * 102 + b"y"]


def test_data_ends_at_its_first_zero_byte(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"on\0off")))
    device.start_daemon()
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"on"]


def test_no_data_is_an_empty_datagram(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"")))
    device.start_daemon()
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b""]
    assert log_without_times(1) == f"127.0.0.1:{receiver.port} UDP \n"


def test_the_protocol_text_chooses_the_sender(bare_device):
    """Status is looked for before TCP, and TCP before UDP, anywhere in the text."""
    bare_device.enable()
    bare_device.tcp_receiver(port=50001, reply=STATUS_REPORT)
    tcp = bare_device.tcp_receiver()
    udp = bare_device.udp_receiver(port=tcp.port)
    cases = (
        ("TCP", tcp, b"data"),
        ("UDP", udp, b"data"),
        ("UDPTCP", tcp, b"data"),
        ("TCPUDP", tcp, b"data"),
        ("xUDPx", udp, b"data"),
        (" TCP ", tcp, b"data"),
        ("StatusTCP", tcp, STATUS_REPORT),
        ("TCPStatus", tcp, STATUS_REPORT),
        ("StatusUDP", udp, STATUS_REPORT),
        ("UDP-Status", udp, STATUS_REPORT),
        ("StatusUDPTCP", tcp, STATUS_REPORT),
        ("statusUDP", udp, b"data"),
        ("statusTCP", tcp, b"data"),
        ("udpTCP", tcp, b"data"),
    )
    bare_device.write_settings(
        "".join(
            event(f"Lamp{i}x", ("127.0.0.1", tcp.port, protocol, b"data"))
            for i, (protocol, _, _) in enumerate(cases)
        )
    )
    bare_device.start_daemon()
    for i, (protocol, expected_at, expected_data) in enumerate(cases):
        before = len(tcp.arrivals), len(udp.arrivals)
        trigger(f"Lamp{i}x")
        wait_until(lambda: (len(tcp.arrivals), len(udp.arrivals)) != before, f"{protocol} is sent")
        assert len(tcp.arrivals) + len(udp.arrivals) == sum(before) + 1, protocol
        assert len(expected_at.arrivals) == before[expected_at is udp] + 1, protocol
        assert expected_at.arrivals[-1].data == expected_data, protocol


def test_a_protocol_text_without_a_known_word_starts_nothing(device):
    receiver = device.udp_receiver()
    steps = [("127.0.0.1", receiver.port, text, b"no") for text in ("udp", "tcp", "Status", "", "Udp")]
    device.write_settings(event("Lamp", *steps, ("127.0.0.1", receiver.port, "UDP", b"yes")))
    daemon = device.start_daemon("-d")
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"yes"]
    port = receiver.port
    assert log_without_times(6) == (
        f"127.0.0.1:{port} udp no\n127.0.0.1:{port} tcp no\n127.0.0.1:{port} Status no\n"
        f"127.0.0.1:{port}  no\n127.0.0.1:{port} Udp no\n127.0.0.1:{port} UDP yes\n"
    )
    # No slot is reserved for them either: the sixth step gets the first one.
    assert re.findall(r"get thread id=(\d+)\n", daemon.output()) == ["0"]


def test_a_port_text_is_read_as_strtol_reads_it(device):
    receiver = device.udp_receiver()
    port = receiver.port
    texts = (f"  {port}", f"{port}abc", f"+{port}", f"{port + 65536}", f"{port - 65536}", f"{port + 2**32}")
    device.write_settings(
        event("Lamp", *[("127.0.0.1", text, "UDP", text.encode()) for text in texts])
    )
    device.start_daemon()
    trigger("Lamp")
    arrivals = receiver.wait_for(len(texts))
    assert {arrival.data for arrival in arrivals} == {text.encode() for text in texts}
    assert log_without_times(len(texts)).splitlines()[1] == f"127.0.0.1:{port}abc UDP {port}abc"


def test_messages_show_the_port_as_a_32_bit_number(device):
    """The socket takes the low 16 bits: all of these knock at port 1."""
    cases = (
        ("1", "1"),
        ("65537", "65537"),
        ("-65535", "-65535"),
        ("4294967297", "1"),
        ("2147549185", "-2147418111"),
    )
    device.write_settings(
        event(
            "Lamp",
            *[("127.0.0.1", text, "TCP", f"step {i}".encode()) for i, (text, _) in enumerate(cases)],
        )
    )
    daemon = device.start_daemon()
    trigger("Lamp")
    for i, (_, shown) in enumerate(cases):
        line = f"[ruvotcp] Error: connect 127.0.0.1:{shown} ;(111)Connection refused;step {i};\n"
        wait_until(lambda line=line: line in daemon.output(), line)


def test_a_destination_text_that_is_no_address_means_0_0_0_0(device):
    udp, tcp = device.udp_receiver(), device.tcp_receiver()
    device.write_settings(
        event(
            "Lamp",
            ("lamp.example", udp.port, "UDP", b"name"),
            ("", udp.port, "UDP", b"empty"),
            ("127.0.0.1 ", udp.port, "UDP", b"blank"),
            ("1.2.3", tcp.port, "TCP", b"short"),
        )
    )
    device.start_daemon()
    trigger("Lamp")
    assert {arrival.data for arrival in udp.wait_for(3)} == {b"name", b"empty", b"blank"}
    assert [arrival.data for arrival in tcp.wait_for(1)] == [b"short"]


def test_the_address_text_is_cut_to_63_characters_for_the_sender(device):
    text = "lamp.in.the.hall.on.the.ground.floor.of.the.house.at.the.corner.of.main.street"
    device.write_settings(event("Lamp", (text, 1, "TCP", b"on")))
    daemon = device.start_daemon()
    trigger("Lamp")
    line = (
        "[ruvotcp] Error: connect lamp.in.the.hall.on.the.ground.floor.of.the.house.at.the.corner"
        ":1 ;(111)Connection refused;on;\n"
    )
    assert len("lamp.in.the.hall.on.the.ground.floor.of.the.house.at.the.corner") == 63
    wait_until(lambda: line in daemon.output(), line)
    assert log_without_times(1) == f"{text}:1 TCP on\n"


def test_every_step_of_an_event_with_128_steps_is_sent(device):
    receiver = device.udp_receiver()
    steps = [("127.0.0.1", receiver.port, "UDP", f"step {i:03}".encode(), 1) for i in range(128)]
    device.write_settings(event("Lamp", *steps))
    device.start_daemon()
    trigger("Lamp")
    arrivals = receiver.wait_for(128)
    assert sorted(arrival.data for arrival in arrivals) == [f"step {i:03}".encode() for i in range(128)]


def test_60_messages_to_one_receiver_arrive_complete(device):
    receiver = device.udp_receiver()
    steps = [("127.0.0.1", receiver.port, "UDP", f"message {i:02}".encode()) for i in range(60)]
    device.write_settings(event("Lamp", *steps))
    device.start_daemon()
    trigger("Lamp")
    arrivals = receiver.wait_for(60)
    assert sorted(arrival.data for arrival in arrivals) == [f"message {i:02}".encode() for i in range(60)]


def test_a_record_that_has_run_does_not_run_again(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"))
        # Two seconds later: eight passes over the queue on.
        + event("Later", (receiver.ip, receiver.port, "UDP", b"later"), delay=2)
    )
    daemon = device.start_daemon("-d")
    trigger("Later")
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(2)] == [b"lamp", b"later"]
    assert len(re.findall(r"\] get sys event=Lamp, run event=Lamp, ", daemon.output())) == 1
    assert "had run" not in daemon.output()


def test_a_delayed_event_is_logged_as_disabled_when_the_switch_goes_off_meanwhile(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event(
            "Lamp",
            (receiver.ip, receiver.port, "UDP", b"lamp\0on"),
            (receiver.ip, 9, "TCP", b"two"),
            delay=4,
        )
        + event("Done", (receiver.ip, receiver.port, "UDP", b"done"))
    )
    daemon = device.start_daemon()
    trigger("Lamp")
    device.enable(False)
    change_settings()
    lines = daemon.wait_for_output(r"\[exec_event:\d+\] disable event, skip (.*)\n", count=2)
    assert [line[1] for line in lines] == ["lamp", "two"]
    text = log_without_times(2)
    assert re.fullmatch(
        rf"127\.0\.0\.1:{receiver.port} UDP lamp, disabled uptime=5\d\d\d\n"
        r"127\.0\.0\.1:9 TCP two, disabled uptime=5\d\d\d\n",
        text,
    ), text
    assert "disable event" not in text_of(LOG)
    device.enable(True)
    change_settings()
    trigger("Done")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"done"]


def test_an_event_runs_when_the_switch_is_on_again_at_its_due_time(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"), delay=5))
    device.start_daemon()
    trigger("Lamp")
    device.enable(False)
    change_settings()
    assert request(b"Lamp\n") == b"Event Disabled, skip Lamp\n"
    device.enable(True)
    change_settings()
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]


def test_a_pass_that_needs_more_memory_than_there_is_costs_itself_and_a_line(device):
    """The records behind it run in a later pass."""
    receiver = device.udp_receiver()
    device.status_items("long:" + "v" * 2000 + "\n" + "".join(f"item{i}:{i}\n" for i in range(6)))
    device.write_settings(
        event("Huge", ("1.2.3.4", "5", "none", b"{{long}}" * 110), delay=2)
        + event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp"), delay=2)
    )
    orders = CallOrders(device)
    daemon = device.start_daemon(preload=[LIBRARY, "fail_big_allocations.so"])
    trigger("Huge")
    trigger("Lamp")
    orders.fail("big_allocation", errno.ENOMEM)
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp"]
    assert orders.failures_left("big_allocation") == 0
    [line] = re.findall(r"Error: \[handle_q_event:\d+\] .*\n", daemon.output())
    assert "std::bad_alloc" in line and line in text_of(LOG)


def test_the_debug_lines_of_a_tcp_step(device):
    receiver = device.tcp_receiver(reply=b"OK\r\n")
    device.write_settings(
        event("Lamp", (receiver.ip, receiver.port, "TCP", b"on\0off"), xml_field="HallLamp")
    )
    daemon = device.start_daemon("-d")
    trigger("HallLamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"on"]
    port = receiver.port
    expected = (
        r"\[exec_event:\d+\] get sys event=HallLamp, run event=Lamp, "
        r"now=\d+, t_exec=\d+, sub cmd size=1, test=0\n",
        r"\[get_new_ret_thread:\d+\] get thread id=0\n",
        rf"\[exec_event:\d+\] ip=127\.0\.0\.1, port={port} data\[6\]=on===\n",
        r"\[exec_event:\d+\] ip=127\.0\.0\.1, data=on===\n",
        r"\[tcpclient_thread:\d+\] 127\.0\.0\.1 data=\[2\]on, sleep for=0\n",
        r"\[tcpclient_thread:\d+\] 127\.0\.0\.1 data=\[2\]on, sleep for=0\n",
        r"\[tcpclient:\d+\] send\[2\] on\n",
    )
    daemon.wait_for_output(r"(?s)" + r".*?".join(expected))
    for word in ("get sys event", "get thread id", "exec_event", "sleep for", "send[2]"):
        assert word not in text_of(LOG), f"{word!r} belongs to standard output only"


def test_the_debug_lines_of_a_udp_step(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"on", 20)))
    daemon = device.start_daemon("-d")
    trigger("Lamp")
    receiver.wait_for(1)
    expected = (
        r"\[exec_event:\d+\] get sys event=Lamp, run event=Lamp, ",
        r"\[get_new_ret_thread:\d+\] get thread id=0\n",
        r"\[udpclient_thread:\d+\] 127\.0\.0\.1 data=\[2\]on, sleep for=20000000\n",
        r"\[udpclient_thread:\d+\] 127\.0\.0\.1 data=\[2\]on, sleep for=20000000\n",
        r"\[udpclient:\d+\] send on\n",
    )
    daemon.wait_for_output(r"(?s)" + r".*?".join(expected))
    assert re.findall(r"\[exec_event:\d+\] ip=", daemon.output()) == [], "these are for TCP steps only"


def test_the_debug_lines_of_a_status_udp_step(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "StatusUDP", b"not sent", 20)))
    daemon = device.start_daemon("-d")
    trigger("Lamp")
    receiver.wait_for(1)
    expected = (
        r"\[exec_event:\d+\]\n",
        r"\[get_new_ret_thread:\d+\] get thread id=0\n",
        r"\[udpclient_getStatus_thread:\d+\] 127\.0\.0\.1 data=\[0\], sleep for=20000000\n",
        r"\[tcpclient:\d+\] send\[9\] getStatus\n",
        r"\[udpclient:\d+\] send model:AV-100\r",
    )
    daemon.wait_for_output(r"(?s)" + r".*?".join(expected))
    assert len(re.findall(r"\[udpclient_getStatus_thread:\d+\]", daemon.output())) == 1


def test_the_debug_lines_of_a_status_tcp_step(device):
    receiver = device.tcp_receiver(reply=b"OK")
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "StatusTCP", b"not sent", 20)))
    daemon = device.start_daemon("-d")
    trigger("Lamp")
    receiver.wait_for(1)
    expected = (
        r"\[exec_event:\d+\]\n",
        r"\[get_new_ret_thread:\d+\] get thread id=0\n",
        r"\[tcpclient_getStatus_thread:\d+\] sleep for=20000000\n",
        r"\[tcpclient:\d+\] send\[9\] getStatus\n",
        r"\[tcpclient:\d+\] send\[\d+\] model:AV-100\r",
    )
    daemon.wait_for_output(r"(?s)" + r".*?".join(expected))
    assert re.findall(r"\[exec_event:\d+\] ip=", daemon.output()) == [], "these are for plain TCP steps only"


def test_nothing_of_this_is_printed_when_not_debugging(device):
    receiver = device.udp_receiver()
    steps = [(receiver.ip, receiver.port, protocol, b"on") for protocol in ("UDP", "StatusUDP")]
    device.write_settings(event("Lamp", *steps))
    daemon = device.start_daemon()
    trigger("Lamp")
    receiver.wait_for(2)
    for name in ("exec_event", "get_new_ret_thread", "udpclient", "tcpclient", "push_event_back"):
        assert f"[{name}" not in daemon.output()


def processor_ticks(daemon):
    """The processor time of all of the daemon's threads, in hundredths of a second."""
    user, system = text_of(f"/proc/{daemon.main_pid()}/stat").rsplit(")", 1)[1].split()[11:13]
    return int(user) + int(system)


def test_waiting_takes_no_processor_time(device):
    daemon = device.start_daemon()
    daemon.wait_for_supervision()
    before = processor_ticks(daemon)
    daemon.wait_for_passes(5)  # a second
    assert processor_ticks(daemon) - before < 30
