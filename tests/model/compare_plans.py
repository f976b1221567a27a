"""Compares `ruvoctl plan` with the model: every event of generated settings files, byte for byte.

    compare_plans.py [--cases N] [--seed N] [--] RUVOCTL

Status 0 when all plans agree, 1 at any difference.
"""

import argparse
import concurrent.futures
import json
import os
import pathlib
import random
import subprocess
import sys
import tempfile

from compare import readable, shrink_until
from generate import make_plan
from plans import planned

SECONDS_AT_MOST = 60
PLAN_STATUSES = (0, 3, 4)
SWITCH_WORDS = {"on": [], "trigger": ["--disabled=trigger"], "run": ["--disabled=run"]}

STEP_MEMBERS = ("step", "outcome", "reason", "sender", "delay_ms")
EVENT_MEMBERS = ("delay_s", "outcome", "step_count")


# What the program says

def hex_member(member):
    return None if member is None else member["hex"].replace(" ", "").lower()


def said_macro(macro):
    return {"value": hex_member(macro["value"]), "source": macro["source"]}


def said_step(step):
    said = {name: step[name] for name in STEP_MEMBERS}
    said["port"] = step["destination"]["port"]
    said["ip"] = step["destination"]["ip"]
    said["due_ns"] = round(step["due_ms"] * 1000000)
    said["data"] = hex_member(step["data"]) if step["sender"] in ("udp", "tcp") else None
    said["expanded"] = hex_member(step["expanded"])
    said["cut_bytes"] = step["cut_bytes"] if step["sender"] else None
    said["macros"] = [said_macro(macro) for macro in step["macros"]]
    said["log_line"] = hex_member(step["log_line"])
    return said


def said_event(event):
    said = {name: event[name] for name in EVENT_MEMBERS}
    said["steps"] = [said_step(step) for step in event["steps"]]
    return said


def said_plan(document):
    return {"void": document["void"] is not None, "events": [said_event(event) for event in document["events"]]}


# Asking it

def words_of(case, folder):
    settings = folder / "settings.txt"
    settings.write_bytes(bytes.fromhex(case["file"]))
    words = ["-f", settings, "--now=%04d-%02d-%02d %02d:%02d:%02d" % tuple(case["time"]),
             f"--uptime={case['uptime']}"]
    words += SWITCH_WORDS[case["switch"]]
    if case["test"]:
        words.append("--test")
    if case["report"] is not None:
        report = folder / "report.txt"
        report.write_bytes(bytes.fromhex(case["report"]))
        words.append(f"--status={report}")
    return words


def ask(program, case):
    """The plan, or what the program did in its place."""
    with tempfile.TemporaryDirectory() as name:
        words = [program, "plan", "--json", "--all"] + words_of(case, pathlib.Path(name))
        try:
            done = subprocess.run(words, capture_output=True, timeout=SECONDS_AT_MOST, check=False)
        except subprocess.TimeoutExpired:
            return {"hangs": True}
    if done.returncode not in PLAN_STATUSES:
        return {"status": done.returncode, "error": done.stderr.decode(errors="replace")}
    return said_plan(json.loads(done.stdout))


def differs(program, case):
    return ask(program, case) != planned(case)


# Reports

def members_that_differ(expected, got, path="plan"):
    """The paths of what is not the same on both sides."""
    if isinstance(expected, dict) and isinstance(got, dict):
        for name in sorted(set(expected) | set(got)):
            yield from members_that_differ(expected.get(name), got.get(name), f"{path}.{name}")
    elif isinstance(expected, list) and isinstance(got, list) and len(expected) == len(got):
        for i, (one, other) in enumerate(zip(expected, got)):
            yield from members_that_differ(one, other, f"{path}[{i}]")
    elif expected != got:
        yield f"{path}: expected {readable(expected)}, got {readable(got)}"


def report_difference(program, case):
    case = shrink_until(lambda smaller: differs(program, smaller), case)
    print(f"case: {json.dumps(case)}")
    print(f"  {readable(case)}")
    for line in members_that_differ(planned(case), ask(program, case)):
        print(line)


def compare(program, cases):
    """The number of plans that differ, of their steps, and the first case that does."""
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        answers = pool.map(lambda case: ask(program, case), cases)
        expected = [planned(case) for case in cases]
        wrong = [case for case, want, got in zip(cases, expected, answers) if want != got]
    steps = sum(len(event["steps"]) for plan in expected for event in plan["events"])
    print(f"plan: {len(cases)} files, {sum(len(plan['events']) for plan in expected)} events, {steps} steps, "
          f"{len(wrong)} differ")
    return wrong[0] if wrong else None


def read_arguments(arguments):
    parser = argparse.ArgumentParser(description="Compares `ruvoctl plan` with the model, byte for byte.")
    parser.add_argument("program")
    parser.add_argument("--cases", type=int, default=1000)
    parser.add_argument("--seed", type=int, default=None)
    return parser.parse_args(arguments)


def main(arguments):
    options = read_arguments(arguments)
    seed = random.randrange(2 ** 32) if options.seed is None else options.seed
    print(f"seed: {seed}", flush=True)
    rng = random.Random(seed)
    first = compare(options.program, [make_plan(rng) for _ in range(options.cases)])
    if first is None:
        return 0
    report_difference(options.program, first)
    return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
