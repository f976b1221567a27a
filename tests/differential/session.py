"""The real daemon in the test's private world: takes rounds, and tells what arrived."""

import dataclasses
import datetime
import json
import math
import os
import re
import time

import harness
import step_values
from comparison import NS_PER_MS, TOLERANCE_MS, Arrival, Difference
from harness import EVENT_LOG, STATE, TEST_SETTINGS, VARIABLES, text_of, wait_until
from prediction import Given, Prediction, Predictor, Trigger

VOIDED = "rebuild_ruvo_event_list(): stoul\n"

# The supervision loop measures once a second, and sleeps 200 ms between two looks.
UPTIME_AGE_S = 1.3

# A session in the power-on window ends well before the window does.
LAST_UPTIME_IN_WINDOW_S = 100

# As late as an event without a delay may be; it is waited for even when none is planned.
LATEST_OF_UNDELAYED_MS = 350

REQUEST_BYTES = 1023  # as many as the command port reads

NO_SUCH_EVENT = b"no event has this name\n"


@dataclasses.dataclass
class Observation:
    """What one round has shown."""

    predictions: list[Prediction]
    arrivals: list[Arrival]
    event_log: bytes
    remarks: list[Difference]  # differences that are no matter of arrivals
    is_void: bool  # the daemon goes by an earlier file

    def event_outcomes(self):
        return {execution.outcome for prediction in self.predictions for execution in prediction.executions}


