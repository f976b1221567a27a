"""The programs of the simulated device, each run as a user runs it."""

import contextlib
import json
import os
import pty
import re
import select
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
from pathlib import Path

import pytest

from programs import DEADLINE_S, DEVKIT, RECEIVER, STATUS, TOOL, WORLD, output, run

PROGRAMS = [TOOL, STATUS, RECEIVER, WORLD]

# Lists a folder of the world. A checkout that lies in a folder which the world
# covers stays visible there; that is not what a test looks at.
LS = f"ls -I '{DEVKIT.parts[2]}'"

NOBODY = 65534
needs_root = pytest.mark.skipif(os.geteuid() != 0, reason="changes the user or its rights")


@contextlib.contextmanager
def started(*command, **options):
    """A program in the background, with its first output line, which says that it is ready."""
    with subprocess.Popen(command, stdout=subprocess.PIPE, text=True, **options) as process:
        try:
            process.first_line = process.stdout.readline()
            yield process
        finally:
            process.kill()


def wait_until(condition):
    end = time.monotonic() + DEADLINE_S
    while not condition():
        assert time.monotonic() < end, "the condition did not come true in time"
        time.sleep(0.005)


def receive_all(connection):
    """What arrives up to the end of the connection."""
    connection.settimeout(DEADLINE_S)
    received = b""
    while chunk := connection.recv(65536):
        received += chunk
    return received


# --- all programs


@pytest.mark.parametrize("program", PROGRAMS)
def test_help_goes_to_standard_output(program):
    assert f"Usage: {Path(program).name} " in output(program, "--help")


@pytest.mark.parametrize("program", PROGRAMS)
def test_unknown_option_is_a_usage_error(program):
    done = run(program, "--no-such-option")
    assert (done.returncode, done.stdout) == (2, "")
    assert f"Usage: {Path(program).name} " in done.stderr


@pytest.mark.parametrize("arguments", [
    [STATUS],
    [STATUS, "--items", "/no/such/file"],
    [STATUS, "--items", __file__, "--port", "65536"],
    [STATUS, "--items", __file__, "--port", "x"],
    [STATUS, "--items", __file__, "--delay-ms", "-1"],
    [STATUS, "--items", __file__, "--silent", "--hang"],
    [RECEIVER],
    [RECEIVER, "--udp", "127.0.0.1"],
    [RECEIVER, "--udp", "127.0.0.1:65536"],
    [RECEIVER, "--tcp", "localhost:1"],
    [RECEIVER, "--tcp", "127.0.0.1:0", "--reply", r"\q"],
    [RECEIVER, "--tcp", "127.0.0.1:0", "--reply", r"\x1"],
    [RECEIVER, "--tcp", "127.0.0.1:0", "--reply", "x", "--keep-open"],
    [RECEIVER, "--udp", "127.0.0.1:0", "--count", "0"],
    [WORLD],
    [WORLD, "--uptime", "-1", "true"],
    [WORLD, "--uptime", "nan", "true"],
    [WORLD, "--interface", "net0", "true"],
    [WORLD, "--interface", "net0=192.0.2.10", "true"],
    [WORLD, "--interface", "net0=192.0.2.10/33", "true"],
    [WORLD, "--interface", "a-name-too-long-to-use=192.0.2.10/24", "true"],
    [WORLD, "--interface", "a=192.0.2.1/24", "--interface", "a=192.0.2.2/24", "true"],
    [WORLD, "--interface", "a=192.0.2.1/24", "--no-interface", "true"],
    [WORLD, "--keep", "/no/such/path", "true"],
    [WORLD, "--only-uptime", "1", "--uptime", "1", "true"],
    [WORLD, "--only-uptime", "1", "--no-interface", "true"],
])
def test_bad_arguments_are_usage_errors(arguments):
    done = run(*arguments)
    assert (done.returncode, done.stdout) == (2, "")
    assert "Usage: " in done.stderr


# --- ruvo-status-service

