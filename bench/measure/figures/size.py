"""What lies on the disk."""

import os
import pathlib
import subprocess

from .. import programs
from ..results import Metric
from .figure import SystemFigure


def stripped_bytes(program, folder):
    """A copy's size without symbols."""
    copy = folder / f"{program.name}.stripped"
    subprocess.run(["strip", "-o", copy, program], check=True)
    return copy.stat().st_size


def folder_bytes(path):
    """Of a file, or of all files below a folder; a link counts as such."""
    if not path.is_dir():
        return path.lstat().st_size
    files = (pathlib.Path(root) / name for root, _, names in os.walk(path) for name in names)
    return sum(file.lstat().st_size for file in files)


def is_own_program(path):
    return path.is_file() and path.read_bytes()[:4] == b"\x7fELF" and not path.is_relative_to("/usr")


class Size(SystemFigure):
    """Our own programs stripped; of a peer, everything that it takes beside the system's libraries."""

    name = "size"
    metrics = (
        Metric("size.kib", "installed size", "KiB", digits=1),
        Metric("size.alone-kib", "installed size without the device's library", "KiB", digits=1),
    )

    def measure(self, system, bench):
        folder = bench.folder / "size"
        folder.mkdir(exist_ok=True)
        sizes = [
            stripped_bytes(path, folder) if is_own_program(path) else folder_bytes(path)
            for path in system.installed
        ]
        values = {"size.kib": sum(sizes) / 1024}
        if system.name == "ruvotcpd-static":
            alone = stripped_bytes(programs.STATIC_ALONE / "core" / "ruvotcpd", folder)
            values["size.alone-kib"] = alone / 1024
        return values
