"""What every system test needs: the device, the daemon, and patience with a deadline.

The tests run inside the launcher's private world (see CMakeLists.txt here), so
the fixed paths and ports below are this test's own.
"""

import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import threading
import time

DAEMON = os.environ["RUVO_DAEMON"]
DEVKIT = pathlib.Path(os.environ["RUVO_DEVKIT_DIR"])
FAULTS = pathlib.Path(os.environ["RUVO_FAULTS_DIR"])

SETTINGS = pathlib.Path("/mnt/configs/ruvo/ruvo.txt")
TEST_SETTINGS = pathlib.Path("/mnt/configs/ruvo/ruvotest.txt")
LOG = pathlib.Path("/var/log/ruvo.log")
ROTATED_LOG = pathlib.Path("/var/log/ruvo.log.1")
EVENT_LOG = pathlib.Path("/var/log/ruvoevent.log")
PID_FILE = pathlib.Path("/var/run/ruvotcp.pid")
ASC_MIRROR = pathlib.Path("/tmp/ruvo_asc.txt")
HEX_MIRROR = pathlib.Path("/tmp/ruvo_hex.txt")
TEST_ASC_MIRROR = pathlib.Path("/tmp/ruvo_test_asc.txt")
TEST_HEX_MIRROR = pathlib.Path("/tmp/ruvo_test_hex.txt")
EVENT_LIST = pathlib.Path("/tmp/ruvo_event_list.txt")
TEST_EVENT_LIST = pathlib.Path("/tmp/ruvo_event_list_test.txt")
VARIABLES = pathlib.Path("/tmp/ruvo_var.txt")
STATE = pathlib.Path("/tmp/device")
USER_CONFIG = STATE / "user_config.json"
REPORTS = pathlib.Path("/tmp/sanitizer-reports")

RELOADED = "[rebuild_ruvo_event_list:629] rebuild ruvo event txt: OK\n"

COMMAND_PORT = 2700
DEADLINE_S = 20.0

STATUS_ITEMS = (
    "model:AV-100\ninput:HDMI1\npower:on\nvolume:42\nmute:off\ntemperature:38 C\nserial:0042\n"
)


def wait_until(condition, what, deadline_s=DEADLINE_S):
    """Returns the condition's first true result; fails with `what` at the deadline."""
    end = time.monotonic() + deadline_s
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > end:
            raise AssertionError(f"not within {deadline_s} s: {what}")
        time.sleep(0.01)


# What the main thread says of its own accord, between any two lines of the others.
MAIN_THREAD_LINE = re.compile(r"\[main:\d+\] [^\n]*\n")


def wait_for_line_on_both_outputs(daemon, line):
    """The line, or lines of other threads that follow each other."""
    wait_until(
        lambda: line in MAIN_THREAD_LINE.sub("", daemon.output()), f"{line!r} in:\n{daemon.output()}"
    )
    wait_until(lambda: line in MAIN_THREAD_LINE.sub("", text_of(LOG)), f"{line!r} in the log file")


def text_of(path):
    """A file's bytes as text, one character a byte; empty when there is no file."""
    try:
        return pathlib.Path(path).read_bytes().decode("latin-1")
    except FileNotFoundError:
        return ""


def newer_than(path, older):
    """Gives a file a modification time that the other one has never had."""
    base = older.stat().st_mtime_ns if older.exists() else time.time_ns()
    os.utime(path, ns=(base + 1_000_000_000, base + 1_000_000_000))


def touch(path=SETTINGS):
    newer_than(path, path)


def command_port_listens():
    return re.search(r"0100007F:0A8C 00000000:0000 0A", text_of("/proc/net/tcp"))


def request(data, port=COMMAND_PORT, timeout_s=DEADLINE_S):
    """Sends one request to the command port and returns the whole reply as bytes."""
    with socket.create_connection(("127.0.0.1", port), timeout=timeout_s) as connection:
        connection.sendall(data)
        reply = b""
        while True:
            try:
                chunk = connection.recv(4096)
            except ConnectionResetError:
                return reply
            if not chunk:
                return reply
            reply += chunk


