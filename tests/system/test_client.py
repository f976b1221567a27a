"""The one-shot client: what it asks, and what it makes of every kind of reply."""

import pathlib
import socket
import struct
import threading
import time

import pytest

from harness import EVENT_LOG, LOG, PID_FILE, SETTINGS, close_under, text_of, wait_until

PORT = 50003
REFUSED = b"[ruvotcp] Error: connect 127.0.0.1:50003 ;(111)Connection refused;getStatus\r;\n"


class FakeService:
    """Hands each connection to a function, in a thread; ends with the test."""

    def __init__(self, serve):
        self._serve = serve
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self._socket.bind(("127.0.0.1", PORT))
        self._socket.listen()
        self._threads = []
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def _run(self):
        while True:
            try:
                connection, _ = self._socket.accept()
            except OSError:
                return
            thread = threading.Thread(target=self._serve_and_close, args=(connection,), daemon=True)
            self._threads.append(thread)
            thread.start()

    def _serve_and_close(self, connection):
        with connection:
            try:
                self._serve(connection)
            except (BrokenPipeError, ConnectionResetError):
                pass  # the client has read enough

    def close(self):
        close_under(self._socket, self._thread)
        for thread in self._threads:
            thread.join()


@pytest.fixture
def service():
    services = []

    def start(serve):
        services.append(FakeService(serve))

    yield start
    for fake in services:
        fake.close()


def receive_all(connection):
    data = b""
    while chunk := connection.recv(4096):
        data += chunk
    return data


def ask(device, *options):
    """What the client prints; it must end with status 0 and say nothing else."""
    done = device.run_program(*(options or ("--client", "getStatus")))
    assert (done.stderr, done.returncode) == (b"", 0)
    return done.stdout


def assert_nothing_written():
    for path in (PID_FILE, LOG, EVENT_LOG, SETTINGS.parent):
        assert not path.exists(), path
    assert not list(pathlib.Path("/tmp").glob("ruvo_*"))


def test_the_request_is_the_command_and_a_carriage_return(bare_device, service):
    requests = []

    def serve(connection):
        received = connection.recv(4096)
        connection.sendall(b"a: 1\nb:2")
        requests.append(received + receive_all(connection))

    service(serve)
    assert ask(bare_device) == b"a=1\nb=2\n"
    assert_nothing_written()
    assert ask(bare_device, "--cmd=getStatus") == b"a=1\nb=2\n"
    # The service hears of the client's end behind its output.
    wait_until(lambda: len(requests) == 2, "both requests")
    assert requests == [b"getStatus\r"] * 2


@pytest.mark.parametrize("reply, expected, reason", [
    (b"", b"", "nothing"),
    (b"one line\nand another\n", b"", "no colon"),
    (b"(111)Connection refused", b"", "an error text without a colon"),
    (b":", b"", "a colon alone"),
    (b"a:1", b"a=1\n", "one line without its end"),
    (b"a:1\rb:2\r", b"a=1\nb=2\n", "carriage returns end lines"),
    (b"a:1\nb:2\n", b"a=1\nb=2\n", "so do line feeds"),
    (b"a:1\r\nb:2\r\n", b"\nb=2\na=1\n", "a pair of both leaves an empty line before the next key"),
    (b"a:1\n\rb:2\n\r", b"\nb=2\na=1\n", "in either order"),
    (b"b:2\na:1\n", b"a=1\nb=2\n", "keys are put in order"),
    (b"b:\nZ:\na:\n\xff:\n~:\n\x01:\n", b"\x01=\nZ=\na=\nb=\n~=\n\xff=\n", "byte by byte"),
    (b"a:1\na:2\nb:\nb:3\n", b"a=1\nb=\n", "a key keeps its first value"),
    (b"a:1\nA:2\n", b"A=2\na=1\n", "case counts"),
    (b"a: :: 1 : 2 \n", b"a=1 : 2 \n", "blanks and colons before a value are passed over"),
    (b"a:\t1\n", b"a=\t1\n", "a tab belongs to the value"),
    (b" a :1\n", b" a =1\n", "blanks around a key stay"),
    (b"noise\na:1\n", b"noise\na=1\n", "a line without a colon belongs to the next key"),
    (b"a:1\nb: ", b"a=1\n", "a key with nothing behind it at the end"),
    (b":1\n", b"=1\n", "an empty key"),
    (b"a=b:1=2\n", b"a=b=1=2\n", "equals signs are text"),
    (b"a:1\0b:2\n", b"a=1\n", "a zero byte ends the report"),
    (b"\0a:1\n", b"", "also at once"),
    (b"%s:%n%d\n", b"%s=%n%d\n", "percent signs are text"),
    (b"a:" + b"x" * 4997, b"a=" + b"x" * 4997 + b"\n", "4999 bytes are read"),
    (b"a:" + b"x" * 4998, b"a=" + b"x" * 4997 + b"\n", "one too many is cut"),
    (b"a:1\nb:" + b"x" * 8000 + b"\nc:3\n", b"a=1\nb=" + b"x" * 4993 + b"\n", "far too many are cut"),
    (b"k:1\n" * 3000, b"k=1\n", "a long report of one key"),
], ids=lambda value: repr(value)[:40] if isinstance(value, bytes) else None)
def test_a_report_is_printed_by_its_keys(bare_device, service, reply, expected, reason):
    def serve(connection):
        connection.recv(4096)
        connection.sendall(reply)
        connection.shutdown(socket.SHUT_WR)
        receive_all(connection)

    service(serve)
    assert ask(bare_device) == expected, reason
    assert_nothing_written()


