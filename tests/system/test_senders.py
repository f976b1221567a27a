"""The four sender bodies on real sockets, and what they do when the other side misbehaves."""

import errno
import re
import socket
import struct
import threading
import time

from fault_orders import LIBRARY, CallOrders
from harness import LOG, VARIABLES, event, text_of, trigger, wait_for_line_on_both_outputs, wait_until
from process import IDLE_EVENT, descriptors, thread_count, threads_when_idle

# Six items are enough for the start-up to go on.
STATUS_REPORT = b"a:1\rb:2\rc:3\rd:4\re:5\rf:6\r"


class Listener:
    """A TCP peer whose every move the test makes itself."""

    def __init__(self, backlog=16, port=0):
        self.socket = socket.create_server(("127.0.0.1", port), backlog=backlog)
        self.socket.settimeout(20)
        self.port = self.socket.getsockname()[1]

    def accept(self):
        connection, _ = self.socket.accept()
        connection.settimeout(20)
        return connection

    def __enter__(self):
        return self

    def __exit__(self, *_):
        # Wakes a thread that still waits in accept and would keep the port.
        self.socket.shutdown(socket.SHUT_RDWR)
        self.socket.close()


def read_to_end(connection):
    data = b""
    while chunk := connection.recv(65536):
        data += chunk
    return data


def test_a_udp_step_is_one_datagram(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "UDP", b"lamp on\r\n\x80\xff")))
    device.start_daemon()
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"lamp on\r\n\x80\xff"]


def test_a_tcp_step_is_one_connection_closed_after_the_reply(device):
    with Listener() as listener:
        device.write_settings(event("Lamp", ("127.0.0.1", listener.port, "TCP", b"lamp on")))
        device.start_daemon()
        trigger("Lamp")
        connection = listener.accept()
        assert connection.recv(100) == b"lamp on"
        connection.sendall(b"OK\r\n")
        assert connection.recv(100) == b"", "the daemon closes"
        connection.close()


def test_every_step_opens_a_socket_of_its_own(device):
    receiver = device.tcp_receiver(reply=b"OK")
    device.write_settings(event("Lamp", *[(receiver.ip, receiver.port, "TCP", b"on")] * 5))
    device.start_daemon()
    trigger("Lamp")
    arrivals = receiver.wait_for(5)
    assert [arrival.data for arrival in arrivals] == [b"on"] * 5
    assert len({arrival.peer for arrival in arrivals}) == 5


def test_a_reply_larger_than_the_buffer_does_no_harm(device):
    receiver = device.tcp_receiver(reply=b"x" * 300000)
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "TCP", b"on")))
    daemon = device.start_daemon()
    for count in (1, 2, 3):
        trigger("Lamp")
        receiver.wait_for(count)
    assert daemon.running()


def test_a_refused_connection_is_told_on_both_outputs(device):
    device.write_settings(event("Lamp", ("127.0.0.1", 1, "TCP", b"lamp on")))
    daemon = device.start_daemon()
    trigger("Lamp")
    wait_for_line_on_both_outputs(
        daemon, "[ruvotcp] Error: connect 127.0.0.1:1 ;(111)Connection refused;lamp on;\n"
    )


def test_a_connection_that_nobody_takes_up_fails_after_two_seconds(device):
    with Listener(backlog=0) as listener:
        waiting = [socket.socket() for _ in range(3)]
        for one in waiting:
            one.setblocking(False)
            one.connect_ex(("127.0.0.1", listener.port))
        device.write_settings(event("Lamp", ("127.0.0.1", listener.port, "TCP", b"lamp on")))
        daemon = device.start_daemon()
        start = time.monotonic()
        trigger("Lamp")
        wait_for_line_on_both_outputs(
            daemon,
            f"[ruvotcp] Error: connect 127.0.0.1:{listener.port} ;(115)Operation now in progress;lamp on;\n",
        )
        assert time.monotonic() - start >= 2.0
        for one in waiting:
            one.close()


