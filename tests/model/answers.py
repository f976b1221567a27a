"""The model behind the line protocol: one JSON object a line in, one out, byte strings as hex.

Run by itself it reads requests from standard input and answers them, like any program it is compared with.
"""

import json
import sys

from client import printed_text
from c_numbers import InvalidArgument, OutOfRange
from event_list import Step, build_event_list, event_list_text
from executor import choose_sender, disabled_line, due_times, port_number, record_action, sent_line, skip_line
from executor import slot_data, slot_ip, step_action
from expansion import LocalTime, expand_data
from lookup import handle_request
from mirrors import ascii_mirror, raw_dump
from records import read_records
from status import parse_report


def answer_records(request, long_bits):
    records = read_records(bytes.fromhex(request["file"]))
    return {"records": [[r.kind, r.name.hex(), r.field.hex(), r.index.hex(), r.value.hex()] for r in records]}


def step_fields(step):
    return {
        "ip": step.ip.hex(),
        "port": step.port.hex(),
        "protocol": step.protocol.hex(),
        "data": step.data.hex(),
        "delayNs": step.delayNs,
        "delayFromExecNs": step.delayFromExecNs,
    }


def entry_fields(entry):
    return {
        "name": entry.name.hex(),
        "xmlField": entry.xmlField.hex(),
        "delay": entry.delay,
        "steps": [step_fields(step) for step in entry.steps],
    }


def answer_event_list(request, long_bits):
    records = read_records(bytes.fromhex(request["file"]))
    try:
        entries = build_event_list(records, long_bits)
    except InvalidArgument:
        return {"error": "invalid_argument"}
    except OutOfRange:
        return {"error": "out_of_range"}
    return {"entries": [entry_fields(entry) for entry in entries], "text": event_list_text(entries).hex()}


def answer_mirrors(request, long_bits):
    records = read_records(bytes.fromhex(request["file"]))
    return {"ascii": ascii_mirror(records).hex(), "dump": raw_dump(records).hex()}


def answer_expand(request, long_bits):
    data = bytes.fromhex(request["data"])
    variables = [(bytes.fromhex(name), bytes.fromhex(value)) for name, value in request["variables"]]
    return {"data": expand_data(data, variables, LocalTime(*request["time"]), request["uptime"]).hex()}


def answer_status(request, long_bits):
    pairs = parse_report(bytes.fromhex(request["report"]))
    return {"pairs": [[name.hex(), value.hex()] for name, value in pairs]}


def answer_client(request, long_bits):
    return {"text": printed_text(bytes.fromhex(request["reply"])).hex()}


def answer_request(request, long_bits):
    handled = handle_request(bytes.fromhex(request["request"]), request["enabled"])
    return {
        "key": handled.key.hex(),
        "value": handled.value.hex(),
        "trigger": None if handled.trigger is None else handled.trigger.hex(),
        "reply": handled.reply.hex(),
        "lookups": handled.lookups,
        "command": handled.command,
    }


def answer_record(request, long_bits):
    action = record_action(request["created"], request["due"], request["has_run"], request["now"])
    return {"action": action}


def answer_step(request, long_bits):
    name = bytes.fromhex(request["name"])
    return {"action": step_action(name, request["test"], request["window_over"], request["enable"])}


def answer_outgoing(request, long_bits):
    step = Step(
        ip=bytes.fromhex(request["ip"]),
        port=bytes.fromhex(request["port"]),
        protocol=bytes.fromhex(request["protocol"]),
        data=bytes.fromhex(request["data"]),
    )
    sender = choose_sender(step.protocol)
    return {
        "sender": sender,
        "ip": slot_ip(step.ip).hex(),
        "port": port_number(step.port, long_bits),
        "data": slot_data(sender, step.data).hex(),
        "sent_line": sent_line(step).hex(),
        "skip_line": skip_line(step, request["uptime"]).hex(),
        "disabled_line": disabled_line(step, request["uptime"]).hex(),
    }


def answer_due(request, long_bits):
    return {"due": due_times(request["delays"])}


ANSWERS = {
    "records": answer_records,
    "event_list": answer_event_list,
    "mirrors": answer_mirrors,
    "expand": answer_expand,
    "status": answer_status,
    "client": answer_client,
    "request": answer_request,
    "record": answer_record,
    "step": answer_step,
    "outgoing": answer_outgoing,
    "due": answer_due,
}


def answer(request, long_bits=64):
    return ANSWERS[request["op"]](request, long_bits)


def main():
    for line in sys.stdin:
        print(json.dumps(answer(json.loads(line))), flush=True)
    return 0


if __name__ == "__main__":
    sys.exit(main())
