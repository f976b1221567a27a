"""Small file systems over the daemon's folders, which fill up, lose their inodes or turn read-only.

Everything is mounted in this test's own world.
"""

import contextlib
import os
import pathlib
import shutil
import subprocess

from harness import REPORTS, STATE

LOGS, TMP, CONFIGS = pathlib.Path("/var/log"), pathlib.Path("/tmp"), pathlib.Path("/mnt/configs")
RUN = pathlib.Path("/run")
# Where what is covered stays within reach.
BELOW = pathlib.Path("/mnt/below")


def mount(*words):
    subprocess.run(["mount", *map(str, words)], check=True)


def unmount(path):
    # Lazily: a shell command that is just being started may still be in there.
    subprocess.run(["umount", "--lazy", str(path)], check=True)


def mounts_below(folder):
    """The mount points in a folder, each once, outer ones first."""
    points = []
    for line in pathlib.Path("/proc/self/mountinfo").read_text().splitlines():
        point = pathlib.Path(line.split()[4].replace("\\040", " "))
        if folder in point.parents and point not in points:
            points.append(point)
    return sorted(points)


class SmallFileSystem:
    """A file system of its own over a folder, with a copy of the folder's files.

    What the test itself needs below /tmp stays where it is.
    """

    BYTES = 1 << 20
    INODES = 256

    def __init__(self, folder):
        self.folder = folder
        self._below = BELOW / folder.name
        self._below.mkdir(parents=True)
        mount("--rbind", folder, self._below)
        own = [STATE, REPORTS] if folder == TMP else []
        kept = [point for point in mounts_below(folder)] + own
        # Sanitizers put their reports there, and so does the daemon's standard output.
        mount("-t", "tmpfs", "-o", f"size={self.BYTES},nr_inodes={self.INODES}", "tmpfs", folder)
        holds_kept = {folder / point.relative_to(folder).parts[0] for point in kept}
        for path in self._below.iterdir():
            if folder / path.name not in holds_kept:
                copy = shutil.copytree if path.is_dir() else shutil.copy2
                copy(path, folder / path.name)
        for point in kept:
            source = self._below / point.relative_to(folder)
            if source.is_dir():
                point.mkdir(parents=True, exist_ok=True)
            else:
                point.parent.mkdir(parents=True, exist_ok=True)
                point.touch()
            mount("--bind", source, point)

    def fill(self):
        with open(self.folder / "filler", "wb", buffering=0) as filler, contextlib.suppress(OSError):
            while True:
                filler.write(bytes(4096))

    def use_up_inodes(self):
        folder = self.folder / "empty files"
        folder.mkdir(exist_ok=True)
        with contextlib.suppress(OSError):
            for number in range(self.INODES):
                (folder / str(number)).touch()

    def make_room(self):
        (self.folder / "filler").unlink(missing_ok=True)
        shutil.rmtree(self.folder / "empty files", ignore_errors=True)

    def forbid_writing(self):
        mount("-o", "remount,ro", self.folder)

    def allow_writing(self):
        mount("-o", "remount,rw", self.folder)

    def end(self):
        # What was mounted inside goes with it.
        unmount(self.folder)
        unmount(self._below)
        self._below.rmdir()


class Condition:
    """One thing that can be wrong with file systems; it may come and go."""

    def __init__(self, begin, end):
        self._begin, self._end = begin, end

    def begin(self, systems):
        for system in systems:
            self._begin(system)

    def end(self, systems):
        for system in systems:
            self._end(system)


NO_SPACE = Condition(SmallFileSystem.fill, SmallFileSystem.make_room)
NO_INODE = Condition(SmallFileSystem.use_up_inodes, SmallFileSystem.make_room)
READ_ONLY = Condition(SmallFileSystem.forbid_writing, SmallFileSystem.allow_writing)


def replace_program(path, text):
    """Puts a script in the place of a program of the system; returns what undoes it."""
    path = pathlib.Path(os.path.realpath(path))
    script = RUN / f"instead-of-{path.name}"
    script.write_text(text)
    script.chmod(0o755)
    mount("--bind", script, path)
    return lambda: unmount(path)
