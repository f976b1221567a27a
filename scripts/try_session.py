"""Runs events of a settings file in the private world that scripts/try makes, and compares
what arrives with what ruvoctl has planned."""

import argparse
import datetime
import json
import os
import pathlib
import shlex
import subprocess
import sys
import time

from device_session import (
    send_request,
    show,
    start_daemon,
    start_receiver,
    start_status_service,
    wait_until,
    write_settings,
)

STATUS_ITEMS = b"model:AV-100\ninput:HDMI1\npower:on\nvolume:42\nmute:off\ntemperature:38\nserial:0042\n"
# The oldest reading of the uptime that a macro may show.
UPTIME_AGE_S = 2


def read_options():
    parser = argparse.ArgumentParser()
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("settings", type=pathlib.Path)
    parser.add_argument("events", nargs="*")
    parser.add_argument("--status", type=pathlib.Path)
    return parser.parse_args()


OPTIONS = read_options()
DEVKIT = OPTIONS.build.resolve() / "devkit"
RUVOCTL = OPTIONS.build.resolve() / "ruvoctl" / "ruvoctl"
ITEMS = OPTIONS.status.read_bytes() if OPTIONS.status else STATUS_ITEMS


def uptime_s():
    return int(time.clock_gettime(time.CLOCK_BOOTTIME))


def plan(*words, now_s, uptime):
    """What ruvoctl plans, given the moment."""
    now = datetime.datetime.fromtimestamp(now_s).strftime("%Y-%m-%d %H:%M:%S")
    command = [RUVOCTL, "plan", "-f", OPTIONS.settings, "--json", "--now", now]
    command += ["--uptime", str(uptime), "--status", "/tmp/status_items.txt", *words]
    document = json.loads(subprocess.run(command, stdout=subprocess.PIPE, check=False).stdout or "null")
    if document is None:
        sys.exit(f"ruvoctl plans nothing for {shlex.join(map(str, words))}")
    return document


def sends_of(document):
    return [step for event in document["events"] for step in event["steps"] if step["outcome"] == "sends"]


def protocol_of(step):
    return "tcp" if step["sender"].startswith("tcp") else "udp"


def ports_of(document, protocol):
    return sorted({step["destination"]["port"] for step in sends_of(document) if protocol_of(step) == protocol})


def as_message(step):
    destination = step["destination"]
    return (protocol_of(step), f"{destination['ip']}:{destination['port']}", step["data"]["hex"].lower())


def as_planned(arrivals, plans):
    """Whether the arrivals are those of one of the plans, in any order."""
    arrived = sorted((a["protocol"], a["to"], a["hex"].lower()) for a in arrivals)
    return any(arrived == sorted(map(as_message, sends_of(document))) for document in plans)


def plans_between(event, begin_s, end_s, uptime):
    """The clock may tick, and the daemon measures its uptime once a second."""
    return [
        plan(event, now_s=now_s, uptime=age)
        for now_s in range(int(begin_s), int(end_s) + 1)
        for age in range(uptime - UPTIME_AGE_S, uptime + 2)
    ]


def run_event(event, arrivals):
    print(f"\n$ printf '{event}\\n' | nc 127.0.0.1 2700", flush=True)
    begin = len(arrivals.items)
    begin_s, uptime = time.time(), uptime_s()
    arrivals.trigger_ns = time.monotonic_ns()
    reply = send_request(event.encode())
    end_s = time.time()
    print(f"    reply {reply!r}", flush=True)
    expected = sends_of(plan(event, now_s=begin_s, uptime=uptime))
    last_ms = max((step["latest_ms"] for step in expected), default=0)
    wait_until(lambda: len(arrivals.items) >= begin + len(expected), last_ms / 1000 + 3)
    arrived = arrivals.items[begin:]
    good = as_planned(arrived, plans_between(event, begin_s, end_s, uptime))
    print(f"    {len(arrived)} of {len(expected)} planned sends arrived, {'as planned' if good else 'NOT AS PLANNED'}")
    return good


def wait_for_measured_uptime():
    """The daemon measures when a second begins, and looks five times a second."""
    begun = int(time.time()) + 1
    wait_until(lambda: time.time() > begun + 0.3)


def main():
    os.environ["PATH"] = f"{DEVKIT}:{os.environ['PATH']}"
    start_status_service(DEVKIT, ITEMS)
    subprocess.run([DEVKIT / "userconfigtool", "set", "boolean", "network.ruvo.enable=true"], check=True)
    write_settings("ruvo.txt", OPTIONS.settings.read_bytes())
    everything = plan("--all", now_s=time.time(), uptime=uptime_s())
    arrivals = start_receiver(DEVKIT, ports_of(everything, "udp"), ports_of(everything, "tcp"))
    start_daemon([OPTIONS.build.resolve() / "core" / "ruvotcpd"])
    wait_for_measured_uptime()
    events = OPTIONS.events or [event["trigger"] for event in everything["events"]]
    results = [run_event(event, arrivals) for event in events]
    show("The event log", "/var/log/ruvoevent.log")
    return 0 if results and all(results) else 1


if __name__ == "__main__":
    sys.exit(main())