def test_a_udp_step_that_cannot_be_sent_fails_silently(device):
    receiver = device.udp_receiver()
    device.write_settings(
        event(
            "Lamp",
            # A broadcast without the permission for it, and port 0.
            ("255.255.255.255", receiver.port, "UDP", b"no"),
            ("127.0.0.1", 0, "UDP", b"no"),
            (receiver.ip, receiver.port, "UDP", b"yes", 100),
        )
    )
    daemon = device.start_daemon()
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"yes"]
    for text in (daemon.output(), text_of(LOG)):
        assert "Error" not in text, text


def test_a_failed_send_is_told_on_both_outputs(device):
    """The field after len= shows what send returned; the length follows on the next line."""
    orders = CallOrders(device)
    with Listener() as listener:
        device.write_settings(event("Lamp", ("127.0.0.1", listener.port, "TCP", b"hello", 300)))
        daemon = device.start_daemon(preload=[LIBRARY])
        trigger("Lamp")
        orders.fail("send", errno.EPIPE)
        wait_for_line_on_both_outputs(
            daemon,
            f"[ruvotcp] Error: send(len=-1) 127.0.0.1:{listener.port} :(32)Broken pipe\n(5)hello;\n",
        )
        assert read_to_end(listener.accept()) == b""


def test_a_partial_send_is_not_continued(device):
    orders = CallOrders(device)
    with Listener() as listener:
        device.write_settings(event("Lamp", ("127.0.0.1", listener.port, "TCP", b"hello!", 300)))
        daemon = device.start_daemon(preload=[LIBRARY])
        trigger("Lamp")
        orders.fail("send", 0)
        connection = listener.accept()
        assert connection.recv(100) == b"hel"
        connection.sendall(b"OK")
        assert connection.recv(100) == b""
        assert "[ruvotcp] Error" not in daemon.output()


def test_a_socket_that_cannot_be_made_costs_the_step_silently(device):
    orders = CallOrders(device)
    udp, tcp = device.udp_receiver(), device.tcp_receiver()
    device.write_settings(
        event(
            "Lamp",
            (udp.ip, udp.port, "UDP", b"no", 300),
            (tcp.ip, tcp.port, "TCP", b"no", 100),
            (udp.ip, udp.port, "UDP", b"yes", 100),
        )
    )
    daemon = device.start_daemon(preload=[LIBRARY])
    trigger("Lamp")
    orders.fail("socket", errno.EMFILE, times=2)
    assert [arrival.data for arrival in udp.wait_for(1)] == [b"yes"]
    assert orders.failures_left("socket") == 0
    assert tcp.arrivals == []
    for text in (daemon.output(), text_of(LOG)):
        assert "Error" not in text, text


def test_a_silent_peer_costs_two_seconds_and_no_message(device):
    with Listener() as listener:
        device.write_settings(event("Lamp", ("127.0.0.1", listener.port, "TCP", b"lamp on")) + IDLE_EVENT)
        daemon = device.start_daemon("-d")
        idle = threads_when_idle(daemon.pid)
        start = time.monotonic()
        trigger("Lamp")
        connection = listener.accept()
        assert read_to_end(connection) == b"lamp on"
        assert time.monotonic() - start >= 2.0
        wait_until(lambda: thread_count(daemon.pid) == idle, "the sender has ended")
        trigger("Lamp")
        daemon.wait_for_output(r"\[get_new_ret_thread:\d+\] free thread id=0\n")
        assert "Error" not in text_of(LOG)


def test_a_peer_that_resets_the_connection_costs_no_message(device):
    with Listener() as listener:
        device.write_settings(event("Lamp", ("127.0.0.1", listener.port, "TCP", b"lamp on")) + IDLE_EVENT)
        daemon = device.start_daemon()
        idle = threads_when_idle(daemon.pid)
        trigger("Lamp")
        connection = listener.accept()
        assert connection.recv(100) == b"lamp on"
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
        connection.close()
        wait_until(lambda: thread_count(daemon.pid) == idle, "the sender has ended")
        assert daemon.running()
        assert "Error" not in daemon.output()


