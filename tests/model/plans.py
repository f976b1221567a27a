"""What every event of a settings file sends, said by the model alone.

A case holds the files and the world that `ruvoctl plan` is given; byte strings are hex.
"""

import ipaddress
from dataclasses import dataclass

from c_numbers import InvalidArgument, OutOfRange
from c_strings import up_to_zero
from event_list import build_event_list, quotient_toward_zero
from executor import choose_sender, disabled_line, due_times, port_number, record_action, sent_line, skip_line
from executor import slot_data, slot_ip, step_action
from expansion import LocalTime, expand_macro, is_macro, split_pieces
from lookup import expanded_copy, find_entry, handle_request, stamped
from records import read_records
from status import parse_report, renewed_variables

NS_PER_SECOND = 1000000000
POWER_ON_SECONDS = 120
QUEUED_NS = 1
TEST_WORD = b"__TEST__"
BUILT_IN_MACROS = (b"date", b"time", b"uptime")


@dataclass(frozen=True)
class World:
    variables: list
    report_given: bool
    local_time: LocalTime
    uptime: int
    test: bool
    switch: str  # "on", "trigger" (off when triggered) or "run" (off before the run)


def world_of(case):
    variables = []
    if case["report"] is not None:
        report = bytes.fromhex(case["report"]).replace(b"\r", b"\n")
        variables = renewed_variables([], parse_report(report))
    return World(variables, case["report"] is not None, LocalTime(*case["time"]), case["uptime"],
                 case["test"] == 1, case["switch"])


# Which event answers to an entry's name

def found_by_client(entries, entry, world):
    """The entry that a client's text for this one finds, or None."""
    if world.test:
        command, _, name = handle_request(TEST_WORD + b":" + entry.name, True).key.partition(b":")
        return find_entry(entries, name, True) if command == TEST_WORD and name else None
    request = handle_request(entry.xmlField + b"\n", True)
    return None if request.command else find_entry(entries, request.trigger, False)


def event_outcome(record, world):
    if world.switch == "trigger" and not world.test:
        return "refused"
    just_behind = max(record.t_ns_exec, record.t_ns_cread) + 1
    action = record_action(record.t_ns_cread, record.t_ns_exec, 0, just_behind)
    return {"stale": "stale", "run": "runs"}[action]


# Macros

def macro_source(name, value, world):
    if any(variable == name for variable, _ in world.variables):
        return "status"
    for word in BUILT_IN_MACROS:
        if up_to_zero(name).lower() == word:
            return word.decode()
    return "unknown" if world.report_given else "not-given"


def planned_macros(data, world):
    """The names come out as texts for people; what they stand for is what counts."""
    macros = []
    for piece in split_pieces(data):
        if is_macro(piece):
            name = piece[2:-2]
            value = expand_macro(name, world.variables, world.local_time, world.uptime)
            macros.append({"value": value.hex(), "source": macro_source(name, value, world)})
    return macros


# Steps

def socket_port(step):
    """A socket address has room for 16 bits of it."""
    return port_number(step.port) % 65536


def socket_ip(step):
    """A text that is no address leaves the zeros."""
    try:
        return ipaddress.IPv4Address(slot_ip(step.ip).decode("latin-1"))
    except ValueError:
        return ipaddress.IPv4Address(0)


def is_refused(sender, ip, port):
    broadcast = ip in (ipaddress.IPv4Address("255.255.255.255"), ipaddress.IPv4Address("127.255.255.255"))
    if sender in ("udp", "udp_status"):
        return port == 0 or broadcast
    return broadcast or ip.is_multicast


def step_outcome(step, action):
    if action == "power_on_skip":
        return "skipped", "power-on-window"
    if action == "disabled_skip":
        return "skipped", "switched-off"
    sender = choose_sender(step.protocol)
    if sender == "none":
        return "lost", "no-protocol"
    if is_refused(sender, socket_ip(step), socket_port(step)):
        return "lost", "refused-destination"
    return "sends", None


def log_line(step, action, uptime):
    if action == "power_on_skip":
        return skip_line(step, uptime)
    if action == "disabled_skip":
        return disabled_line(step, uptime)
    return sent_line(step)


def planned_data(sender, step):
    """What a status sender sends is no matter of the settings."""
    if sender not in ("tcp", "udp"):
        return None
    return slot_data(sender, step.data).hex()


def planned_step(number, configured, step, action, due_ns, uptime, world):
    sender = choose_sender(step.protocol)
    outcome, reason = step_outcome(step, action)
    kept = len(slot_data(sender, step.data))
    return {
        "step": number,
        "outcome": outcome,
        "reason": reason,
        "sender": None if sender == "none" else sender.replace("_", "-"),
        "port": socket_port(step),
        "ip": str(socket_ip(step)),
        "delay_ms": quotient_toward_zero(step.delayFromExecNs, 1000000),
        "due_ns": due_ns,
        "data": planned_data(sender, step),
        "expanded": step.data.hex(),
        "cut_bytes": None if sender == "none" else len(step.data) - kept,
        "macros": planned_macros(configured.data, world),
        "log_line": log_line(step, action, uptime).hex(),
    }


def planned_steps(entry, record, world):
    run_uptime = world.uptime + max(0, record.t_ns_exec - QUEUED_NS) // NS_PER_SECOND
    action = step_action(record.name, int(world.test), int(run_uptime > POWER_ON_SECONDS),
                         world.switch == "on")
    due = due_times([step.delayFromExecNs for step in record.steps])
    return [
        planned_step(i, entry.steps[i], step, action, due[i], run_uptime, world)
        for i, step in enumerate(record.steps)
    ]


def planned_event(entries, entry, world):
    copy = expanded_copy(entry, world.test, world.variables, world.local_time, world.uptime)
    record = stamped(copy, QUEUED_NS, int(world.test))
    event = {"delay_s": record.delay, "step_count": len(entry.steps), "steps": []}
    if found_by_client(entries, entry, world) is not entry:
        return {**event, "outcome": "unreachable"}
    event["outcome"] = event_outcome(record, world)
    if event["outcome"] == "runs":
        event["steps"] = planned_steps(entry, record, world)
    return event


def planned(case):
    """Every event in list order; a file with an index that is no number has no effect."""
    world = world_of(case)
    try:
        entries = build_event_list(read_records(bytes.fromhex(case["file"])))
    except (InvalidArgument, OutOfRange):
        return {"void": True, "events": []}
    return {"void": False, "events": [planned_event(entries, entry, world) for entry in entries]}
