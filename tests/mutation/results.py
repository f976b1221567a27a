"""What has become of the mutants so far, kept in a file that outlives an interruption."""

import json
import os
import pathlib
import textwrap

COUNTED = ("killed", "same object code", "equivalent", "survived")


class Results:
    def __init__(self, path, head):
        self.path = pathlib.Path(path)
        self.head = head
        self.trials = []

    @classmethod
    def load(cls, path):
        kept = json.loads(pathlib.Path(path).read_text())
        results = cls(path, kept["head"])
        results.trials = kept["trials"]
        return results

    def save(self):
        new = self.path.with_suffix(".new")
        new.write_text(json.dumps({"head": self.head, "trials": self.trials}, indent=1))
        os.replace(new, self.path)

    def put(self, trial):
        """Takes the place of an earlier trial of the same mutant."""
        self.trials = [old for old in self.trials if old["order"] != trial["order"]] + [trial]
        self.save()

    def with_result(self, *names):
        return [trial for trial in self.trials if trial["result"] in names]

    def counted(self):
        return len(self.with_result(*COUNTED))

    def mark_equivalents(self, equivalents):
        """A reason stands for what has survived, and never for what was killed."""
        for trial in self.with_result("survived", "equivalent"):
            reason = equivalents.get((trial["file"], trial["before"], trial["after"]))
            trial["result"] = "equivalent" if reason else "survived"
            trial["reason"] = reason

    def summary(self):
        killers = ("unit", "world", "model", "system", "time-out", "analysis")
        killed = self.with_result("killed")
        by = ", ".join(f"{sum(trial['by'] == killer for trial in killed)} by {killer}" for killer in killers)
        same, reasoned, survived = (self.with_result(name)
                                    for name in ("same object code", "equivalent", "survived"))
        different = len(killed) + len(survived)
        lines = [
            f"seed {self.head['seed']}: {self.head['mutants']} mutants of {self.head['lines']} lines",
            f"sampled {self.counted()}, and {len(self.with_result('not compiled'))} that do not compile",
            f"killed {len(killed)} ({by})",
            f"equivalent by their object code {len(same)}, for a stated reason {len(reasoned)}",
            f"survived {len(survived)}: {100 * len(killed) / max(1, different):.1f}% of what differs is killed",
            f"{100 * len(killed) / max(1, self.counted()):.1f}% of the sample is killed",
            f"{sum(trial['seconds'] for trial in self.trials):.0f} s of trials",
        ]
        return "\n".join(lines + [shown(trial) for trial in sorted(survived, key=lambda trial: (
            trial["file"], trial["line"]))])


def shown(trial):
    return f"{trial['file']}:{trial['line']} ({trial['kind']})\n  - {trial['before']}\n  + {trial['after']}"


def read_equivalents(path):
    """The reasons by mutant: file, line before and line after."""
    found = {}
    for block in pathlib.Path(path).read_text().split("\n\n"):
        lines = [line for line in block.splitlines() if line and not line.startswith("#")]
        if not lines:
            continue
        file, before, after, *reason = lines
        if before[:4] != "  - " or after[:4] != "  + " or not reason:
            raise ValueError(f"not a file, a line before, a line after and a reason:\n{textwrap.indent(block, '  ')}")
        found[file, before[4:], after[4:]] = " ".join(line.strip() for line in reason)
    return found
