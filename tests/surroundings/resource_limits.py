"""Starts the daemon under a process limit that counts the daemon's own threads and children only."""

import ctypes
import os
import pathlib
import random
import resource
import shutil

import harness
from harness import DAEMON, DEVKIT, LOG, PID_FILE, SETTINGS, STATE

CLONE_NEWUSER = 0x10000000


def _map_one_user(pid, outer_uid, outer_gid):
    """Gives a process that has entered a user namespace the number 0 there, and another one outside."""
    folder = pathlib.Path("/proc", str(pid))
    folder.joinpath("setgroups").write_text("deny")
    folder.joinpath("uid_map").write_text(f"0 {outer_uid} 1\n")
    folder.joinpath("gid_map").write_text(f"0 {outer_gid} 1\n")


def _enter_user_namespace(uid, gid):
    """In the child, before it becomes the daemon. The map is written from outside the namespace."""
    entered, tell = os.pipe()
    inside = os.getpid()
    writer = os.fork()
    if writer == 0:
        os.close(tell)
        os.read(entered, 1)
        try:
            _map_one_user(inside, uid, gid)
        finally:
            os._exit(0)
    os.close(entered)
    libc = ctypes.CDLL(None, use_errno=True)
    failed = libc.unshare(CLONE_NEWUSER) != 0
    os.close(tell)
    os.waitpid(writer, 0)
    if failed:
        raise OSError(ctypes.get_errno(), "user namespace")
    os.setgid(0)
    os.setuid(0)


def process_limit(count, hard):
    """What to do in the child so that it is nobody whom limits spare, in a namespace of its own.

    The machine's own administrator has no process limit; his children with another
    number have one. Limits are counted for each namespace and user.
    """
    if os.getuid() == 0 and "0          0 4294967295" in pathlib.Path("/proc/self/uid_map").read_text():
        uid = gid = random.randrange(1 << 20, 1 << 30)
    else:
        uid, gid = os.getuid(), os.getgid()

    def prepare():
        _enter_user_namespace(uid, gid)
        resource.setrlimit(resource.RLIMIT_NPROC, (count, hard))

    return prepare


def open_to_everyone(device):
    """The daemon is another user: it may write where it must, and execute its own copy of itself."""
    for folder in ("/mnt", "/mnt/configs", SETTINGS.parent, "/var/log", PID_FILE.parent, "/tmp", STATE):
        pathlib.Path(folder).mkdir(parents=True, exist_ok=True)
        os.chmod(folder, 0o777)
    for file in (SETTINGS, LOG, *STATE.iterdir()):
        if file.exists():
            file.chmod(0o666)
    copies = STATE / "copies"
    copies.mkdir(exist_ok=True)
    for program in [DAEMON, DEVKIT / "userconfigtool", *pathlib.Path(DEVKIT).rglob("*.so*")]:
        shutil.copy(program, copies)
        (copies / pathlib.Path(program).name).chmod(0o755)
    device.environment["PATH"] = f"{copies}:{os.environ['PATH']}"
    device.environment["LD_LIBRARY_PATH"] = str(copies)
    return copies


def run_copy(copies, monkeypatch):
    monkeypatch.setattr(harness, "DAEMON", str(copies / pathlib.Path(DAEMON).name))
