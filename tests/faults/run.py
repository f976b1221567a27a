"""Runs the sweeps, each operation in a private world of its own, and prints what became of them."""

import argparse
import concurrent.futures
import json
import os
import pathlib
import subprocess
import sys
import time

from errors import ERRORS

HERE = pathlib.Path(__file__).resolve().parent
# The longest first. What only waits for the clock stands beside what uses the processor.
OPERATIONS = (
    "start-up", "rotation", "reload", "test", "test-defaults", "disabled", "udp", "power-on", "status-tcp",
    "status-udp", "tcp", "lines", "set", "clients", "macros", "unreachable", "unknown-event", "get",
    "tcp-on-0", "malformed-command", "unknown-command", "get-memory", "uptime", "client",
)
# Something of everything in the time that a test of every change may take.
QUICK = (
    ("udp", ("socket", "accept", "recv", "send", "sendto", "open_to_write", "popen", "pthread_create")),
    ("udp", ("allocation",)),
    ("status-tcp", ("socket", "connect", "send", "recv", "select")),
    ("get-memory", ("allocation", "all_allocations")),
    ("reload", ("open_to_read", "open_to_write", "stat", "popen")),
    ("start-up", ("socket", "bind", "pthread_create", "getifaddrs", "open_to_read")),
    ("client", ("socket", "connect", "send", "recv", "allocation")),
)


# These take so long that their calls are shared out.
LONG = ("start-up", "reload", "test", "test-defaults")


def shared_out(operation, calls):
    if calls or operation not in LONG:
        return [(operation, calls)]
    alone = ["allocation", "all_allocations", "write"]
    others = [call for call in ERRORS if call not in alone]
    return [(operation, calls) for calls in (*([call] for call in alone), others)]


def command(operation, calls, quick):
    devkit = pathlib.Path(os.environ["RUVO_DEVKIT_DIR"])
    keep = [HERE.parents[1], devkit, pathlib.Path(os.environ["RUVO_FAULTS_DIR"]),
            pathlib.Path(os.environ["RUVO_DAEMON"]).parent]
    kept = [word for folder in keep for word in ("--keep", folder)]
    chosen = [word for call in calls for word in ("--call", call)]
    return [devkit / "ruvo-world", "--uptime", "5000", *kept, "--", sys.executable, "-B", HERE / "sweep.py",
            operation, *chosen, *(["--quick"] if quick else [])]


def sweep(operation, calls, quick):
    """The rows of one operation; a sweep that breaks off is a violation."""
    result = subprocess.run([str(word) for word in command(operation, calls, quick)],
                            capture_output=True, text=True)
    rows = [json.loads(line) for line in result.stdout.splitlines() if line.startswith("{")]
    violations = [] if result.returncode == 0 else [f"{operation}: the sweep broke off:\n{result.stderr}"]
    return rows, violations


def told(row):
    outcome = f"{len(row['violations'])} VIOLATIONS" if row["violations"] else "survived"
    return (f"{row['operation']:<18}{row['call']:<17}{len(row['errors']):>7}{row['most_calls']:>7}"
            f"{row['faults']:>8}{row['seconds']:>9.1f}  {outcome}")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--operation", action="append", choices=OPERATIONS)
    parser.add_argument("--call", action="append", choices=[*ERRORS], default=[])
    parser.add_argument("--quick", action="store_true", help="a few calls, one error number of each")
    parser.add_argument("--jobs", type=int, default=3, help="operations at a time (default: 3)")
    options = parser.parse_args()
    jobs = QUICK
    if not options.quick:
        jobs = [job for name in options.operation or OPERATIONS for job in shared_out(name, options.call)]

    print(f"{'operation':<18}{'call':<17}{'errnos':>7}{'calls':>7}{'faults':>8}{'seconds':>9}  outcome",
          flush=True)
    begin = time.monotonic()
    faults, violations = 0, []
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        started = [pool.submit(sweep, name, calls, options.quick) for name, calls in jobs]
        for done in concurrent.futures.as_completed(started):
            rows, broken = done.result()
            for row in rows:
                print(told(row), flush=True)
                faults += row["faults"]
            for violation in [*(text for row in rows for text in row["violations"]), *broken]:
                print(f"VIOLATION {violation}", flush=True)
                violations.append(violation)
    print(f"\n{faults} faults, {len(violations)} violations, {time.monotonic() - begin:.0f} s")
    return 1 if violations or faults == 0 else 0


if __name__ == "__main__":
    sys.exit(main())
