#include "ruvoctl/plan/plan_json.h"

#include "ruvoctl/plan/local_time_text.h"
#include "ruvoctl/plan/plan_event.h"
#include "ruvoctl/status_report.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <string>

namespace ruvo::ctl {
namespace {

using Json = nlohmann::ordered_json;

World world() {
    World given;
    given.local_time = *parse_local_time("2026-11-21 03:18:38");
    given.word = WordSize::k64;
    return given;
}

constexpr char kSettings[] =
    "# a display\n"
    "DVIConnectedCount=2\n"
    "DVIConnectedDelay=1\n"
    "DVIConnectedProtocol0=UDP\n"
    "DVIConnectedIP0=10.1.2.3\n"
    "DVIConnectedPort0=5000\n"
    "DVIConnectedData0=413D7B7B74696D657D7D5C72\n"
    "DVIConnectedDelay0=250\n"
    "DVIConnectedProtocol1=tcp\n"
    "DVIConnectedIP1=host\n"
    "DVIConnectedPort1=8x\n"
    "DVIConnectedDelay1=-50\n";

// The order of the members is part of the comparison.
TEST(PlanJson, IsTheWholeDocument) {
    const Plan plan = plan_event(read_source(kSettings), world(), "DVIConnected");
    EXPECT_EQ(plan_json(plan, "ruvo.txt").dump(2), R"({
  "format": "ruvoctl.plan",
  "version": 1,
  "file": "ruvo.txt",
  "test": false,
  "word": 64,
  "void": null,
  "world": {
    "now": "2026-11-21 03:18:38",
    "uptime_s": 3600,
    "status_items": null,
    "switch": "on",
    "power_on_window": "over"
  },
  "trigger": null,
  "events": [
    {
      "name": "DVIConnected",
      "trigger": "DVIConnected",
      "line": 2,
      "delay_s": 1,
      "outcome": "runs",
      "found_instead": null,
      "found_line": null,
      "power_on_window_certain": true,
      "earliest_ms": 1000.0,
      "latest_ms": 1250.0,
      "step_count": 2,
      "steps": [
        {
          "step": 0,
          "outcome": "sends",
          "reason": null,
          "sender": "udp",
          "protocol": "UDP",
          "destination": {
            "ip": "10.1.2.3",
            "port": 5000,
            "configured_ip": "10.1.2.3",
            "configured_port": "5000",
            "ip_parsed": true
          },
          "delay_ms": 250,
          "due_ms": 250.0,
          "earliest_ms": 1250.0,
          "latest_ms": 1500.0,
          "tail_ms": 0,
          "data": {
            "hex": "413D30333A31383A33380D",
            "text": "A=03:18:38\\r"
          },
          "expanded": {
            "hex": "413D30333A31383A33380D",
            "text": "A=03:18:38\\r"
          },
          "cut_bytes": 0,
          "macros": [
            {
              "name": "time",
              "value": {
                "hex": "30333A31383A3338",
                "text": "03:18:38"
              },
              "source": "time"
            }
          ],
          "log_line": {
            "hex": "31302E312E322E333A353030302055445020413D30333A31383A33380D0A",
            "text": "10.1.2.3:5000 UDP A=03:18:38\\r\\n"
          }
        },
        {
          "step": 1,
          "outcome": "lost",
          "reason": "no-protocol",
          "sender": null,
          "protocol": "tcp",
          "destination": {
            "ip": "0.0.0.0",
            "port": 8,
            "configured_ip": "host",
            "configured_port": "8x",
            "ip_parsed": false
          },
          "delay_ms": 200,
          "due_ms": 200.0,
          "earliest_ms": 1200.0,
          "latest_ms": 1450.0,
          "tail_ms": 0,
          "data": {
            "hex": "",
            "text": ""
          },
          "expanded": {
            "hex": "",
            "text": ""
          },
          "cut_bytes": 0,
          "macros": [],
          "log_line": {
            "hex": "686F73743A387820746370200A",
            "text": "host:8x tcp \\n"
          }
        }
      ]
    }
  ],
  "summary": {
    "events": 1,
    "steps": 2,
    "sends": 1,
    "skipped": 0,
    "lost": 1
  }
})");
}

TEST(PlanJson, NamesTheLineThatVoidsTheFile) {
    const Plan plan = plan_all(read_source("ECount=1\nEIP=1\nEIP[0]=1\n"), world());
    const Json document = plan_json(plan, "-");
    EXPECT_EQ(document["file"], "-");
    EXPECT_EQ(document["void"].dump(),
              R"({"line":3,"column":4,"cause":"\"[0]\" behind EIP stands where an index is )"
              R"(expected and is no number"})");
    EXPECT_EQ(document["events"].dump(), "[]");
}