ITEMS = "input:HDMI1\npower:on\n\n  \nnote:a:b\nempty:\n"
REPLY = b"input:HDMI1\rpower:on\rnote:a:b\rempty:\r"


@pytest.fixture
def items(tmp_path):
    path = tmp_path / "items"
    path.write_text(ITEMS)
    return path


@contextlib.contextmanager
def status_service(items, *options):
    """Yields a function that opens a connection to a service on a free port."""
    with started(STATUS, "--items", items, "--port", "0", *options) as service:
        ready = re.fullmatch(r"ready (\d+)\n", service.first_line)
        assert ready
        yield lambda: socket.create_connection(("127.0.0.1", int(ready[1])), DEADLINE_S)


def ask(connect, request=b"getStatus\r"):
    with connect() as connection:
        connection.sendall(request)
        return receive_all(connection)


@pytest.mark.parametrize("request_bytes", [b"getStatus", b"getStatus\r"])
def test_status_is_answered_while_the_client_stays_open(items, request_bytes):
    with status_service(items) as connect:
        assert ask(connect, request_bytes) == REPLY


def test_status_request_may_come_in_pieces(items):
    with status_service(items) as connect, connect() as connection:
        connection.setsockopt(socket.IPPROTO_TCP, socket.TCP_NODELAY, 1)
        for piece in (b"get", b"Stat", b"us", b"\r"):
            connection.sendall(piece)
        assert receive_all(connection) == REPLY


@pytest.mark.parametrize("request_bytes", [b"getstatus\r", b"getStatusX", b"getStatus\r\r", b"x",
                                           b"getStatus\n"])
def test_any_other_request_is_closed_without_an_answer(items, request_bytes):
    with status_service(items) as connect:
        assert ask(connect, request_bytes) == b""


def test_carriage_return_that_comes_late_resets_nothing(items):
    with status_service(items) as connect, connect() as connection:
        connection.sendall(b"getStatus")
        assert receive_all(connection) == REPLY
        for _ in range(2):  # the first one provokes the reset, the second one meets it
            connection.sendall(b"\r")


def test_request_cut_short_is_closed(items):
    with status_service(items) as connect, connect() as connection:
        connection.sendall(b"getStat")
        connection.shutdown(socket.SHUT_WR)
        assert receive_all(connection) == b""


def test_items_are_read_anew_for_each_request(items):
    with status_service(items) as connect:
        assert ask(connect) == REPLY
        items.write_bytes(b"a:1\r\nb:2")
        assert ask(connect) == b"a:1\rb:2\r"
        items.unlink()
        assert ask(connect) == b""


def test_delayed_status_comes_late(items):
    with status_service(items, "--delay-ms", "150") as connect:
        start = time.monotonic()
        assert ask(connect) == REPLY
        assert time.monotonic() - start >= 0.15


def test_silent_service_closes_without_an_answer(items):
    with status_service(items, "--silent") as connect:
        assert ask(connect) == b""


@pytest.mark.parametrize("size", [0, 1, 15, 1000])
def test_short_status_is_cut(items, size):
    with status_service(items, "--short", str(size)) as connect:
        assert ask(connect) == REPLY[:size]


def test_hanging_service_neither_answers_nor_closes(items):
    with status_service(items, "--hang") as connect, connect() as connection:
        connection.sendall(b"getStatus\r")
        connection.settimeout(0.2)
        with pytest.raises(TimeoutError):
            connection.recv(1)


def test_slow_clients_do_not_hold_up_each_other(items):
    with status_service(items, "--delay-ms", "100") as connect, contextlib.ExitStack() as stack:
        stack.enter_context(connect())  # one that never asks
        start = time.monotonic()
        clients = [stack.enter_context(connect()) for _ in range(50)]
        for client in clients:
            client.sendall(b"getStatus")
        assert [receive_all(client) for client in clients] == [REPLY] * 50
        assert time.monotonic() - start < 2.5  # one after the other they take 5 s


