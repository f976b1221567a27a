"""The daemon sends exactly what `ruvoctl plan --json` says: generated files, real arrivals.

RUVO_DIFFERENTIAL_ROUNDS, _SEED and _FIRST choose other rounds. With _FULL=1 a failing
round is made smaller, and events that are too old are waited for.
"""

import os
import time

from differential import Run

ROUNDS = int(os.environ.get("RUVO_DIFFERENTIAL_ROUNDS", "14"))
FIRST = int(os.environ.get("RUVO_DIFFERENTIAL_FIRST", "0"))
SEED = os.environ.get("RUVO_DIFFERENTIAL_SEED", "1")
FULL = os.environ.get("RUVO_DIFFERENTIAL_FULL") == "1"


def say(text):
    print(text, flush=True)


def test_what_arrives_is_what_is_planned():
    say(f"\nseed {SEED}, rounds {FIRST} to {FIRST + ROUNDS - 1}")
    run = Run(SEED, reduce=FULL, patient=FULL, say=say)
    begin = time.monotonic()
    run.rounds(range(FIRST, FIRST + ROUNDS))
    say(f"{run.counts.text()}\nwall time {time.monotonic() - begin:.1f} s")
    assert not run.failures, f"{len(run.failures)} rounds differ, see above; seed {SEED}"
    assert run.counts.compared > 0, "nothing was sent, so nothing was compared"
