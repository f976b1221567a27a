"""Runs rounds, compares them, counts what they covered, and reports what differs."""

import collections
import dataclasses
import time

from comparison import compare, compare_event_log, expected_sends
from generator import make_round
from reduction import reduced
from session import Session

# What still comes when nothing is expected any more belongs to no plan.
LAST_LOOK_S = 0.4

# A record that is too old is dropped by then, if it has not been sent.
STALE_AFTER_S = 61

# How often a round with uneven steps runs again.
REPEATS = 3

SHOWN = 500  # characters of one line or message in a failure's text


@dataclasses.dataclass
class Counts:
    """What the rounds of a run covered."""

    rounds: int = 0
    void_files: int = 0
    daemons: int = 0
    triggers: int = 0
    events: int = 0
    steps: int = 0
    sends: int = 0  # planned
    lost: int = 0
    compared: int = 0  # of them those that have to arrive
    arrivals: int = 0
    kinds: collections.Counter = dataclasses.field(default_factory=collections.Counter)
    # Of the events that do not run.
    outcomes: collections.Counter = dataclasses.field(default_factory=collections.Counter)
    margins_ms: list[float] = dataclasses.field(default_factory=list)
    lags_ms: list[float] = dataclasses.field(default_factory=list)
    repeated: int = 0  # rounds that ran again because of uneven steps
    differences: int = 0

    def add(self, observation, result):
        self.rounds += 1
        self.void_files += observation.is_void
        self.triggers += len(observation.predictions)
        self.arrivals += len(observation.arrivals)
        self.compared += len(result.matched)
        self.margins_ms += result.margins_ms
        self.lags_ms += result.lags_ms
        for prediction in observation.predictions:
            self.events += len(prediction.executions)
            for execution in prediction.executions:
                self._add_execution(execution)

    def _add_execution(self, execution):
        if execution.outcome != "runs":
            self.outcomes[execution.outcome] += 1
        dues = collections.Counter(step.due_ms // 1 for step in execution.steps if step.due_ms > 0)
        for step in execution.steps:
            self.steps += 1
            self.sends += step.outcome == "sends"
            self.lost += step.outcome == "lost"
            if step.outcome != "lost":
                self._add_kinds(step, dues[step.due_ms // 1])

    def _add_kinds(self, step, steps_of_its_time):
        """Of the steps that are sent or deliberately skipped."""
        kinds = {
            "with macros": step.has_macros, "cut": step.is_cut,
            "equal due times above 0": steps_of_its_time > 1, "skipped": step.outcome == "skipped",
        }
        self.kinds["at least one of these"] += any(kinds.values())
        kinds["sent where no receiver hears it"] = step.outcome == "sends" and not step.is_heard
        self.kinds.update(kind for kind, applies in kinds.items() if applies)

    def text(self):
        sent_or_skipped = max(1, self.steps - self.lost)
        lines = [
            f"rounds {self.rounds} (void files {self.void_files}), daemons started {self.daemons}",
            f"triggers {self.triggers}, events found {self.events}, steps {self.steps} (lost {self.lost})",
            f"sends planned {self.sends}, arrivals compared {self.compared} of {self.arrivals}",
            *(f"  {kind}: {number} ({100 * number / sent_or_skipped:.0f} % of what is sent or skipped)"
              for kind, number in self.kinds.most_common()),
            f"events that do not run: {dict(self.outcomes)}",
        ]
        if self.margins_ms:
            lines.append(f"nearest to its window's end: {min(self.margins_ms):.1f} ms before it")
        if self.lags_ms:
            lines.append(f"most uneven step: {max(self.lags_ms):.1f} ms")
        lines.append(f"runs repeated because of uneven steps {self.repeated}")
        return "\n".join(lines + [f"differences {self.differences}"])


class Run:
    """Rounds in their order, in as few sessions as they fit."""

    def __init__(self, seed, reduce=False, patient=False, say=print):
        self.counts = Counts()
        self._seed = seed
        self._reduce = reduce
        self._patient = patient  # waits once until stale events are really gone
        self._has_stale = False
        self._say = say
        self._session = None
        self._last_round = None
        self.failures = []

    def rounds(self, numbers):
        try:
            for number in numbers:
                self._one(make_round(self._seed, number))
            self._look_a_last_time()
        finally:
            self._end_session()

    def _one(self, one_round):
        observation, differences = self._observe(one_round)
        for _ in range(REPEATS):
            if not differences or not all(difference.uneven for difference in differences):
                break
            self._say("\n".join([f"-- round {one_round.number} runs again", *map(str, differences)]))
            self.counts.repeated += 1
            before = {difference.uneven for difference in differences}
            observation, differences = self._observe(one_round)
            # A wrong time is wrong every time.
            differences = [one for one in differences if not one.uneven or one.uneven in before]
        if differences:
            self._fail(one_round, observation, differences)

    def _observe(self, one_round):
        try:
            self._session_for(one_round)
            self._last_round = one_round
            observation = self._session.run(one_round)
        except AssertionError as error:
            raise AssertionError(f"seed {self._seed}, round {one_round.number}: {error}") from error
        differences, result = differences_of(observation)
        self.counts.add(observation, result)
        self._has_stale |= "stale" in observation.event_outcomes()
        return observation, differences

    def _session_for(self, one_round):
        if self._session is not None and self._session.fits(one_round):
            return
        self._look_a_last_time()
        self._end_session()
        self._session = Session(one_round)
        self._has_stale = False
        self.counts.daemons += 1

    def _look_a_last_time(self):
        """Nothing may come behind the last round's windows either."""
        if self._session is None:
            return
        waits = self._patient and self._has_stale
        time.sleep(STALE_AFTER_S if waits else LAST_LOOK_S)
        self._patient = self._patient and not waits
        late = self._session.new_arrivals()
        if late:
            place = f"seed {self._seed}, round {self._last_round.number}"
            self._note_failure(f"{place}: NOT PLANNED, behind all windows: {late}", len(late))

    def _end_session(self):
        session, self._session = self._session, None
        if session is not None:
            session.end()

    def _fail(self, one_round, observation, differences):
        self._note_failure(failure_text(one_round, observation, differences), len(differences))
        if self._reduce:
            self._end_session()
            kinds = {str(difference).split(" ")[0] for difference in differences}
            self._say(reduced(one_round, lambda smaller: _differences_alone(smaller, kinds), self._say))

    def _note_failure(self, text, number):
        self.counts.differences += number
        self.failures.append(text)
        self._say(text)


def differences_of(observation):
    result = compare(expected_sends(observation.predictions), observation.arrivals)
    log_differences = compare_event_log(observation.predictions, observation.event_log)
    return observation.remarks + result.differences + log_differences, result


def _differences_alone(one_round, kinds):
    """A round's differences of these kinds in a session of its own."""
    session = Session(one_round)
    try:
        differences = differences_of(session.run(one_round))[0]
        return [difference for difference in differences if str(difference).split(" ")[0] in kinds]
    finally:
        session.end()


def failure_text(one_round, observation, differences):
    lines = [
        f"== seed {one_round.seed}, round {one_round.number}: {len(differences)} differences",
        f"world {one_round.world}, status items {one_round.items!r}, then {one_round.short_items!r}",
        *file_text("settings", one_round.settings),
    ]
    if one_round.tests:
        lines += file_text("test settings", one_round.test_settings)
    lines += ["-- planned"]
    for prediction in observation.predictions:
        lines += _prediction_lines(prediction)
    lines += ["-- arrived"] + [shortened(str(arrival)) for arrival in observation.arrivals]
    return "\n".join(lines + ["-- differences", *map(str, differences)])


def file_text(title, lines):
    return [f"-- {title}"] + [shortened(repr(line)) for line in lines]


def shortened(text):
    return text if len(text) <= SHOWN else f"{text[:SHOWN]}... ({len(text)} characters)"


def _prediction_lines(prediction):
    trigger = prediction.trigger
    lines = [
        f"{trigger.request!r} test={trigger.given.test} off={trigger.given.switch} sent {trigger.sent_ns}"
        f" echoed {trigger.echoed_ns} clocks {trigger.clocks} uptimes {trigger.uptimes}"
    ]
    for execution in prediction.executions:
        lines.append(f"  {execution.name}: {execution.outcome}")
        lines += [
            shortened(
                f"    {step.number} {step.outcome} {step.reason or ''} {step.protocol} {step.to}"
                f" {step.earliest_ms}..{step.latest_ms} ms {sorted(step.alternatives)}"
            )
            for step in execution.steps
        ]
    return lines