def test_status_ports_of_the_device_serve_the_shell(items):
    script = f"""
        {STATUS} --items "{items}" | {{
            read line; echo "$line"
            for port in 50001 50003; do
                printf 'getStatus\\r' | timeout 5 nc 127.0.0.1 $port | tr '\\r' '\\n'
            done
            kill -TERM -1
        }}"""
    done = run(WORLD, "--keep", items, "sh", "-c", script)
    assert done.stdout == "ready 50001 50003\n" + 2 * REPLY.decode().replace("\r", "\n")


# --- ruvo-receiver


@contextlib.contextmanager
def receiver(*options):
    """Yields the program and the list of its (protocol, address, port)."""
    with started(RECEIVER, *options) as process:
        ready = re.findall(r" (udp|tcp) ([\d.]+):(\d+)", process.first_line)
        process.endpoints = [(protocol, host, int(port)) for protocol, host, port in ready]
        yield process


def send_udp(data, *address):
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
        sender.sendto(data, address)


def test_receiver_names_its_endpoints_in_the_order_given():
    with receiver("--udp", "127.0.0.1:0", "--tcp", "0.0.0.0:0", "--udp", "0.0.0.0:0") as process:
        pattern = r"ready udp 127\.0\.0\.1:\d+ tcp 0\.0\.0\.0:\d+ udp 0\.0\.0\.0:\d+\n"
        assert re.fullmatch(pattern, process.first_line)
        assert all(port > 0 for _, _, port in process.endpoints)


def test_datagram_as_json():
    with receiver("--udp", "0.0.0.0:0", "--json", "--count", "1") as process:
        port = process.endpoints[0][2]
        before = time.monotonic_ns()
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
            sender.bind(("127.0.0.3", 0))
            sender.sendto(b'A"\\\r\n\t\x00\xff', ("127.0.0.2", port))
            sender_port = sender.getsockname()[1]
            arrival = json.loads(process.stdout.readline())
        assert before < arrival.pop("time_ns") < time.monotonic_ns()
        assert arrival == {"protocol": "udp", "from": f"127.0.0.3:{sender_port}",
                           "to": f"127.0.0.2:{port}", "hex": "41225c0d0a0900ff",
                           "text": 'A"\\\\\\r\\n\\t\\x00\\xff'}
        assert process.wait(DEADLINE_S) == 0


def test_connection_as_json_and_closed_behind_its_first_chunk():
    with receiver("--tcp", "0.0.0.0:0", "--json") as process:
        port = process.endpoints[0][2]
        with socket.create_connection(("127.0.0.2", port)) as connection:
            connection.sendall(b"power on\r")
            assert receive_all(connection) == b""
            own_port = connection.getsockname()[1]
        arrival = json.loads(process.stdout.readline())
        del arrival["time_ns"]
        assert arrival == {"protocol": "tcp", "from": f"127.0.0.1:{own_port}",
                           "to": f"127.0.0.2:{port}", "hex": "706f776572206f6e0d",
                           "text": "power on\\r"}


def test_empty_datagram_is_an_arrival():
    with receiver("--udp", "127.0.0.1:0", "--json") as process:
        send_udp(b"", *process.endpoints[0][1:])
        assert json.loads(process.stdout.readline())["hex"] == ""


def test_arrival_as_a_line_to_read():
    with receiver("--udp", "127.0.0.1:0") as process:
        port = process.endpoints[0][2]
        send_udp(b"on\r", "127.0.0.1", port)
        pattern = (rf"127\.0\.0\.1:{port}  udp  \d+\.\d{{6}} s  from 127\.0\.0\.1:\d+  "
                   r'3 bytes  hex 6f6e0d  text "on\\r"\n')
        assert re.fullmatch(pattern, process.stdout.readline())


def test_record_gets_the_same_json_lines_appended(tmp_path):
    record = tmp_path / "record"
    record.write_text("earlier\n")
    with receiver("--udp", "127.0.0.1:0", "--json", "--record", record, "--count", "2") as process:
        for data in (b"one", b"two"):
            send_udp(data, *process.endpoints[0][1:])
        printed = process.stdout.read()
    assert record.read_text() == "earlier\n" + printed
    assert [json.loads(line)["text"] for line in printed.splitlines()] == ["one", "two"]