def trigger(name):
    """Fires an event and checks the echo that says it is queued."""
    reply = request(name.encode() + b"\n")
    assert reply == name.encode() + b"\n", reply


def hex_of(data):
    """Bytes as the settings file writes them."""
    return data.hex().upper()


def event(name, *steps, count=None, delay=None, xml_field=None):
    """Settings lines of one event. A step is (ip, port, protocol, data bytes[, delay in ms])."""
    lines = [f"{name}Count={len(steps) if count is None else count}"]
    if delay is not None:
        lines.append(f"{name}Delay={delay}")
    if xml_field is not None:
        lines.append(f"{name}XMLfield={xml_field}")
    for i, (ip, port, protocol, data, *step_delay) in enumerate(steps):
        lines += [
            f"{name}IP{i}={ip}",
            f"{name}Port{i}={port}",
            f"{name}Protocol{i}={protocol}",
            f"{name}Data{i}={hex_of(data)}",
        ]
        if step_delay:
            lines.append(f"{name}Delay{i}={step_delay[0]}")
    return "".join(line + "\n" for line in lines)


class Arrival:
    def __init__(self, time_s, data, peer):
        self.time_s = time_s
        self.data = data
        self.peer = peer

    def __repr__(self):
        return f"Arrival({self.time_s:.6f}, {self.data!r})"


def close_under(sock, thread):
    """Closes a socket only after the thread that waits on it has ended.

    A wait that outlives its socket may be resumed by the system on whatever
    socket has the same descriptor by then, and steal what arrives there.
    """
    if sock.fileno() < 0:
        return
    try:
        sock.shutdown(socket.SHUT_RDWR)
    except OSError:
        pass  # a datagram socket has no peer to tell, but its reader wakes all the same
    thread.join()
    sock.close()


class UdpReceiver:
    """Collects datagrams on a port of its own."""

    def __init__(self, address="127.0.0.1", port=0):
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
        self._socket.bind((address, port))
        self.ip, self.port = self._socket.getsockname()
        self.arrivals = []
        self._closing = False
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def _run(self):
        while True:
            try:
                data, peer = self._socket.recvfrom(65536)
            except OSError:
                return
            if self._closing:
                return
            self.arrivals.append(Arrival(time.monotonic(), data, peer))

    def wait_for(self, count, deadline_s=DEADLINE_S):
        wait_until(
            lambda: len(self.arrivals) >= count, f"{count} datagrams; got {self.arrivals}", deadline_s
        )
        return list(self.arrivals)

    def close(self):
        self._closing = True
        close_under(self._socket, self._thread)


class TcpReceiver:
    """Accepts connections; keeps each one's first chunk; answers with `reply` or stays silent.

    With reply=None a connection is closed as soon as its chunk is kept; with
    silent=True it stays open without an answer until the receiver is closed.
    """

    def __init__(self, address="127.0.0.1", port=0, reply=None, silent=False):
        self._socket = socket.socket(socket.AF_INET, socket.SOCK_STREAM)
        self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        self._socket.bind((address, port))
        self._socket.listen(1024)
        self.ip, self.port = self._socket.getsockname()
        self.reply = reply
        self.silent = silent
        self.arrivals = []
        self.open_connections = []
        self._thread = threading.Thread(target=self._run, daemon=True)
        self._thread.start()

    def _run(self):
        while True:
            try:
                connection, peer = self._socket.accept()
            except OSError:
                return
            threading.Thread(target=self._serve, args=(connection, peer), daemon=True).start()

    def _serve(self, connection, peer):
        data = connection.recv(65536)
        self.arrivals.append(Arrival(time.monotonic(), data, peer))
        if self.silent:
            self.open_connections.append(connection)
            return
        if self.reply is not None:
            connection.sendall(self.reply)
        connection.close()

    wait_for = UdpReceiver.wait_for

    def close(self):
        for connection in self.open_connections:
            connection.close()
        close_under(self._socket, self._thread)