def test_a_status_step_asks_the_service_and_delivers_its_report(bare_device):
    bare_device.enable()
    service = bare_device.tcp_receiver(port=50001, reply=STATUS_REPORT)
    udp, tcp = bare_device.udp_receiver(), bare_device.tcp_receiver(reply=b"OK")
    bare_device.write_settings(
        event("Lamp", (udp.ip, udp.port, "StatusUDP", b"not sent"))
        + event("Hall", (tcp.ip, tcp.port, "StatusTCP", b"not sent"))
    )
    bare_device.start_daemon()
    trigger("Lamp")
    assert [arrival.data for arrival in udp.wait_for(1)] == [b"a:1\rb:2\rc:3\rd:4\re:5\rf:6\r"]
    trigger("Hall")
    assert [arrival.data for arrival in tcp.wait_for(1)] == [b"a:1\rb:2\rc:3\rd:4\re:5\rf:6\r"]
    # The nine bytes alone; the lookups of the triggers ask with a carriage return.
    requests = [arrival.data for arrival in service.arrivals]
    assert requests.count(b"getStatus") == 2
    assert requests.count(b"getStatus\r") == len(requests) - 2


def test_the_simulated_service_s_report_is_delivered_with_its_carriage_returns(device):
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "StatusUDP", b"")))
    device.start_daemon()
    trigger("Lamp")
    assert [arrival.data for arrival in receiver.wait_for(1)] == [
        b"model:AV-100\rinput:HDMI1\rpower:on\rvolume:42\rmute:off\rtemperature:38 C\rserial:0042\r"
    ]


def test_the_report_s_last_line_end_is_cut_to_a_line_feed(bare_device):
    cases = (
        (b"OK\r\n", b"OK\n"),
        (b"OK\n\r", b"OK\n"),
        (b"OK\n", b"OK\n"),
        (b"OK\r", b"OK\r"),
        (b"\n", b"\n"),
        (b"\r\n", b"\n"),
        (b"one\r\ntwo\r\n", b"one\r\ntwo\n"),
        (b"text\0more", b"text"),
        (b"x" * 2040 + b"1234567", b"x" * 2040 + b"1234567"),
        (b"x" * 2040 + b"12345678", b"x" * 2040 + b"1234567"),
    )
    bare_device.enable()
    service = bare_device.tcp_receiver(port=50001, reply=b"")
    receiver = bare_device.udp_receiver()
    bare_device.write_settings(event("Lamp", (receiver.ip, receiver.port, "StatusUDP", b"")))
    bare_device.start_daemon()
    for count, (report, expected) in enumerate(cases, 1):
        service.reply = report
        trigger("Lamp")
        assert receiver.wait_for(count)[-1].data == expected


def test_a_service_that_closes_without_a_word_gives_an_empty_report(bare_device):
    bare_device.enable()
    bare_device.tcp_receiver(port=50001, reply=None)
    udp, tcp = bare_device.udp_receiver(), bare_device.tcp_receiver()
    bare_device.write_settings(
        event("Lamp", (udp.ip, udp.port, "StatusUDP", b"no"), (tcp.ip, tcp.port, "StatusTCP", b"no"))
    )
    bare_device.start_daemon()
    trigger("Lamp")
    assert [arrival.data for arrival in udp.wait_for(1)] == [b""]
    assert [arrival.data for arrival in tcp.wait_for(1)] == [b""]


def test_without_the_service_the_error_text_is_delivered(bare_device):
    udp, tcp = bare_device.udp_receiver(), bare_device.tcp_receiver()
    bare_device.enable()
    bare_device.write_settings(
        event("Lamp", (udp.ip, udp.port, "StatusUDP", b"no"), (tcp.ip, tcp.port, "StatusTCP", b"no"))
    )
    daemon = bare_device.start_daemon()
    trigger("Lamp")
    assert [arrival.data for arrival in udp.wait_for(1)] == [b"(111)Connection refused"]
    assert [arrival.data for arrival in tcp.wait_for(1)] == [b"(111)Connection refused"]
    wait_for_line_on_both_outputs(
        daemon, "[ruvotcp] Error: connect 127.0.0.1:50001 ;(111)Connection refused;getStatus;\n"
    )


