"""The programs that are measured side by side: how each is started, asked and stopped."""

import contextlib
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import time

from . import programs
from .scenario import COMMAND_PORT

PEERS = pathlib.Path(__file__).resolve().parent.parent / "peers"
SETTINGS = pathlib.Path("/mnt/configs/ruvo/ruvo.txt")
VARIABLES = pathlib.Path("/tmp/ruvo_var.txt")
LEFT_BY_DAEMON = ("/tmp/ruvo_*", "/var/log/ruvo*", "/var/run/ruvotcp.pid")
TCP_TABLES = ("/proc/net/tcp", "/proc/net/tcp6")
# Debian's, not one that happens to come first.
PYTHON = pathlib.Path("/usr/bin/python3").resolve()
PYTHON_LIBRARY = pathlib.Path("/usr/lib") / PYTHON.name
DEADLINE_S = 20


class NotStarted(Exception):
    """A system has ended, or has not come up in time; says what it has written."""


def wait_until(condition, deadline_s, pause_s=0.0005):
    """The condition's first true result, or its last false one at the deadline."""
    end = time.monotonic() + deadline_s
    while not (result := condition()) and time.monotonic() < end:
        time.sleep(pause_s)
    return result


def is_listening(port):
    """Whether someone listens on the port; asks the kernel's tables, so nobody is disturbed."""
    listening = re.compile(rf":{port:04X} [0-9A-F]+:0000 0A ")
    return any(listening.search(pathlib.Path(table).read_text()) for table in TCP_TABLES)


class System:
    """One program; it can be started again after each stop.

    name, title   for options and for tables
    installed     what lies on the disk for it to run, as a list of paths
    started_ns    CLOCK_REALTIME right before its process was made
    pid           the process that serves
    """

    def __init__(self, name, title, installed):
        self.name = name
        self.title = title
        self.installed = [pathlib.Path(path) for path in installed]
        self.started_ns = None
        self._process = None
        self._service = None
        self._errors = None

    def missing(self):
        """What it takes and is not there, as a list of paths."""
        tools = [programs.DEVKIT / "ruvo-status-service", programs.DEVKIT / "userconfigtool"]
        return [path for path in [*tools, *self.installed] if not path.exists()]

    def start(self, scenario, folder):
        """Starts it over a folder of its own, beside a status service; returns itself."""
        try:
            self._start(scenario, pathlib.Path(folder).resolve())
        except BaseException:
            self.stop()
            raise
        return self

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop()

    @property
    def pid(self):
        return self._process.pid

    def process_ids(self):
        """All processes that serve."""
        return [self.pid]

    def wait_until_accepting(self, deadline_s=DEADLINE_S):
        """Returns CLOCK_REALTIME in nanoseconds when the command port listens."""
        if not wait_until(lambda: is_listening(COMMAND_PORT) or self._has_ended(), deadline_s):
            raise NotStarted(f"{self.name} does not listen after {deadline_s} s\n{self._complaint()}")
        now = time.time_ns()
        if self._has_ended():
            raise NotStarted(f"{self.name} has ended: {self._process.returncode}\n{self._complaint()}")
        return now

    def wait_until_settled(self, deadline_s=DEADLINE_S):
        """Returns when start-up is over and every macro has its value."""
        self.wait_until_accepting(deadline_s)

    def trigger(self, name):
        """One request; returns the whole reply, and when (CLOCK_REALTIME in nanoseconds) it was
        asked and when the reply began."""
        with socket.create_connection(("127.0.0.1", COMMAND_PORT), timeout=DEADLINE_S) as connection:
            sent_ns = time.time_ns()
            connection.sendall(name.encode() + b"\n")
            echo = connection.recv(4096)
            echo_ns = time.time_ns()
            while chunk := connection.recv(4096):
                echo += chunk
        return echo, sent_ns, echo_ns

    def stop(self):
        """Ends everything that start has started; may be called twice."""
        for process in (self._process, self._service):
            if process is not None:
                _end_group(process)
        self._process = self._service = None
        wait_until(lambda: not is_listening(COMMAND_PORT), DEADLINE_S)

    def _start(self, scenario, folder):
        # Files in fixed places are removed and written from here on.
        if pathlib.Path("/proc/1/comm").read_text() != "ruvo-world\n":
            raise NotStarted("systems are started in ruvo-world only")
        folder.mkdir(parents=True, exist_ok=True)
        environment = self._environment(folder)
        scenario.write_items(folder / "items.txt")
        self._start_service(folder, environment)
        self._prepare(scenario, folder, environment)
        self._errors = folder / f"{self.name}.stderr"
        with open(self._errors, "wb") as errors:
            self.started_ns = time.time_ns()
            self._process = subprocess.Popen(
                [str(word) for word in self._command(folder)], env=environment, cwd=folder, stderr=errors,
                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, start_new_session=True,
            )

    def _environment(self, folder):
        path = f"{programs.DEVKIT}:{os.environ['PATH']}"
        return {**os.environ, "PATH": path, "RUVO_USER_CONFIG": str(folder / "user_config.json")}

    def _start_service(self, folder, environment):
        command = [programs.DEVKIT / "ruvo-status-service", "--items", folder / "items.txt"]
        self._service = subprocess.Popen(
            command, env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, start_new_session=True
        )
        with self._service.stdout as output:
            if not output.readline().startswith(b"ready"):
                raise NotStarted("the status service does not start")

    def _prepare(self, scenario, folder, environment):
        raise NotImplementedError

    def _command(self, folder):
        raise NotImplementedError

    def _has_ended(self):
        return self._process.poll() is not None

    def _complaint(self):
        return self._errors.read_text(errors="replace")


