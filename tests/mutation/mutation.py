"""Tries mutants of the daemon's sources against the tests; run by scripts/mutants."""

import argparse
import hashlib
import json
import pathlib
import random
import signal
import sys
import threading

from mutants import Mutant, mutants_of, source_files
from results import Results, read_equivalents, shown
from workshop import Workshop

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "build/mutants"
EQUIVALENTS = ROOT / "tests/mutation/equivalent.txt"


def options(words):
    parser = argparse.ArgumentParser(
        prog="scripts/mutants", description=__doc__.split(";")[0] + ". Needs an hour or more; an interrupted "
        "run goes on with --resume. Ends with status 0 when no mutant survives without a stated reason.")
    parser.add_argument("--seed", type=int, help="draw other mutants; a run without it takes a new one and prints it")
    parser.add_argument("--count", type=int, help="so many that compile (default: 300)")
    parser.add_argument("--resume", action="store_true", help="go on with the last run")
    parser.add_argument("--again", action="store_true",
                        help="try those again that have survived the last run for no stated reason")
    parser.add_argument("--list", action="store_true", help="only print all mutants, in the order of the draw")
    parser.add_argument("--summary", action="store_true", help="only print what the last run has found")
    parser.add_argument("--only", metavar="FILE", action="append", help="take mutants of this source only")
    parser.add_argument("--jobs", type=int, default=2, help="so many at the same time (default: %(default)s)")
    return parser.parse_args(words)


def all_mutants(files):
    """Every mutant with its description; what has not changed since the last time is remembered."""
    memory_path = FOLDER / "generated.json"
    generator = (ROOT / "tests/mutation/mutants.py").read_bytes()
    memory = json.loads(memory_path.read_text()) if memory_path.exists() else {}
    found = []
    for file in files:
        source = (ROOT / file).read_bytes()
        digest = hashlib.sha256(generator + source).hexdigest()
        if memory.get(file, [None])[0] != digest:
            memory[file] = [digest, [list(vars(mutant).values()) for mutant in mutants_of(ROOT, file)]]
        found += described(file, source, memory[file][1])
    FOLDER.mkdir(parents=True, exist_ok=True)
    memory_path.write_text(json.dumps(memory))
    return found


def described(file, source, fields):
    seen = {}
    for values in fields:
        mutant = Mutant(*values)
        before, after = mutant.lines(source)
        number = seen[before, after] = seen.get((before, after), 0) + 1
        yield mutant, {"file": file, "line": mutant.line(source), "kind": mutant.kind, "before": before,
                       "after": after, "number": number}


def order(seed, description):
    """A mutant's place in the draw, which changes elsewhere do not move."""
    name = [seed, *(description[part] for part in ("file", "before", "after", "number"))]
    return hashlib.sha256(json.dumps(name).encode()).hexdigest()


class Run:
    """The workshops at work: each takes the next mutant while the sample is not complete."""

    def __init__(self, results, waiting, count, stages):
        self.results = results
        self.waiting = waiting
        self.count = count
        self.stages = stages
        self.lock = threading.Lock()
        self.under_way = 0
        self.failure = None

    def next(self):
        with self.lock:
            if self.failure or not self.waiting or self.results.counted() + self.under_way >= self.count:
                return None
            self.under_way += 1
            return self.waiting.pop(0)

    def finished(self, trial):
        with self.lock:
            self.under_way -= 1
            self.results.put(trial)
            by = f" by {trial['by']}: {trial['test']}" if trial["result"] == "killed" else ""
            print(f"{self.results.counted():4} {trial['seconds']:5.0f} s  {trial['result']}{by}  "
                  f"{trial['file']}:{trial['line']} {trial['after'][:70]}", flush=True)
            if trial["result"] == "survived":
                print(shown(trial), flush=True)

    def work(self, workshop):
        try:
            while drawn := self.next():
                place, mutant, description = drawn
                self.finished({**description, "order": place, "stages": self.stages,
                               **workshop.try_mutant(mutant, self.stages)})
        except Exception as error:  # told by the main thread
            self.failure = error


def prepared(jobs):
    shops = [Workshop(ROOT, FOLDER / str(number + 1)) for number in range(jobs)]
    print(f"building {jobs} copies without a mutant", flush=True)
    for shop in shops:
        shop.prepare()
    print("testing without a mutant", flush=True)
    found = shops[0].check_plain()
    if found:
        sys.exit(f"without a mutant fails: {found['test']}")
    for shop in shops[1:]:
        shop.limits_s = shops[0].limits_s
        shop.plain_system = shops[0].plain_system
    return shops


def run_all(run, shops):
    threads = [threading.Thread(target=run.work, args=(shop,), daemon=True) for shop in shops]
    for thread in threads:
        thread.start()
    try:
        while any(thread.is_alive() for thread in threads):
            threads[0].join(0.2)
            threads[-1].join(0.2)
    except KeyboardInterrupt:
        for shop in shops:
            shop.stop()
        sys.exit("interrupted: go on with --resume")
    if run.failure:
        raise run.failure


def end(results):
    print(results.summary())
    return 1 if results.with_result("survived") else 0


def main(words):
    for ending in (signal.SIGINT, signal.SIGTERM):
        signal.signal(ending, signal.default_int_handler)
    given = options(words)
    path = FOLDER / "results.json"
    old = Results.load(path) if given.resume or given.again or given.summary else None
    equivalents = read_equivalents(EQUIVALENTS)
    if given.summary:
        old.mark_equivalents(equivalents)
        return end(old)
    seed = old.head["seed"] if old else given.seed if given.seed is not None else random.randrange(10**6)
    files = old.head["files"] if old else given.only or source_files(ROOT)
    found = sorted((order(seed, description), mutant, description) for mutant, description in all_mutants(files))
    if given.list:
        for _, _, description in found:
            print(shown(description))
        return 0
    head = {"seed": seed, "files": files, "mutants": len(found), "count": given.count or (old.head["count"] if old else 300),
            "lines": sum((ROOT / file).read_text().count("\n") for file in files)}
    print(f"seed {seed}: {head['mutants']} mutants of {head['lines']} lines", flush=True)
    results = Results(path, head)
    if old:
        results.trials = old.trials
    results.mark_equivalents(equivalents)
    results.save()
    shops = prepared(given.jobs)

    again = {trial["order"] for trial in results.with_result("survived")} if given.again else set()
    known = {trial["order"] for trial in results.trials} - again
    results.trials = [trial for trial in results.trials if trial["order"] not in again]
    waiting = [drawn for drawn in found if drawn[0] not in known and (not again or drawn[0] in again)]
    run_all(Run(results, waiting, head["count"], ["unit", "world", "model"]), shops)

    # What is left meets the real daemon, which takes longest.
    left = {trial["order"] for trial in results.with_result("survived") if "system" not in trial["stages"]
            and (trial["file"], trial["before"], trial["after"]) not in equivalents}
    results.trials = [trial for trial in results.trials if trial["order"] not in left]
    run_all(Run(results, [drawn for drawn in found if drawn[0] in left], head["count"], ["system"]), shops)
    results.mark_equivalents(equivalents)
    results.save()
    return end(results)


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
