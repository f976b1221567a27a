#include "execution/decide.h"

#include <gtest/gtest.h>

namespace ruvo {
namespace {

constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::int64_t kNow = 100 * kSecond;

TEST(PassInterval, IsAQuarterOfASecond) { EXPECT_EQ(kPassInterval.count(), 250); }

TEST(DecideRecord, ChecksTimesThenAgeThenStateThenDueTime) {
    struct Case {
        std::int64_t created;
        std::int64_t due;
        std::int32_t has_run;
        RecordAction expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {0, 0, 0, RecordAction::kDropInvalid, "no times"},
        {0, kNow, 0, RecordAction::kDropInvalid, "no creation time"},
        {kNow, 0, 0, RecordAction::kDropInvalid, "no due time"},
        {1, 0, 1, RecordAction::kDropInvalid, "a missing time comes before all else"},
        {kNow, kNow, 0, RecordAction::kRun, "due at this moment"},
        {kNow - 1, kNow - 1, 0, RecordAction::kRun, "due a moment ago"},
        {kNow, kNow + 1, 0, RecordAction::kKeep, "due in a moment"},
        {kNow - kSecond, kNow + kSecond, 0, RecordAction::kKeep, "due in a second"},
        {kNow + 1, kNow, 0, RecordAction::kKeep, "the later of the two times counts"},
        {kNow, kNow - kSecond, 0, RecordAction::kRun, "due before its creation: a negative delay"},
        {kNow, -1, 0, RecordAction::kRun, "a negative due time is a time"},
        {40 * kSecond, 40 * kSecond, 0, RecordAction::kRun, "60 s old is not stale"},
        {40 * kSecond - 1, kNow, 0, RecordAction::kDropStale, "a nanosecond more is"},
        {1, 200 * kSecond, 0, RecordAction::kDropStale, "stale though not yet due"},
        {1, 1, 1, RecordAction::kDropStale, "stale comes before its state"},
        {kNow, kNow, 1, RecordAction::kDropHadRun, "has run"},
        {kNow, kNow + kSecond, 1, RecordAction::kDropHadRun, "has run though not yet due"},
        {kNow, kNow, 2, RecordAction::kRun, "a skipped step does not count as run"},
        {-59 * kSecond + kNow, -1, 0, RecordAction::kRun, "59 s old"},
    };
    for (const Case& c : kCases) {
        const EventEntry record{"E", "E", c.created, c.due, {}, c.has_run, 0, 0};
        EXPECT_EQ(decide_record(record, kNow), c.expected) << c.why;
    }
}

TEST(DueNs, IsNeverBeforeTheRecordWasQueued) {
    EventEntry record;
    record.t_ns_cread = 5;
    record.t_ns_exec = 7;
    EXPECT_EQ(due_ns(record), 7);
    record.t_ns_exec = 3;
    EXPECT_EQ(due_ns(record), 5);
}

TEST(DecideRecord, KnowsAStaleRecordCreatedBeforeTheZeroOfItsClock) {
    const EventEntry record{"E", "E", -kSecond, -kSecond, {}, 0, 0, 0};
    EXPECT_EQ(decide_record(record, 59 * kSecond), RecordAction::kRun);
    EXPECT_EQ(decide_record(record, 59 * kSecond + 1), RecordAction::kDropStale);
}

TEST(DecideStep, DecidesByNameWindowSwitchAndTest) {
    constexpr StepAction kSkip = StepAction::kPowerOnSkip;
    constexpr StepAction kOff = StepAction::kDisabledSkip;
    constexpr StepAction kSend = StepAction::kSend;
    struct Case {
        const char* name;
        bool over;
        bool enabled;
        std::int32_t test;
        StepAction expected;
        const char* why;
    };
    constexpr Case kCases[] = {
        {"DVIConnected", false, true, 0, kSkip, "plugged in during power-on"},
        {"DVIDisconnected", false, true, 0, kSkip, "plugged out during power-on"},
        {"dviconnected", false, true, 0, kSkip, "whatever the case"},
        {"DVIDISCONNECTED", false, true, 0, kSkip, "whatever the case"},
        {"DVIConnected", false, false, 0, kSkip, "the power-on rule comes before the switch"},
        {"DVIConnected", false, true, 1, kSend, "a test event is sent during power-on"},
        {"DVIConnected", false, false, 1, kSend, "with the switch off as well"},
        {"DVIConnected", true, true, 0, kSend, "after power-on"},
        {"DVIConnected", true, false, 0, kOff, "after power-on, switched off"},
        {"DVIConnected", true, false, 1, kSend, "after power-on, a test event"},
        {"DVIConnected2", false, true, 0, kSend, "a longer name is another event"},
        {"DVIConnecte", false, true, 0, kSend, "a shorter name is another event"},
        {" DVIConnected", false, true, 0, kSend, "a blank makes another event"},
        {"PowerOn", false, true, 0, kSend, "other events are sent during power-on"},
        {"PowerOn", false, false, 0, kOff, "when the switch is on"},
        {"PowerOn", false, false, 1, kSend, "or for a test"},
        {"PowerOn", true, true, 0, kSend, "after power-on"},
        {"PowerOn", true, false, 0, kOff, "after power-on, switched off"},
        {"PowerOn", true, true, 1, kSend, "a test event with the switch on"},
        {"", false, true, 0, kSend, "an event without a name"},
        {"PowerOn", true, false, 2, kOff, "only 1 marks a test event that the switch lets pass"},
        {"DVIConnected", false, true, 2, kSend, "but any mark passes the power-on rule"},
    };
    for (const Case& c : kCases) {
        const EventEntry record{c.name, "xml", 1, 1, {}, 0, 0, c.test};
        const Switches switches{.power_on_window_over = c.over, .enabled = c.enabled};
        EXPECT_EQ(decide_step(record, switches), c.expected) << c.name << ": " << c.why;
    }
}

TEST(DecideStep, LooksAtTheNameNotAtTheXmlField) {
    const Switches during_power_on{.power_on_window_over = false, .enabled = true};
    const EventEntry named{"DVIConnected", "Lamp", 1, 1, {}, 0, 0, 0};
    const EventEntry answering{"Lamp", "DVIConnected", 1, 1, {}, 0, 0, 0};
    EXPECT_EQ(decide_step(named, during_power_on), StepAction::kPowerOnSkip);
    EXPECT_EQ(decide_step(answering, during_power_on), StepAction::kSend);
}

}  // namespace
}  // namespace ruvo