def test_reply_is_sent_and_the_connection_closed():
    with receiver("--tcp", "127.0.0.1:0", "--reply", r"OK\r\n\t\\\x00\xfF") as process:
        with socket.create_connection(process.endpoints[0][1:]) as connection:
            connection.sendall(b"x")
            assert receive_all(connection) == b"OK\r\n\t\\\x00\xff"


def test_kept_connection_stays_open_and_unanswered():
    with receiver("--tcp", "127.0.0.1:0", "--keep-open", "--json", "--count", "2") as process:
        with socket.create_connection(process.endpoints[0][1:]) as connection:
            connection.sendall(b"one")
            assert json.loads(process.stdout.readline())["text"] == "one"
            connection.settimeout(0.1)
            with pytest.raises(TimeoutError):
                connection.recv(1)
            connection.sendall(b"two")
            assert json.loads(process.stdout.readline())["text"] == "two"
        assert process.wait(DEADLINE_S) == 0


def test_time_up_is_a_failure_only_when_arrivals_are_missing():
    assert run(RECEIVER, "--udp", "127.0.0.1:0", "--timeout-ms", "30").returncode == 0
    assert run(RECEIVER, "--udp", "127.0.0.1:0", "--timeout-ms", "30", "--count", "1").returncode == 1


def test_address_in_use_is_reported():
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as taken:
        taken.bind(("127.0.0.1", 0))
        address = "127.0.0.1:%d" % taken.getsockname()[1]
        done = run(RECEIVER, "--udp", address)
    assert (done.returncode, done.stdout) == (1, "")
    assert address in done.stderr


def test_600_connections_at_once():
    count = 600
    with receiver("--tcp", "127.0.0.1:0", "--json", "--reply", "OK", "--count", str(count)) as process:
        with contextlib.ExitStack() as stack:
            address = process.endpoints[0][1:]
            connections = [stack.enter_context(socket.create_connection(address, DEADLINE_S))
                           for _ in range(count)]
            for number, connection in enumerate(connections):
                connection.sendall(b"%d" % number)
            assert [receive_all(connection) for connection in connections] == [b"OK"] * count
        texts = {json.loads(line)["text"] for line in process.stdout}
        assert texts == {str(number) for number in range(count)}
        assert process.wait(DEADLINE_S) == 0


def test_burst_of_datagrams_is_received_whole():
    count = 1000
    with receiver("--udp", "127.0.0.1:0", "--json", "--count", str(count)) as process:
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
            for number in range(count):
                sender.sendto(b"%d" % number, process.endpoints[0][1:])
        texts = [json.loads(line)["text"] for line in process.stdout]
        assert texts == [str(number) for number in range(count)]


# --- ruvo-world

UPTIME = "cat /proc/uptime"


def uptime_of(text):
    return float(text.split()[0])


@pytest.mark.parametrize("seconds", [0.5, 20, 4_000_000])
def test_uptime_starts_where_it_is_told(seconds):
    uptime = uptime_of(output(WORLD, "--uptime", str(seconds), "sh", "-c", UPTIME))
    assert seconds <= uptime < seconds + 3


def test_uptime_changes_no_other_clock():
    script = "import time; print(time.monotonic())"
    before = time.monotonic()
    inside = float(output(WORLD, "--uptime", "5", sys.executable, "-c", script))
    assert before < inside < time.monotonic()


def test_only_uptime_inside_a_world_with_another_uptime():
    inner = [WORLD, "--only-uptime", "20", "sh", "-c", UPTIME]
    assert 20 <= uptime_of(output(*inner)) < 23
    assert 20 <= uptime_of(output(WORLD, "--uptime", "5000", *inner)) < 23
    assert 20 <= uptime_of(output(WORLD, "--uptime", "5000", WORLD, "--only-uptime", "7", *inner)) < 23


