"""The executor's decisions, its event log lines and what it hands to a sender."""

from c_numbers import strtol, to_int32, to_int64
from c_strings import equal_ignoring_case, up_to_zero

STALE_AFTER_NS = 60000000000
SLOT_IP_CHARACTERS = 63
SLOT_DATA_CHARACTERS = 103
SAME_DELAY_SPACING_NS = 100000


def record_action(t_ns_cread, t_ns_exec, has_run, now):
    if t_ns_exec == 0 or t_ns_cread == 0:
        return "invalid"
    if to_int64(t_ns_cread + STALE_AFTER_NS) < now:
        return "stale"
    if has_run == 1:
        return "had_run"
    if max(t_ns_exec, t_ns_cread) > now:
        return "keep"
    return "run"


def is_cable_event(name):
    return equal_ignoring_case(name, b"DVIConnected") or equal_ignoring_case(name, b"DVIDisconnected")


def step_action(name, test, window_over, enable):
    if window_over == 0 and test == 0:
        if is_cable_event(name):
            return "power_on_skip"
        return "send" if enable else "disabled_skip"
    if enable or test == 1:
        return "send"
    return "disabled_skip"


def sent_line(step):
    return b"%s:%s %s %s\n" % (step.ip, step.port, step.protocol, up_to_zero(step.data))


def skip_line(step, uptime):
    return b"skip uptime=%d,%s:%s %s %s\n" % (
        uptime, step.ip, step.port, step.protocol, up_to_zero(step.data))


def disabled_line(step, uptime):
    return b"%s:%s %s %s, disabled uptime=%d\n" % (
        step.ip, step.port, step.protocol, up_to_zero(step.data), uptime)


def choose_sender(protocol):
    """The words are searched with regard to case; TCP wins over UDP."""
    if b"Status" in protocol:
        if b"TCP" in protocol:
            return "tcp_status"
        if b"UDP" in protocol:
            return "udp_status"
        return "none"
    if b"TCP" in protocol:
        return "tcp"
    if b"UDP" in protocol:
        return "udp"
    return "none"


def port_number(port, long_bits=64):
    return to_int32(strtol(port, 10, long_bits))


def slot_ip(ip):
    return up_to_zero(ip)[:SLOT_IP_CHARACTERS]


def slot_data(sender, data):
    """The status senders get no data of the step."""
    if sender not in ("tcp", "udp"):
        return b""
    return up_to_zero(data)[:SLOT_DATA_CHARACTERS]


def due_times(delays):
    """Nanoseconds from the event's execution to each step's send.

    A delay of 0 or less is at once. Steps with the same later delay keep their order by going 100 us apart.
    """
    due = []
    last_of_delay = {}
    for delay in delays:
        if delay <= 0:
            due.append(0)
            continue
        if delay in last_of_delay:
            time = last_of_delay[delay] + SAME_DELAY_SPACING_NS
        else:
            time = delay
        last_of_delay[delay] = time
        due.append(time)
    return due
