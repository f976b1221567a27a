"""Compares a program with the model, byte for byte.

    compare.py [--cases N] [--seed N] [--long-bits 32|64] [--] PROGRAM [ARGUMENT...]

The program reads one JSON object a line and answers each with one line, in order; every byte string is
lower-case hex.
Status 0 when all answers agree, 1 at any difference.
"""

import argparse
import json
import random
import subprocess
import sys

from answers import answer
from generate import MAKERS, requests

BATCH_SIZE = 500
BATCH_SECONDS = 120
MOST_QUESTIONS = 2000

HEX_FIELDS = ("file", "data", "report", "reply", "request", "name", "ip", "port", "protocol")
LIST_FIELDS = ("variables", "delays")


def run_program(program, lines):
    """The program's output lines; a program that dies or hangs answers only a part."""
    text = "".join(line + "\n" for line in lines)
    try:
        done = subprocess.run(program, input=text.encode(), stdout=subprocess.PIPE, timeout=BATCH_SECONDS)
    except subprocess.TimeoutExpired as late:
        return (late.stdout or b"").splitlines()
    return done.stdout.splitlines()


def parsed(line):
    try:
        return json.loads(line)
    except ValueError:
        return {"not JSON": repr(line)}


def ask(program, cases):
    """One answer per case, None where the program gave none."""
    answers = [parsed(line) for line in run_program(program, [json.dumps(case) for case in cases])]
    return (answers + [None] * len(cases))[:len(cases)]


def meaningful(result):
    """Without a sender nothing is copied, and the status senders copy no data."""
    if not isinstance(result, dict) or "sender" not in result:
        return result
    unused = {"none": ("ip", "port", "data"), "tcp_status": ("data",), "udp_status": ("data",)}
    dropped = unused.get(result["sender"], ())
    return {name: value for name, value in result.items() if name not in dropped}


def differs(case, got, long_bits):
    return meaningful(answer(case, long_bits)) != meaningful(got)


# Shrinking

def shorter_lists(items):
    """The list without a run of its items, long runs first."""
    length = len(items)
    run = length
    while run >= 1:
        for start in range(0, length, run):
            yield items[:start] + items[start + run:]
        run //= 2


def shorter_texts(text):
    """Without some of its lines first, then without some of its bytes."""
    lines = text.splitlines(keepends=True)
    if len(lines) > 1:
        for fewer in shorter_lists(lines):
            yield b"".join(fewer)
    yield from shorter_lists(text)


def smaller_pairs(pairs):
    yield from shorter_lists(pairs)
    for i, pair in enumerate(pairs):
        for j, text in enumerate(pair):
            for shorter in shorter_texts(bytes.fromhex(text)):
                changed = list(pair)
                changed[j] = shorter.hex()
                yield pairs[:i] + [changed] + pairs[i + 1:]


def smaller_values(field, value):
    if field in HEX_FIELDS:
        return (text.hex() for text in shorter_texts(bytes.fromhex(value)))
    if field == "variables":
        return smaller_pairs(value)
    return shorter_lists(value)


def smaller_cases(case):
    for field in case:
        if case[field] is not None and (field in HEX_FIELDS or field in LIST_FIELDS):
            for value in smaller_values(field, case[field]):
                # A connection that sends nothing makes no request.
                if field == "request" and value == "":
                    continue
                yield {**case, field: value}


def shrink_until(still_differs, case):
    """Takes the first smaller case that still differs, until none does."""
    questions = 0
    smaller_found = True
    while smaller_found:
        smaller_found = False
        for smaller in smaller_cases(case):
            questions += 1
            if questions > MOST_QUESTIONS:
                return case
            if still_differs(smaller):
                case = smaller
                smaller_found = True
                break
    return case


def shrink(program, case, long_bits):
    return shrink_until(lambda smaller: differs(smaller, ask(program, [smaller])[0], long_bits), case)


# Reports

def readable(value):
    """Hex texts as bytes, for the reader of a report."""
    if isinstance(value, dict):
        return {name: readable(item) for name, item in value.items()}
    if isinstance(value, list):
        return [readable(item) for item in value]
    if isinstance(value, str):
        try:
            return bytes.fromhex(value)
        except ValueError:
            return value
    return value


def report_difference(program, case, long_bits):
    case = shrink(program, case, long_bits)
    expected = answer(case, long_bits)
    got = ask(program, [case])[0]
    for title, value in (("case", case), ("expected", expected), ("got", got)):
        print(f"{title}: {json.dumps(value)}")
        print(f"  {readable(value)}")


def compare(program, cases, long_bits):
    """Counts the cases and the differences of each operation; the first case that differs, or None."""
    counts = {operation: 0 for operation in MAKERS}
    differences = {operation: 0 for operation in MAKERS}
    first = None
    for start in range(0, len(cases), BATCH_SIZE):
        batch = cases[start:start + BATCH_SIZE]
        for case, got in zip(batch, ask(program, batch)):
            counts[case["op"]] += 1
            if differs(case, got, long_bits):
                differences[case["op"]] += 1
                first = first or case
    for operation in MAKERS:
        print(f"{operation}: {counts[operation]} cases, {differences[operation]} differ")
    return first


def read_arguments(arguments):
    parser = argparse.ArgumentParser(description="Compares a program with the model, byte for byte.")
    parser.add_argument("program", nargs="+")
    parser.add_argument("--cases", type=int, default=11000)
    parser.add_argument("--seed", type=int, default=None)
    parser.add_argument("--long-bits", type=int, choices=(32, 64), default=64)
    return parser.parse_args(arguments)


def main(arguments):
    options = read_arguments(arguments)
    seed = random.randrange(2 ** 32) if options.seed is None else options.seed
    print(f"seed: {seed}", flush=True)
    cases = requests(random.Random(seed), options.cases)
    first = compare(options.program, cases, options.long_bits)
    if first is None:
        return 0
    report_difference(options.program, first, options.long_bits)
    return 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