class Session:
    """One run of the daemon, and the receiver and the status service beside it."""

    def __init__(self, first_round):
        self._device = harness.Device()
        self._world = first_round.world
        self._files = 0
        self._arrivals_read = 0
        self._event_log_read = 0
        self._remarks = []
        self.predictor = Predictor(os.environ["RUVO_CTL"])
        try:
            self._start(first_round)
        except BaseException:
            self.end()
            raise

    def end(self):
        self._device.end()

    def fits(self, one_round):
        """Whether the round can run here, or needs a daemon of its own."""
        if one_round.fresh or one_round.world != self._world:
            return False
        if not self._world.in_window:
            return True
        return self._uptime_at(time.monotonic_ns()) < LAST_UPTIME_IN_WINDOW_S

    def run(self, one_round):
        """Runs a round that fits."""
        if not one_round.fresh:
            self._write_items(one_round.items)
            self._sync_items(one_round.items)
            self._change_settings(one_round.settings_before)
            self._change_settings(one_round.settings)
        given = self._given(one_round)
        predictions = self._run_normally(one_round, given)
        self._wait_for_windows(predictions)
        if one_round.late_requests:
            predictions += self._run_with_switch_off(one_round, given)
            self._wait_for_windows(predictions)
        remarks, self._remarks = self._remarks, []
        return Observation(predictions, self.new_arrivals(), self._new_event_log(), remarks, self._is_void)

    # Starting

    def _start(self, first_round):
        self._start_receiver()
        self._device.enable()
        self._write_items(first_round.items)
        if self._world.service != "none":
            self._device.start_status_service()
        settings = first_round.settings if first_round.fresh else first_round.settings_before
        self._device.write_settings(b"".join(settings))
        self._daemon = self._device.start_daemon(uptime_s=self._world.uptime_s)
        if self._world.service == "full":
            self._wait_for_the_first_measurement()
        else:
            self._daemon.wait_for_output(r"wait getStatus\.\.\.1\n")
        empty = self._copy(b"")
        self._effective = self._effective_after(settings, self._builds()[1] > 0, empty)

    def _wait_for_the_first_measurement(self):
        """The uptime is 0 until a second begins while the daemon supervises."""
        self._daemon.wait_for_supervision()
        second = int(time.time())
        wait_until(lambda: int(time.time()) > second, "a second begins")
        self._daemon.wait_for_passes(1)

    def _start_receiver(self):
        self._record = STATE / "arrivals.json"
        ports = [f"0.0.0.0:{port}" for port in step_values.PORTS]
        listen = [word for port in ports for word in ("--udp", port, "--tcp", port)]
        output = STATE / "receiver.out"
        with open(output, "wb") as stdout:
            self._device.start(
                [harness.DEVKIT / "ruvo-receiver", "--json", "--record", self._record, *listen],
                stdout=stdout,
            )
        wait_until(lambda: text_of(output).startswith("ready"), "the receiver listens")

    # Settings and status items

    def _builds(self):
        """How often the daemon has built its list, and how often it has failed to."""
        output = self._daemon.output()
        return output.count(harness.RELOADED), output.count(VOIDED)

    def _change_settings(self, lines):
        before = self._builds()
        self._device.replace_settings(b"".join(lines))
        wait_until(lambda: sum(self._builds()) > sum(before), "the daemon takes the new settings")
        self._effective = self._effective_after(lines, self._builds()[1] > before[1], self._effective)

    def _effective_after(self, lines, voided, previous):
        """The file that the daemon goes by from now on; a void one leaves it with the previous."""
        new = self._copy(b"".join(lines))
        self._is_void = voided
        planned = self.predictor.void(new)
        if voided != (planned is not None):
            taken = "gives up" if voided else "takes"
            self._remarks.append(Difference(f"VOID: the daemon {taken} the file; planned: {planned}"))
        return previous if voided else new

    def _copy(self, text):
        self._files += 1
        path = STATE / f"given{self._files}.txt"
        path.write_bytes(text)
        return path

    def _write_items(self, items):
        (STATE / "status_items.txt").write_bytes(items)

    def _sync_items(self, items):
        """Makes the daemon take the items over; its mirror shows their serial number."""
        serial = re.search(rb"serial:(.*)\n", items)[1].decode()

        def is_taken():
            harness.request(NO_SUCH_EVENT)
            return f"serial={serial}\n" in text_of(VARIABLES)

        wait_until(is_taken, f"the status items {serial} are taken over")

    def _given(self, one_round):
        """What plans are told of the world; a short answer changes nothing but reports."""
        status = None if self._world.service == "none" else self._copy(one_round.items)
        report = None
        if one_round.short_items is not None:
            self._write_items(one_round.short_items)
            report = one_round.short_items.replace(b"\n", b"\r")
        return Given(settings=self._effective, status=status, report=report)

    # Triggers

    def _run_normally(self, one_round, given):
        triggers = [self._trigger(request, given) for request in one_round.requests]
        if one_round.tests:
            test_settings = self._write_test_settings(one_round.test_settings)
            test_given = dataclasses.replace(given, settings=test_settings, test=True)
            triggers += [self._trigger(name, test_given) for name in one_round.tests]
        return [self._predict(trigger) for trigger in triggers]

    def _write_test_settings(self, lines):
        self._device.write_settings(b"".join(lines), TEST_SETTINGS)
        return self._copy(b"".join(lines))

    def _run_with_switch_off(self, one_round, given):
        """Some events are due when the switch is off, others are triggered then."""
        caught = dataclasses.replace(given, switch="run")
        triggers = [self._trigger(request, caught) for request in one_round.late_requests]
        harness.request(b"__SET__:network.ruvo.enable=0")
        refused = dataclasses.replace(given, switch="trigger")
        triggers += [self._trigger(request, refused) for request in one_round.refused_requests]
        predictions = [self._predict(trigger) for trigger in triggers]
        self._wait_for_windows(predictions)
        harness.request(b"__SET__:network.ruvo.enable=1")
        return predictions


    def _trigger(self, request, given):
        sent_ns, sent_s = time.monotonic_ns(), time.time()
        reply = harness.request(b"__TEST__:" + request if given.test else request)
        echoed_ns, echoed_s = time.monotonic_ns(), time.time()
        return Trigger(
            request=request, given=given, sent_ns=sent_ns, echoed_ns=echoed_ns, reply=reply,
            clocks=_clock_readings(sent_s, echoed_s), uptimes=self._uptimes(sent_ns, echoed_ns),
        )

    def _predict(self, trigger):
        prediction = self.predictor.predict(trigger)
        reply = prediction.reply
        # What is not read of a long request resets the connection, and the reply with it.
        is_whole = len(trigger.request) <= REQUEST_BYTES
        if reply is not None and is_whole and reply != trigger.reply:
            text = f"REPLY to {trigger.request!r}: planned {reply!r}, got {trigger.reply!r}"
            self._remarks.append(Difference(text))
        return prediction

    # Clocks

    def _uptimes(self, begin_ns, end_ns):
        """Every uptime that the daemon may have measured for this time."""
        if self._world.service != "full":
            return (0,)  # not measured yet
        first = self._uptime_at(begin_ns - int(UPTIME_AGE_S * 1e9))
        return tuple(range(first, self._uptime_at(end_ns) + 1))

    def _uptime_at(self, monotonic_ns):
        """The daemon's uptime as the system tells it: begun seconds count."""
        boot_ns = time.clock_gettime_ns(time.CLOCK_BOOTTIME) - time.monotonic_ns() + monotonic_ns
        offset_ns = _boot_offset_ns(self._daemon.main_pid()) - _boot_offset_ns("self")
        return math.ceil((boot_ns + offset_ns) / 1e9)

    # What came of it

    def _wait_for_windows(self, predictions):
        ends = [
            prediction.trigger.echoed_ns + (max(_latest_ms(prediction)) + TOLERANCE_MS) * NS_PER_MS
            for prediction in predictions
        ]
        end_ns = max(ends, default=0)
        wait_until(lambda: time.monotonic_ns() > end_ns, "all windows are over")

    def new_arrivals(self):
        lines = text_of(self._record).splitlines()
        new, self._arrivals_read = lines[self._arrivals_read :], len(lines)
        return [
            Arrival(arrival["time_ns"], arrival["protocol"], arrival["to"], bytes.fromhex(arrival["hex"]))
            for arrival in map(json.loads, new)
        ]

    def _new_event_log(self):
        text = text_of(EVENT_LOG).encode("latin-1")
        new, self._event_log_read = text[self._event_log_read :], len(text)
        return new


def _latest_ms(prediction):
    steps = [step for execution in prediction.executions for step in execution.steps]
    return [LATEST_OF_UNDELAYED_MS] + [step.latest_ms for step in steps]


def _clock_readings(begin_s, end_s):
    return tuple(
        datetime.datetime.fromtimestamp(second).strftime("%Y-%m-%d %H:%M:%S")
        for second in range(math.floor(begin_s), math.floor(end_s) + 1)
    )


def _boot_offset_ns(pid):
    """How far a process's time namespace is from the machine's own uptime."""
    match = re.search(r"boottime\s+(-?\d+)\s+(\d+)", text_of(f"/proc/{pid}/timens_offsets"))
    return int(match[1]) * 1_000_000_000 + int(match[2])