def test_world_inside_a_world():
    inner = f"{WORLD} --uptime 20 sh -c '[ ! -e /tmp/outer ] && {UPTIME}'"
    uptime = output(WORLD, "--uptime", "5000", "sh", "-c", f"touch /tmp/outer; {inner}")
    assert 20 <= uptime_of(uptime) < 23


def test_only_uptime_keeps_everything_else(tmp_path):
    show = "readlink /proc/self/ns/mnt /proc/self/ns/net /proc/self/ns/pid; id -u; pwd"
    outside = output("sh", "-c", show, cwd=tmp_path)
    assert output(WORLD, "--only-uptime", "20", "sh", "-c", show, cwd=tmp_path) == outside


def test_only_uptime_runs_the_command_in_its_own_place():
    with started(WORLD, "--only-uptime", "20", "sh", "-c", "echo $$; exec sleep 60") as process:
        assert process.first_line == f"{process.pid}\n"
        process.terminate()
        assert process.wait(DEADLINE_S) == -signal.SIGTERM
    assert run(WORLD, "--only-uptime", "20", "sh", "-c", "exit 7").returncode == 7


def test_device_folders_are_private():
    name = f"ruvo-devkit-test-{os.getpid()}"
    folders = ["/mnt", "/tmp", "/var/log", "/run", "/var/run"]
    script = f"""
        for folder in {" ".join(folders)}; do
            echo x > $folder/{name} || exit 1
            stat -L -f -c %T $folder
        done
        stat -c %a /tmp"""
    assert output(WORLD, "sh", "-c", script, cwd="/") == 5 * "tmpfs\n" + "1777\n"
    assert not any(os.path.exists(f"{folder}/{name}") for folder in folders)


@pytest.fixture
def folder_in_tmp():
    with tempfile.TemporaryDirectory(dir="/tmp") as path:
        os.chmod(path, 0o755)
        yield Path(path)


def test_current_directory_stays_visible(folder_in_tmp):
    (folder_in_tmp / "here").touch()
    assert output(WORLD, "sh", "-c", f"pwd; ls; {LS} /tmp", cwd=folder_in_tmp) == (
        f"{folder_in_tmp}\nhere\n{folder_in_tmp.name}\n")


def test_current_directory_that_is_covered_is_the_private_one():
    name = f"ruvo-devkit-test-{os.getpid()}"
    script = f"pwd; echo x > {name}; {LS} /tmp"
    assert output(WORLD, "sh", "-c", script, cwd="/tmp") == f"/tmp\n{name}\n"
    assert not os.path.exists(f"/tmp/{name}")


def test_only_what_is_kept_is_visible(folder_in_tmp):
    for name in ("kept", "hidden"):
        (folder_in_tmp / name).mkdir()
    (folder_in_tmp / "file").write_text("text\n")
    (folder_in_tmp / "link").symlink_to("kept")
    listing = output(WORLD, "--keep", folder_in_tmp / "kept", "--keep", folder_in_tmp / "file",
                     "--keep", folder_in_tmp / "link", "sh", "-c",
                     f"cd {folder_in_tmp}; ls; cat file; echo new > kept/new; cat link/new", cwd="/")
    assert listing == "file\nkept\nlink\ntext\nnew\n"
    assert (folder_in_tmp / "kept" / "new").read_text() == "new\n"


def test_kept_path_inside_another_is_no_obstacle(folder_in_tmp):
    inner = folder_in_tmp / "a" / "b"
    inner.mkdir(parents=True)
    (inner / "file").touch()
    assert output(WORLD, "--keep", inner, "--keep", folder_in_tmp, "ls", inner, cwd="/") == "file\n"


def test_covered_folder_itself_cannot_be_kept():
    done = run(WORLD, "--keep", "/tmp", "true")
    assert done.returncode == 125
    assert "--keep /tmp" in done.stderr


@pytest.mark.parametrize("is_direct", [True, False])
def test_launcher_in_a_covered_folder_stays_visible(folder_in_tmp, is_direct):
    path = Path(f"/tmp/ruvo-world-{os.getpid()}") if is_direct else folder_in_tmp / "ruvo-world"
    shutil.copy(WORLD, path)
    try:
        inner = [path, "--only-uptime", "20", "sh", "-c", UPTIME]
        assert 20 <= uptime_of(output(path, "--uptime", "50", *inner, cwd="/")) < 23
    finally:
        path.unlink()