def test_a_silent_service_costs_two_seconds_and_its_error_text_is_delivered(bare_device):
    bare_device.tcp_receiver(port=50001, silent=True)
    receiver = bare_device.udp_receiver()
    bare_device.enable()
    bare_device.write_settings(event("Lamp", (receiver.ip, receiver.port, "StatusUDP", b"no")))
    bare_device.start_daemon()
    start = time.monotonic()
    trigger("Lamp")
    [arrival] = receiver.wait_for(1)
    assert arrival.data == b"(11)Resource temporarily unavailable"
    assert arrival.time_s - start >= 2.0


def test_a_service_that_resets_has_its_error_text_delivered(bare_device):
    receiver = bare_device.udp_receiver()
    bare_device.enable()
    bare_device.write_settings(event("Lamp", (receiver.ip, receiver.port, "StatusUDP", b"no")))

    def reset_every_connection(listener):
        while True:
            try:
                connection = listener.accept()
            except OSError:
                return
            connection.recv(100)
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            connection.close()

    with Listener(port=50001) as listener:
        threading.Thread(target=reset_every_connection, args=(listener,), daemon=True).start()
        bare_device.start_daemon()
        trigger("Lamp")
        assert [arrival.data for arrival in receiver.wait_for(1)] == [b"(104)Connection reset by peer"]


def test_a_status_step_without_a_socket_delivers_the_error_text(device):
    orders = CallOrders(device)
    receiver = device.udp_receiver()
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "StatusUDP", b"no", 300)))
    device.start_daemon(preload=[LIBRARY])
    trigger("Lamp")
    orders.fail("socket", errno.EMFILE)
    assert [arrival.data for arrival in receiver.wait_for(1)] == [b"(24)Too many open files"]


def test_a_tcp_socket_on_descriptor_0_stays_open(device):
    receiver = device.tcp_receiver(reply=b"OK")
    device.write_settings(event("Lamp", (receiver.ip, receiver.port, "TCP", b"on", 500)) + IDLE_EVENT)
    daemon = device.start_daemon(preload=["close_stdin_at_listen.so"])
    wait_until(lambda: text_of(VARIABLES), "the start-up has asked the status service")
    idle = threads_when_idle(daemon.pid)
    assert 0 not in descriptors(daemon.pid)
    trigger("Lamp")
    receiver.wait_for(1)
    wait_until(lambda: thread_count(daemon.pid) == idle, "the sender has ended")
    assert re.fullmatch(r"socket:\[\d+\]", descriptors(daemon.pid)[0])
    trigger("Lamp")
    receiver.wait_for(2)
    wait_until(lambda: thread_count(daemon.pid) == idle, "the sender has ended")
    sockets = [target for target in descriptors(daemon.pid).values() if target.startswith("socket:")]
    assert len(sockets) == 2, "the command port's and the one on descriptor 0; the second sender's is closed"


def test_no_descriptor_is_left_over_after_many_sends(device):
    udp, tcp = device.udp_receiver(), device.tcp_receiver(reply=b"OK")
    device.write_settings(
        event(
            "Lamp",
            (udp.ip, udp.port, "UDP", b"on"),
            (udp.ip, udp.port, "StatusUDP", b""),
            (tcp.ip, tcp.port, "TCP", b"on"),
            (tcp.ip, tcp.port, "StatusTCP", b""),
            ("127.0.0.1", 1, "TCP", b"refused"),
        )
        + IDLE_EVENT
    )
    daemon = device.start_daemon()
    wait_until(lambda: text_of(VARIABLES), "the start-up has asked the status service")
    idle = threads_when_idle(daemon.pid)
    before = descriptors(daemon.pid)
    for _ in range(10):
        trigger("Lamp")
    udp.wait_for(20)
    tcp.wait_for(20)
    wait_until(lambda: thread_count(daemon.pid) == idle, "the senders have ended")
    wait_until(lambda: descriptors(daemon.pid) == before, "the same descriptors as before are open")
