"""Rotation: each logging statement counts its own writes and renames the log at its 20000th.

With the feature switched off a request costs two messages, the one that shows
the request and the one that shows the reply, and nothing else. The reply to an
unknown command is not shown, so it costs the first one only: with a few of
those the two statements reach their limits at different requests. One long
history of requests is recorded once; each test looks at one moment of it.
"""

import pytest

from harness import LOG, ROTATED_LOG, Device, request, text_of

LIMIT = 20000
LEAD = 10
FAILED = 5
EARLIER_RUN = "an earlier run\n" * LIMIT

RECEIVED = "[handle_tcp_event:1434] Recv[1]:key=x,value=x"
REPLIED = "[handle_tcp_event:1461] send() Event Disabled, skip x\n"
EXCHANGE = RECEIVED + REPLIED


class Moment:
    """The two files as they stood after a request."""

    def __init__(self):
        self.log = text_of(LOG) if LOG.is_file() else None
        self.rotated = text_of(ROTATED_LOG) if ROTATED_LOG.is_file() else None


def ask(count):
    for _ in range(count):
        assert request(b"x") == b"Event Disabled, skip x"


def record(device):
    """Drives both statements over their limits; returns the moments that matter by name."""
    moments = {}
    LOG.write_text(EARLIER_RUN)
    ROTATED_LOG.write_text("an older generation\n")
    device.start_status_service()
    device.start_daemon().wait_for_supervision()
    for _ in range(LEAD):
        request(b"__X__:")

    aside = LOG.with_name("aside")
    LOG.rename(aside)
    LOG.mkdir()
    ask(FAILED)
    LOG.rmdir()
    aside.rename(LOG)

    ask(LIMIT - LEAD - 1)
    moments["before the first limit"] = Moment()
    ask(1)
    moments["first limit"] = Moment()
    ask(1)
    moments["after the first limit"] = Moment()
    ask(LEAD - 2)
    moments["before the second limit"] = Moment()
    ROTATED_LOG.unlink()
    ROTATED_LOG.mkdir()
    ask(1)
    moments["second limit"] = Moment()
    ROTATED_LOG.rmdir()
    ask(1)
    moments["after the second limit"] = Moment()
    return moments


@pytest.fixture(scope="module")
def history():
    device = Device()
    moments = record(device)
    yield moments
    device.end()


def test_two_statements_below_their_limits_leave_the_log(history):
    moment = history["before the first limit"]
    assert moment.log.startswith(EARLIER_RUN)
    # Fewer than 20000 writes each, nearly 40000 together.
    assert moment.log.count("[handle_tcp_event:1434] Recv[") == LIMIT - 1
    assert moment.log.count("[handle_tcp_event:1461] send() ") == LIMIT - LEAD - 1
    assert moment.rotated == "an older generation\n"


def test_the_20000th_write_of_a_statement_renames_the_log_with_that_message(history):
    before = history["before the first limit"]
    assert history["first limit"].rotated == before.log + RECEIVED


def test_an_older_generation_is_replaced(history):
    assert "an older generation\n" not in history["first limit"].rotated


def test_the_next_message_makes_a_fresh_log(history):
    assert history["first limit"].log == REPLIED


def test_the_statement_that_rotated_writes_on_without_another_rotation(history):
    assert history["after the first limit"].log == REPLIED + EXCHANGE
    assert history["after the first limit"].rotated == history["first limit"].rotated


def test_the_other_statement_keeps_its_own_count(history):
    moment = history["before the second limit"]
    assert moment.log == REPLIED + EXCHANGE * (LEAD - 1)
    assert moment.rotated == history["first limit"].rotated


def test_a_rename_that_fails_leaves_the_log(history):
    assert history["second limit"].log == history["before the second limit"].log + EXCHANGE
    assert history["second limit"].rotated is None


def test_a_rename_that_fails_restarts_the_count_all_the_same(history):
    assert history["after the second limit"].log == history["second limit"].log + EXCHANGE
    assert history["after the second limit"].rotated is None