INTERFACES = """
import subprocess
lines = subprocess.check_output(["ip", "-4", "-o", "address"], text=True).splitlines()
print([line.split()[1::2][:2] for line in lines])
"""


@pytest.mark.parametrize("options, expected", [
    ([], [["lo", "127.0.0.1/8"], ["net0", "192.0.2.10/24"]]),
    (["--no-interface"], [["lo", "127.0.0.1/8"]]),
    (["--interface", "b=198.51.100.7/24", "--interface", "a=10.9.8.7/8"],
     [["lo", "127.0.0.1/8"], ["b", "198.51.100.7/24"], ["a", "10.9.8.7/8"]]),
])
def test_interfaces_come_in_the_order_given(options, expected):
    assert eval(output(WORLD, *options, sys.executable, "-c", INTERFACES)) == expected


SEND = """
import socket, sys
address = sys.argv[1]
socket.socket(type=socket.SOCK_DGRAM).sendto(b"over-udp", (address, 5000))
socket.create_connection((address, 5001), 5).sendall(b"over-tcp")
"""


@pytest.mark.parametrize("options", [[], ["--no-interface"]])
@pytest.mark.parametrize("address", ["10.1.2.3", "203.0.113.7", "192.0.2.10", "192.0.2.99"])
def test_any_destination_is_received(options, address):
    script = f"""
        {RECEIVER} --udp 0.0.0.0:5000 --tcp 0.0.0.0:5001 --json --count 2 --timeout-ms 10000 | {{
            read ready; {sys.executable} -c '{SEND}' {address}; cat; }}"""
    lines = output(WORLD, *options, "sh", "-c", script).splitlines()
    arrivals = [(arrival["to"], arrival["text"]) for arrival in map(json.loads, lines)]
    assert sorted(arrivals) == [(f"{address}:5000", "over-udp"), (f"{address}:5001", "over-tcp")]


def test_arguments_reach_the_command_unchanged():
    arguments = ["", "a b", "--", "[x,y]", "{}", "--uptime", "-h", "\\"]
    script = "import sys; print(sys.argv[1:])"
    for mark in ([], ["--"]):
        assert eval(output(WORLD, *mark, sys.executable, "-c", script, *arguments)) == arguments


def test_standard_input_and_error_pass_through():
    done = run(WORLD, "sh", "-c", "cat; echo error >&2", input="text")
    assert (done.stdout, done.stderr) == ("text", "error\n")


@pytest.mark.parametrize("script, status", [("exit 0", 0), ("exit 7", 7), ("kill -KILL $$", 137),
                                            ("kill -TERM $$", 143)])
def test_status_of_the_command_is_passed_on(script, status):
    assert run(WORLD, "sh", "-c", script).returncode == status


def test_command_that_cannot_be_run_has_a_status_of_its_own():
    assert run(WORLD, "no-such-command").returncode == 127
    assert run(WORLD, "/etc/passwd").returncode == 126


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT, signal.SIGHUP])
def test_signal_is_passed_on_to_the_command(number):
    script = f"trap 'echo caught; exit 5' {number.value}; echo ready; while :; do sleep 0.01; done"
    with started(WORLD, "sh", "-c", script) as process:
        process.send_signal(number)
        assert process.wait(DEADLINE_S) == 5
        assert process.stdout.read() == "caught\n"


def test_signals_have_their_default_action_in_the_command():
    script = "import signal; print(signal.pthread_sigmask(signal.SIG_BLOCK, []))"
    assert output(WORLD, sys.executable, "-c", script) == "set()\n"