class Daemon:
    """One running ruvotcpd and everything it has written to standard output."""

    def __init__(self, process, output_path):
        self.process = process
        self.output_path = output_path

    @property
    def pid(self):
        return self.process.pid

    def output(self):
        return text_of(self.output_path)

    def wait_for_output(self, pattern, count=1, deadline_s=DEADLINE_S):
        """Waits until standard output holds `count` matches of the pattern; returns them."""

        def found():
            matches = list(re.finditer(pattern, self.output()))
            return matches if len(matches) >= count else None

        return wait_until(found, f"{count} x {pattern!r} in:\n{self.output()}", deadline_s)

    def running(self):
        return self.process.poll() is None

    def main_pid(self):
        """The daemon's own process id, also when a launcher stands before it."""
        return int(text_of(PID_FILE))

    def sleeps(self):
        """How often the main thread has gone to sleep so far."""
        status = text_of(f"/proc/{self.main_pid()}/status")
        return int(re.search(r"^voluntary_ctxt_switches:\s+(\d+)", status, re.MULTILINE)[1])

    def wait_for_passes(self, count):
        """Waits for whole passes of the supervision loop; each pass sleeps once."""
        end = self.sleeps() + count + 1
        wait_until(lambda: self.sleeps() >= end, f"{count} passes of the supervision loop")

    def wait_for_supervision(self):
        """Waits until the supervision loop has looked at the settings file once."""
        wait_until(lambda: text_of(VARIABLES), "the status variables are there")
        self.wait_for_passes(2)

    def reloads(self):
        """How often the event list has been built, at start-up included."""
        return self.output().count(RELOADED)

    def wait_for_reloads(self, count):
        wait_until(lambda: self.reloads() >= count, f"{count} x {RELOADED!r}")

    def wait_for_end(self, deadline_s=DEADLINE_S):
        return self.process.wait(deadline_s)

    def stop(self, signal_number=signal.SIGTERM):
        if self.running():
            self.process.send_signal(signal_number)
        return self.process.wait(DEADLINE_S)