TEST(PlanJson, SaysWhatAClientGets) {
    const Plan plan = plan_request(read_source(""), world(), "a=b");
    EXPECT_EQ(plan_json(plan, "f")["trigger"].dump(),
              R"({"request":{"hex":"613D62","text":"a=b"},"text":{"hex":"610A","text":"a\\n"},)"
              R"("reply":{"hex":"610A","text":"a\\n"},"lookups":1,"command":false})");
    const Plan command = plan_request(read_source(""), world(), "__TEST__:a");
    EXPECT_EQ(plan_json(command, "f")["trigger"].dump(),
              R"({"request":{"hex":"5F5F544553545F5F3A61","text":"__TEST__:a"},"text":null,)"
              R"("reply":null,"lookups":0,"command":true})");
}

TEST(PlanJson, DescribesTheWorld) {
    World given = world();
    given.uptime_s = 120;
    given.switch_position = SwitchPosition::kOffBeforeRun;
    given.status = status_report("a:1\nb:2\n");
    given.test = true;
    given.word = WordSize::k32;
    const Json document = plan_json(plan_all(read_source(""), given), "f");
    EXPECT_EQ(document["test"], true);
    EXPECT_EQ(document["word"], 32);
    EXPECT_EQ(document["world"].dump(),
              R"({"now":"2026-11-21 03:18:38","uptime_s":120,"status_items":2,)"
              R"("switch":"off-before-run","power_on_window":"open"})");
}

TEST(PlanJson, AnEventThatDoesNotRunHasNoTimes) {
    const Plan plan =
        plan_all(read_source("ACount=3\nADelay=60\nBCount=1\nBXMLfield=A\n"), world());
    EXPECT_EQ(plan_json(plan, "f")["events"].dump(),
              R"([{"name":"A","trigger":"A","line":1,"delay_s":60,"outcome":"stale",)"
              R"("found_instead":null,"found_line":null,"power_on_window_certain":true,)"
              R"("earliest_ms":null,"latest_ms":null,"step_count":3,"steps":[]},)"
              R"({"name":"B","trigger":"A","line":3,"delay_s":0,"outcome":"unreachable",)"
              R"("found_instead":"A","found_line":1,"power_on_window_certain":true,)"
              R"("earliest_ms":null,"latest_ms":null,"step_count":1,"steps":[]}])");
}

TEST(PlanJson, AnUnknownReportIsNull) {
    const Plan plan =
        plan_all(read_source("ECount=1\nEProtocol0=TCPStatus\nEIP0=10.1.2.3\n"), world());
    const Json step = plan_json(plan, "f")["events"][0]["steps"][0];
    EXPECT_EQ(step["sender"], "tcp-status");
    EXPECT_EQ(step["tail_ms"], 8000);
    EXPECT_TRUE(step["data"].is_null());
}

TEST(PlanJson, AMacroThatTheReportDecidesIsNotGiven) {
    const SettingsSource source = read_source("ECount=1\nEData0=7B7B6E6F7D7D\n");
    World given = world();
    const auto macro = [&] {
        return plan_json(plan_all(source, given), "f")["events"][0]["steps"][0]["macros"][0].dump();
    };
    EXPECT_EQ(macro(), R"({"name":"no","value":{"hex":"","text":""},"source":"not-given"})");
    given.status = status_report("");
    EXPECT_EQ(macro(), R"({"name":"no","value":{"hex":"","text":""},"source":"unknown"})");
}

TEST(PlanJson, NamesAreADocumentOfTheirOwn) {
    EXPECT_EQ(names_json({"PowerOn", "Light\r", ""}, "ruvo.txt").dump(),
              R"({"format":"ruvoctl.names","version":1,"file":"ruvo.txt",)"
              R"("names":["PowerOn","Light\\r",""]})");
}

TEST(PlanJson, NamesAreFitForATerminal) {
    const Plan plan = plan_all(read_source("\x1B[2J\xFF\\Count=1\n"), world());
    EXPECT_EQ(plan_json(plan, "\x1B")["file"], "\\x1B");
    EXPECT_EQ(plan_json(plan, "f")["events"][0]["name"], "\\x1B[2J\\xFF\\");
}

}  // namespace
}  // namespace ruvo::ctl