class Daemon(System):
    """ruvotcpd, over the simulated device."""

    def __init__(self, name, title, build):
        self._program = build / "core" / "ruvotcpd"
        super().__init__(name, title, [self._program])

    def wait_until_settled(self, deadline_s=DEADLINE_S):
        """The port listens before the status service is asked, and the uptime is measured last:
        when a second begins, in a look every 200 ms."""
        self.wait_until_accepting(deadline_s)
        wait_until(lambda: VARIABLES.exists() and "=" in VARIABLES.read_text(), deadline_s, 0.01)
        measured_s = int(time.time()) + 1.3
        wait_until(lambda: time.time() > measured_s, deadline_s, 0.01)

    def _prepare(self, scenario, folder, environment):
        for pattern in LEFT_BY_DAEMON:
            for path in pathlib.Path("/").glob(pattern[1:]):
                path.unlink()
        scenario.write_settings(SETTINGS)
        tool = programs.DEVKIT / "userconfigtool"
        subprocess.run([tool, "set", "boolean", "network.ruvo.enable=true"], env=environment, check=True)

    def _command(self, folder):
        return [self._program]


class JsonPeer(System):
    """A program that reads the scenario as JSON: its path is the last word of the command."""

    def __init__(self, name, title, installed, command):
        super().__init__(name, title, installed)
        self._words = command

    def _prepare(self, scenario, folder, environment):
        scenario.write_json(folder / "scenario.json")

    def _command(self, folder):
        return [*self._words, folder / "scenario.json"]


class NodeRed(JsonPeer):
    """A Node-RED flow; its settings file finds the scenario in the user folder."""

    def __init__(self, name, title):
        modules = programs.BUILD / "node-red" / "node_modules"
        settings = PEERS / "node-red" / "settings.js"
        command = ["node", modules / "node-red" / "red.js", "--settings", settings, "--userDir"]
        super().__init__(name, title, [_program("node"), modules, PEERS / "node-red"], command)

    def wait_until_settled(self, deadline_s=DEADLINE_S):
        """The node that sends datagrams takes none in its first 75 ms."""
        ready_ns = self.wait_until_accepting(deadline_s) + 200_000_000
        wait_until(lambda: time.time_ns() > ready_ns, deadline_s, 0.01)

    def _command(self, folder):
        return [*self._words, folder]


class Socat(System):
    """socat forks a script for each request; all of them serve."""

    def __init__(self, name, title):
        self._script = PEERS / "socat" / "ruvo-socat"
        super().__init__(name, title, [_program("socat"), _program("bash"), self._script])

    def process_ids(self):
        return _group(self.pid)

    def _prepare(self, scenario, folder, environment):
        shutil.rmtree(folder / "events", ignore_errors=True)
        scenario.write_shell(folder / "events")

    def _command(self, folder):
        return [self._script, folder / "events"]


def all_systems():
    """The systems by name, in the order of the tables."""
    script = PEERS / "asyncio" / "ruvo_asyncio.py"
    limit = programs.DYNAMIC / "bench" / "peers" / "limit" / "bench-limit"
    systems = [
        Daemon("ruvotcpd", "ruvotcpd, dynamic", programs.DYNAMIC),
        Daemon("ruvotcpd-static", "ruvotcpd, static", programs.STATIC),
        JsonPeer("asyncio", "Python asyncio", [PYTHON, PYTHON_LIBRARY, script], [PYTHON, script]),
        NodeRed("node-red", "Node-RED"),
        Socat("socat", "socat and bash"),
        JsonPeer("limit", "C++, epoll (limit)", [limit], [limit]),
    ]
    return {system.name: system for system in systems}


def _program(name):
    """The program's own path, or what would be its path when it is not installed."""
    return pathlib.Path(shutil.which(name) or f"/usr/bin/{name}").resolve()


def _group(group_id):
    """The processes of a process group that are not just waiting to be collected."""
    members = []
    for folder in pathlib.Path("/proc").iterdir():
        if folder.name.isdecimal():
            with contextlib.suppress(OSError):
                state, _, group, *_ = (folder / "stat").read_text().rpartition(")")[2].split()
                if int(group) == group_id and state != "Z":
                    members.append(int(folder.name))
    return members


def _end_group(process):
    """Ends a process that leads a group, and whatever is left of the group."""
    for signal_number in (signal.SIGTERM, signal.SIGKILL):
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, signal_number)
        with contextlib.suppress(subprocess.TimeoutExpired):
            process.wait(DEADLINE_S / 4)
        if wait_until(lambda: not _group(process.pid), DEADLINE_S / 4):
            return