class Device:
    """The simulated device of one test."""

    def __init__(self):
        self.environment = dict(os.environ)
        self.environment["PATH"] = f"{DEVKIT}:{os.environ['PATH']}"
        self.environment["RUVO_USER_CONFIG"] = str(USER_CONFIG)
        self._add_sanitizer_options()
        self._processes = []
        self._daemons = []
        self._receivers = []
        self._clean()

    def _add_sanitizer_options(self):
        for name, extra in (
            ("ASAN_OPTIONS", "detect_leaks=1:verify_asan_link_order=0"),
            ("UBSAN_OPTIONS", "print_stacktrace=1"),
            ("TSAN_OPTIONS", "second_deadlock_stack=1"),
        ):
            given = os.environ.get(name, "")
            self.environment[name] = ":".join(
                part for part in (given, extra, f"log_path={REPORTS}/report") if part
            )

    def _clean(self):
        for folder in (STATE, REPORTS, pathlib.Path("/mnt/configs")):
            shutil.rmtree(folder, ignore_errors=True)
        for pattern in ("/tmp/ruvo_*", "/var/log/ruvo*", "/var/run/ruvotcp.pid"):
            for path in pathlib.Path("/").glob(pattern[1:]):
                shutil.rmtree(path) if path.is_dir() else path.unlink()
        STATE.mkdir()
        REPORTS.mkdir()

    def configure(self, key, value):
        self.run_tool("set", "boolean", f"{key}={str(value).lower()}")

    def run_tool(self, *arguments):
        """What the simulated device's own `userconfigtool` prints."""
        return subprocess.run(
            [DEVKIT / "userconfigtool", *arguments], env=self.environment, check=True,
            stdout=subprocess.PIPE,
        ).stdout

    def enable(self, value=True):
        self.configure("network.ruvo.enable", value)

    def replace_tool(self, script, name="userconfigtool"):
        """Puts a shell script in the place of `userconfigtool` or of another command."""
        folder = STATE / "bin"
        folder.mkdir(exist_ok=True)
        tool = folder / name
        # The one before may be being started: its file is not written to.
        new = folder / f".{name}"
        new.write_text("#!/bin/sh\n" + script)
        new.chmod(0o755)
        new.rename(tool)
        self.environment["PATH"] = f"{folder}:{self.environment['PATH']}"

    def write_settings(self, text, path=SETTINGS):
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(text.encode("latin-1") if isinstance(text, str) else text)

    def replace_settings(self, text):
        """Puts a new settings file in the place of the old one, in one step."""
        new = SETTINGS.with_name("new_settings.txt")
        self.write_settings(text, new)
        newer_than(new, SETTINGS)
        new.replace(SETTINGS)

    def change_settings(self, daemon, text):
        """Replaces the settings file and returns once the daemon has built its new event list."""
        daemon.wait_for_supervision()
        before = daemon.reloads()
        self.replace_settings(text)
        daemon.wait_for_reloads(before + 1)

    def status_items(self, text=STATUS_ITEMS):
        (STATE / "status_items.txt").write_text(text)

    def start_status_service(self, *options):
        """Starts the simulated status service and returns when its ports answer."""
        if not (STATE / "status_items.txt").exists():
            self.status_items()
        process = self.start(
            [DEVKIT / "ruvo-status-service", "--items", STATE / "status_items.txt", *options],
            stdout=subprocess.PIPE,
        )
        assert process.stdout.readline().startswith(b"ready"), "the status service did not start"
        return process

    def start(self, command, **options):
        options.setdefault("env", self.environment)
        process = subprocess.Popen([str(word) for word in command], **options)
        self._processes.append(process)
        return process

    def udp_receiver(self, **options):
        return self._keep(UdpReceiver(**options))

    def tcp_receiver(self, **options):
        return self._keep(TcpReceiver(**options))

    def _keep(self, receiver):
        self._receivers.append(receiver)
        return receiver

    def run_program(self, *arguments, **options):
        """Runs the program to its end, as a client or for one of its texts."""
        return subprocess.run(
            [DAEMON, *arguments], env=self.environment, stdin=subprocess.DEVNULL,
            capture_output=True, timeout=DEADLINE_S, **options,
        )

    def start_daemon(self, *arguments, uptime_s=None, preload=(), environment=None, wait=True, **options):
        """Starts the daemon; with wait=True returns once its command port accepts connections.

        uptime_s starts it in a time namespace with that uptime; preload names
        shared objects of tests/faults.
        """
        command = [DAEMON, *arguments]
        if uptime_s is not None:
            command = [DEVKIT / "ruvo-world", "--only-uptime", str(uptime_s), "--", *command]
        variables = {**self.environment, **(environment or {})}
        preloaded = [str(FAULTS / name) for name in preload]
        if os.environ.get("RUVO_TEST_PRELOAD"):
            preloaded.append(os.environ["RUVO_TEST_PRELOAD"])
        if preloaded:
            variables["LD_PRELOAD"] = ":".join(preloaded)
        output_path = STATE / f"daemon{len(self._daemons)}.out"
        with open(output_path, "wb") as output:
            options.setdefault("stdout", output)
            options.setdefault("stdin", subprocess.DEVNULL)
            process = self.start(command, env=variables, **options)
        daemon = Daemon(process, output_path)
        self._daemons.append(daemon)
        if wait:
            wait_until(lambda: self._accepts(daemon), "the command port accepts connections")
        return daemon

    @staticmethod
    def _accepts(daemon):
        assert daemon.running(), f"the daemon ended with {daemon.process.returncode}:\n{daemon.output()}"
        # The port's own line comes before bind; the socket table says when it listens.
        return command_port_listens()

    def end(self):
        """Stops whatever still runs and looks at what the sanitizers have reported."""
        for daemon in self._daemons:
            daemon.stop()
        for process in self._processes:
            if process.poll() is None:
                process.terminate()
                process.wait(DEADLINE_S)
            if process.stdout:
                process.stdout.close()
        for receiver in self._receivers:
            receiver.close()
        # A shell command that was just being started shares its daemon's sockets until it is.
        wait_until(lambda: not command_port_listens(), "the command port is free again")
        reports = [path.read_text(errors="replace") for path in sorted(REPORTS.glob("report*"))]
        assert not reports, "a sanitizer has reported:\n" + "\n".join(reports)
