"""What running processes cost, from /proc; every figure is the sum over the processes named."""

import contextlib
import pathlib

PROC = pathlib.Path("/proc")


def memory_kib(process_ids):
    """Resident and proportional memory, in KiB; a process that has ended counts nothing."""
    resident = proportional = 0
    for process_id in process_ids:
        with contextlib.suppress(OSError):
            fields = _fields(PROC / str(process_id) / "smaps_rollup")
            resident += int(fields["Rss"].split()[0])
            proportional += int(fields["Pss"].split()[0])
    return resident, proportional


def context_switches(process_ids):
    """Voluntary and involuntary ones of all threads that live now."""
    total = 0
    for task in _tasks(process_ids):
        with contextlib.suppress(OSError):
            fields = _fields(task / "status")
            total += int(fields["voluntary_ctxt_switches"]) + int(fields["nonvoluntary_ctxt_switches"])
    return total


def cpu_ns(process_ids):
    """The time on a processor of all threads that live now, as the scheduler counts it."""
    total = 0
    for task in _tasks(process_ids):
        with contextlib.suppress(OSError):
            total += int((task / "schedstat").read_text().split()[0])
    return total


def thread_count(process_ids):
    return len(list(_tasks(process_ids)))


def _tasks(process_ids):
    for process_id in process_ids:
        with contextlib.suppress(OSError):
            yield from list((PROC / str(process_id) / "task").iterdir())


def _fields(path):
    """The NAME: VALUE lines of a file."""
    parts = (line.partition(":") for line in path.read_text().splitlines())
    return {name: value.strip() for name, colon, value in parts if colon}