def test_a_report_without_an_end_is_read_once(bare_device, service):
    def serve(connection):
        connection.recv(4096)
        while True:
            connection.sendall(b"a:1\n" * 1000)

    service(serve)
    assert ask(bare_device) == b"a=1\n"


def test_a_connection_that_stays_open_holds_nobody_up(bare_device, service):
    def serve(connection):
        connection.recv(4096)
        connection.sendall(b"a:1\n")
        receive_all(connection)  # until the client is gone

    service(serve)
    assert ask(bare_device) == b"a=1\n"


def test_two_seconds_of_silence_end_the_request(bare_device, service):
    service(receive_all)
    start = time.monotonic()
    assert ask(bare_device) == b""
    assert time.monotonic() - start >= 2
    assert_nothing_written()


def test_a_service_that_closes_at_once_gives_nothing(bare_device, service):
    service(lambda connection: None)
    assert ask(bare_device) == b""
    assert_nothing_written()


def test_a_connection_that_is_reset_gives_nothing(bare_device, service):
    def serve(connection):
        connection.recv(4096)
        connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))

    service(serve)
    assert ask(bare_device) == b""
    assert_nothing_written()


def test_a_refused_connection_is_told_on_both_outputs_and_nothing_else(bare_device):
    assert ask(bare_device) == REFUSED
    assert text_of(LOG) == REFUSED.decode()
    assert not PID_FILE.exists() and not SETTINGS.parent.exists()


def test_no_level_silences_a_refused_connection(bare_device):
    assert ask(bare_device, "--qa", "--client", "getStatus", "-q") == REFUSED


def test_a_log_that_cannot_be_written_does_not_matter(bare_device):
    LOG.mkdir()
    assert ask(bare_device) == REFUSED


def test_the_request_is_sent_while_the_options_are_read(bare_device, service):
    def serve(connection):
        connection.recv(4096)
        connection.sendall(b"a:1\n")

    service(serve)
    assert ask(bare_device, "-d", "--client", "getStatus") == (
        b"[tcpclient:108] send[10] getStatus\r\na=1\n"
    )
    assert ask(bare_device, "--client", "getStatus", "-d") == b"a=1\n"
    assert ask(bare_device, "--client", "getStatus", "--cmd", "getStatus") == b"a=1\na=1\n"
    assert ask(bare_device, "--client", "getStatus", "--client", "other") == b"a=1\n"


def test_a_request_that_is_cleared_afterwards_has_been_sent(bare_device, service):
    def serve(connection):
        connection.recv(4096)
        connection.sendall(b"a:1\n")

    service(serve)
    daemon = bare_device.start_daemon("--client", "getStatus", "--qa")
    assert daemon.output().startswith("a=1\nruvotcp V1.4.2-1.")


# Against the simulated status service.


def test_the_status_of_the_device_is_printed(device):
    assert ask(device) == (
        b"input=HDMI1\nmodel=AV-100\nmute=off\npower=on\nserial=0042\ntemperature=38 C\nvolume=42\n"
    )
    assert_nothing_written()


def test_a_status_that_takes_its_time_is_printed(bare_device):
    bare_device.status_items("a:1\n")
    bare_device.start_status_service("--delay-ms", "500")
    assert ask(bare_device) == b"a=1\n"


def test_a_status_that_takes_too_long_is_not_printed(bare_device):
    bare_device.status_items("a:1\n")
    bare_device.start_status_service("--delay-ms", "6000")
    assert ask(bare_device) == b""


def test_a_status_service_that_stays_silent_gives_nothing(bare_device):
    bare_device.start_status_service("--silent")
    assert ask(bare_device) == b""


def test_half_a_status_is_printed_as_far_as_it_goes(bare_device):
    bare_device.status_items("a:1\nb:23\nc:4\n")
    bare_device.start_status_service("--short", "7")
    assert ask(bare_device) == b"a=1\nb=2\n"


def test_a_client_asks_beside_a_running_daemon(device):
    device.start_daemon().wait_for_supervision()
    log = text_of(LOG)
    assert b"model=AV-100\n" in ask(device)
    assert text_of(LOG) == log