@pytest.mark.parametrize("end", ["kill the launcher", "let the command end"])
def test_nothing_is_left_when_the_world_ends(end):
    # The sleep holds the pipe open: its reader sees the end only when all are gone.
    script = "setsid sleep 600 & echo ready; read line"
    with started(WORLD, "sh", "-c", script, stdin=subprocess.PIPE) as process:
        if end == "kill the launcher":
            process.kill()
        else:
            process.stdin.write("\n")
            process.stdin.flush()
        assert process.stdout.read() == ""
        assert process.wait(DEADLINE_S) == (-signal.SIGKILL if "kill" in end else 0)


def test_orphans_are_reaped():
    script = """
        sh -c 'sleep 0.05 & echo $! > /tmp/orphan'
        for i in $(seq 500); do [ -d /proc/$(cat /tmp/orphan) ] || exit 0; sleep 0.01; done
        exit 1"""
    assert run(WORLD, "sh", "-c", script).returncode == 0


def test_processes_outside_are_out_of_sight():
    names = output(WORLD, "sh", "-c", "echo /proc/[0-9]*")
    assert f"/proc/{os.getpid()}" not in names.split()
    assert "/proc/1" in names.split()


def read_terminal(master, text):
    """Reads until the text has come."""
    seen = b""
    end = time.monotonic() + DEADLINE_S
    while text not in seen:
        assert select.select([master], [], [], end - time.monotonic())[0], seen
        seen += os.read(master, 4096)
    return seen


def test_interactive_shell_works_and_gives_the_terminal_back():
    script = f"{WORLD} bash --norc -i && read word && echo got-$word"
    child, master = pty.fork()
    if child == 0:
        os.environ["PS1"] = "prompt> "
        os.execvp("sh", ["sh", "-c", script])
    try:
        assert b"job control" not in read_terminal(master, b"prompt> ")
        os.write(master, b"sh -c \"echo sta''rted; exec sleep 600\"\n")
        read_terminal(master, b"started")
        os.write(master, b"\x03")
        read_terminal(master, b"prompt> ")
        os.write(master, b"true; exit\n")
        wait_until(lambda: os.tcgetpgrp(master) == child)
        os.write(master, b"hello\n")
        read_terminal(master, b"got-hello")
        assert os.waitstatus_to_exitcode(os.waitpid(child, 0)[1]) == 0
    finally:
        os.close(master)


@needs_root
def test_ordinary_user_gets_a_world(folder_in_tmp):
    shutil.copy(WORLD, folder_in_tmp)
    shutil.copy(RECEIVER, folder_in_tmp)
    script = f"""id -u; {UPTIME}; {LS} /tmp; ip -4 -o address show net0 | grep -o 192.0.2.10/24
        ./ruvo-receiver --udp 0.0.0.0:5000 --json --count 1 | {{
            read ready; printf x | nc -u -q0 -w5 10.1.2.3 5000; cat; }}"""
    identity = {"user": NOBODY, "group": NOBODY, "extra_groups": [], "cwd": folder_in_tmp}
    lines = output("./ruvo-world", "--uptime", "50", "sh", "-c", script, **identity).splitlines()
    assert lines[0] == "0"
    assert 50 <= uptime_of(lines[1]) < 53
    assert lines[2:4] == [folder_in_tmp.name, "192.0.2.10/24"]
    assert json.loads(lines[4])["to"] == "10.1.2.3:5000"

    lines = output("./ruvo-world", "--only-uptime", "50", "sh", "-c", f"id -u; {UPTIME}", **identity)
    assert lines.split()[0] == str(NOBODY)
    assert 50 <= float(lines.split()[1]) < 53


@needs_root
@pytest.mark.parametrize("options", [[], ["--only-uptime", "5"]])
def test_refused_namespaces_are_explained_in_one_line(options):
    drop = ["setpriv", "--bounding-set", "-sys_admin", "--inh-caps", "-sys_admin"]
    done = run(*drop, WORLD, *options, "true")
    assert (done.returncode, done.stdout) == (125, "")
    assert done.stderr.count("\n") == 1
    for advice in ("root", "kernel.unprivileged_userns_clone=1", "user.max_user_namespaces",
                   "--privileged"):
        assert advice in done.stderr
