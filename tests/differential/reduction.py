"""Makes a failing round smaller while it still fails."""

import dataclasses

ATTEMPTS = 60  # each starts a daemon, which takes seconds


def reduced(one_round, differences_of, say):
    """The text of the smallest round found that still differs."""
    if not differences_of(one_round):
        return "-- the round does not fail again when it runs alone"
    budget = _Budget(differences_of)
    if not one_round.fresh:
        one_round = _attempt(one_round, budget, settings_before=())
    for member in ("requests", "tests", "late_requests", "refused_requests", "settings", "test_settings"):
        one_round = _with_fewer(one_round, member, budget)
        say(f"-- reduced: {len(getattr(one_round, member))} {member} left")
    return "\n".join([
        "-- smallest failing round found", f"world {one_round.world}, status items {one_round.items!r}",
        *(f"settings {line!r}" for line in one_round.settings),
        *(f"test settings {line!r}" for line in one_round.test_settings if one_round.tests),
        f"requests {one_round.requests}, tests {one_round.tests}, late {one_round.late_requests},"
        f" refused {one_round.refused_requests}",
        *map(str, budget.differences),
    ])


class _Budget:
    """Runs rounds until too many have run."""

    def __init__(self, differences_of):
        self._differences_of = differences_of
        self._left = ATTEMPTS
        self.differences = []

    def fails(self, one_round):
        if self._left == 0:
            return False
        self._left -= 1
        found = self._differences_of(one_round)
        if found:
            self.differences = found
        return bool(found)


def _attempt(one_round, budget, **changes):
    smaller = dataclasses.replace(one_round, **changes)
    return smaller if budget.fails(smaller) else one_round


def _with_fewer(one_round, member, budget):
    """Leaves out halves, quarters and so on of a tuple's elements."""
    size = len(getattr(one_round, member))
    while size > 0:
        begin = 0
        while begin < len(getattr(one_round, member)):
            elements = getattr(one_round, member)
            rest = elements[:begin] + elements[begin + size :]
            smaller = _attempt(one_round, budget, **{member: rest})
            if smaller is one_round:
                begin += size
            one_round = smaller
        size //= 2
    return one_round
