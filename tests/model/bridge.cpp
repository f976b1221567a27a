// Answers the model's questions by the daemon's own functions: a JSON object a line on
// standard input, one a line on standard output; byte strings are lower-case hex.

#include "core/client_mode.h"
#include "core/file.h"
#include "core/text_cut.h"
#include "events/build_event_list.h"
#include "events/event_list_text.h"
#include "events/expand_data.h"
#include "events/status_reply.h"
#include "execution/decide.h"
#include "execution/due_times.h"
#include "execution/event_log.h"
#include "execution/outgoing.h"
#include "execution/stamp_record.h"
#include "net/command_request.h"
#include "settings/mirrors.h"
#include "settings/settings_file.h"

#include <algorithm>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <string_view>

namespace ruvo::test {
namespace {

using Json = nlohmann::json;

std::string hex_of(std::string_view bytes) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::string hex;
    for (const char byte : bytes) {
        hex += kDigits[static_cast<unsigned char>(byte) / 16];
        hex += kDigits[static_cast<unsigned char>(byte) % 16];
    }
    return hex;
}

std::string bytes_of(const Json& hex) {
    const auto text = hex.get<std::string>();
    std::string bytes;
    for (std::size_t i = 0; i + 1 < text.size(); i += 2) {
        bytes += static_cast<char>(std::stoi(text.substr(i, 2), nullptr, 16));
    }
    return bytes;
}

// What a stdio stream makes of these bytes.
UniqueFile as_file(std::string& bytes) {
    // An empty buffer is none to fmemopen.
    if (bytes.empty()) return UniqueFile(std::fopen("/dev/null", "re"));
    return UniqueFile(::fmemopen(bytes.data(), bytes.size(), "r"));
}

EventDefinitions records_of(const Json& request) {
    std::string bytes = bytes_of(request.at("file"));
    return read_settings(as_file(bytes).get());
}

// A line as it reaches a file: written as a C text.
std::string as_written(const std::string& line) { return std::string(until_zero(line)); }

Json answer_records(const Json& request) {
    Json records = Json::array();
    for (const EventDefinition& d : records_of(request)) {
        records.push_back(
            {d.kind, hex_of(d.name), hex_of(d.field), hex_of(d.index), hex_of(d.value)});
    }
    return {{"records", records}};
}

Json fields_of(const SubCommand& step) {
    return {{"ip", hex_of(step.ip)},
            {"port", hex_of(step.port)},
            {"protocol", hex_of(step.protocol)},
            {"data", hex_of(step.data)},
            {"delayNs", step.delayNs},
            {"delayFromExecNs", step.delayFromExecNs}};
}

Json fields_of(const EventEntry& entry) {
    Json steps = Json::array();
    for (const SubCommand& step : entry.subCommands) steps.push_back(fields_of(step));
    return {{"name", hex_of(entry.name)},
            {"xmlField", hex_of(entry.xmlField)},
            {"delay", entry.delay},
            {"steps", steps}};
}

Json answer_event_list(const Json& request) try {
    Json entries = Json::array();
    std::string text;
    for (const EventEntry& entry : build_event_list(records_of(request))) {
        entries.push_back(fields_of(entry));
        text += as_written(event_list_line(entry));
    }
    return {{"entries", entries}, {"text", hex_of(text)}};
} catch (const std::invalid_argument&) {
    return {{"error", "invalid_argument"}};
} catch (const std::out_of_range&) {
    return {{"error", "out_of_range"}};
}

Json answer_mirrors(const Json& request) {
    std::string ascii;
    std::string dump;
    for (const EventDefinition& definition : records_of(request)) {
        ascii += as_written(ascii_mirror_line(definition));
        dump += as_written(raw_dump_line(definition));
    }
    return {{"ascii", hex_of(ascii)}, {"dump", hex_of(dump)}};
}

Json answer_expand(const Json& request) {
    StatusVariables variables;
    for (const Json& pair : request.at("variables")) {
        variables.emplace_back(bytes_of(pair.at(0)), bytes_of(pair.at(1)));
    }
    MacroValues values;
    values.status_variables = std::make_shared<const StatusVariables>(std::move(variables));
    const auto time = request.at("time").get<std::array<int, 6>>();
    values.local_time.tm_year = time[0] - 1900;
    values.local_time.tm_mon = time[1] - 1;
    values.local_time.tm_mday = time[2];
    values.local_time.tm_hour = time[3];
    values.local_time.tm_min = time[4];
    values.local_time.tm_sec = time[5];
    values.uptime_s = request.at("uptime").get<std::int64_t>();
    return {{"data", hex_of(expand_data(bytes_of(request.at("data")), values))}};
}

Json answer_status(const Json& request) {
    std::string report = bytes_of(request.at("report"));
    Json pairs = Json::array();
    for (const auto& [name, value] : read_status_report(as_file(report).get())) {
        pairs.push_back({hex_of(name), hex_of(value)});
    }
    return {{"pairs", pairs}};
}

Json answer_client(const Json& request) {
    std::string text(until_zero(bytes_of(request.at("reply"))));
    std::replace(text.begin(), text.end(), '\r', '\n');
    std::string printed;
    for (const auto& [key, value] : parse_status_reply(text)) printed += key + "=" + value + "\n";
    return {{"text", hex_of(printed)}};
}

Json answer_request(const Json& request) {
    const std::string received = bytes_of(request.at("request"));
    const CommandRequest split = split_request(request_text(received));
    Json answer{{"key", hex_of(split.key)},
                {"value", hex_of(split.value)},
                {"command", is_command(split)},
                {"trigger", nullptr},
                {"reply", ""},
                {"lookups", 0}};
    if (is_command(split)) return answer;
    if (request.at("enabled") == 0) {
        answer["reply"] = hex_of(disabled_reply(split));
        return answer;
    }
    const std::string trigger = trigger_text(split);
    answer["trigger"] = hex_of(trigger);
    answer["reply"] = hex_of(queued_reply(trigger, 0));
    answer["lookups"] = count_lines(trigger);
    return answer;
}

Json answer_record(const Json& request) {
    EventEntry record;
    record.t_ns_cread = request.at("created");
    record.t_ns_exec = request.at("due");
    record.has_run = request.at("has_run");
    static const std::map<RecordAction, const char*> kNames{{RecordAction::kDropInvalid, "invalid"},
                                                            {RecordAction::kDropStale, "stale"},
                                                            {RecordAction::kDropHadRun, "had_run"},
                                                            {RecordAction::kKeep, "keep"},
                                                            {RecordAction::kRun, "run"}};
    return {{"action", kNames.at(decide_record(record, request.at("now")))}};
}

Json answer_step(const Json& request) {
    EventEntry record;
    record.name = bytes_of(request.at("name"));
    record.test = request.at("test");
    const Switches switches{.power_on_window_over = request.at("window_over") != 0,
                            .enabled = request.at("enable") != 0};
    static const std::map<StepAction, const char*> kNames{
        {StepAction::kPowerOnSkip, "power_on_skip"},
        {StepAction::kDisabledSkip, "disabled_skip"},
        {StepAction::kSend, "send"}};
    return {{"action", kNames.at(decide_step(record, switches))}};
}

Json answer_outgoing(const Json& request) {
    SubCommand step;
    step.ip = bytes_of(request.at("ip"));
    step.port = bytes_of(request.at("port"));
    step.protocol = bytes_of(request.at("protocol"));
    step.data = bytes_of(request.at("data"));
    const Outgoing out = outgoing(step);
    const auto uptime_s = request.at("uptime").get<std::int64_t>();
    static const std::map<Sender, const char*> kNames{{Sender::kNone, "none"},
                                                      {Sender::kUdp, "udp"},
                                                      {Sender::kTcp, "tcp"},
                                                      {Sender::kUdpStatus, "udp_status"},
                                                      {Sender::kTcpStatus, "tcp_status"}};
    return {{"sender", kNames.at(out.sender)},
            {"ip", hex_of(out.ip)},
            {"port", out.port},
            {"data", hex_of(out.data)},
            {"sent_line", hex_of(sent_line(step))},
            {"skip_line", hex_of(power_on_skip_line(step, uptime_s))},
            {"disabled_line", hex_of(disabled_line(step, uptime_s))}};
}

Json answer_due(const Json& request) {
    std::vector<SubCommand> steps;
    for (const Json& delay : request.at("delays")) {
        steps.emplace_back().delayFromExecNs = delay.get<std::int64_t>();
    }
    Json due = Json::array();
    for (const auto time : due_times(steps)) due.push_back(time.count());
    return {{"due", due}};
}

Json answer(const Json& request) {
    static const std::map<std::string, std::function<Json(const Json&)>> kAnswers{
        {"records", answer_records}, {"event_list", answer_event_list},
        {"mirrors", answer_mirrors}, {"expand", answer_expand},
        {"status", answer_status},   {"client", answer_client},
        {"request", answer_request}, {"record", answer_record},
        {"step", answer_step},       {"outgoing", answer_outgoing},
        {"due", answer_due}};
    return kAnswers.at(request.at("op"))(request);
}

}  // namespace
}  // namespace ruvo::test

int main() {
    for (std::string line; std::getline(std::cin, line);) {
        std::cout << ruvo::test::answer(nlohmann::json::parse(line)) << std::endl;
    }
}
