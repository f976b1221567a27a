#include "core/time_units.h"
#include "ruvoctl/check/data_checks.h"
#include "ruvoctl/check/findings.h"
#include "ruvoctl/check/known_keys.h"
#include "ruvoctl/nearest_word.h"
#include "ruvoctl/socket_destination.h"

#include "core/number_text.h"
#include "events/expand_data.h"
#include "execution/choose_sender.h"
#include "execution/due_times.h"
#include "execution/outgoing.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <map>
#include <string>

namespace ruvo::ctl {
namespace {

constexpr std::array<std::int32_t, 3> kOwnPorts = {2700, 50001, 50003};
constexpr std::int64_t kTcpTailNs = 2000 * kNsPerMs;

std::string upper_case(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char c) {
        return static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    });
    return result;
}

// An address whose numbers have leading zeros, without them; empty when it is none.
std::string without_leading_zeros(std::string_view text) {
    std::string result;
    std::size_t begin = 0;
    while (begin <= text.size()) {
        const std::size_t end = std::min(text.find('.', begin), text.size());
        std::string_view part = text.substr(begin, end - begin);
        while (part.size() > 1 && part.starts_with('0')) part.remove_prefix(1);
        if (!result.empty()) result += '.';
        result += part;
        begin = end + 1;
    }
    return is_ipv4_address(result) ? result : std::string();
}

class StepChecks {
  public:
    explicit StepChecks(Findings& findings) : findings_(findings) {}

    void run() {
        for (std::size_t i = 0; i < findings_.model.events.size(); ++i) {
            if (findings_.is_examined(i)) check_event(i);
        }
    }

  private:
    void check_event(std::size_t index) {
        entry_ = &findings_.model.list[index];
        const EventModel& event = findings_.model.events[index];
        for (std::size_t i = 0; i < event.steps.size(); ++i) {
            if (!event.steps[i].configured()) continue;
            step_index_ = static_cast<std::uint32_t>(i);
            step_ = &event.steps[i];
            command_ = &entry_->subCommands[i];
            check_step();
        }
        check_same_host(event);
    }

    void check_step() {
        sender_ = choose_sender(command_->protocol);
        check_protocol();
        const bool address = check_ip();
        const bool port = check_port();
        const SocketDestination to = socket_destination(outgoing(*command_, findings_.word));
        if (address) check_destination(to);
        if (port) check_own_port(to);
        check_data_of_step();
    }

    Diagnostic& about(Diagnostic& diagnostic) const {
        diagnostic.event = entry_->name;
        diagnostic.step = step_index_;
        return diagnostic;
    }

    Diagnostic& add_value(std::string_view id, std::size_t record, std::string cause,
                          std::string effect) {
        return about(findings_.add_value(id, record, std::move(cause), std::move(effect)));
    }

    // What becomes of a step that a protocol would send.
    std::string if_sent(const std::string& effect) const {
        return sender_ == Sender::kNone ? "with a protocol: " + effect : effect;
    }

    std::string this_step() const { return step_text(entry_->name, step_index_); }

    bool is_explained(std::string_view field) const {
        return findings_.is_explained(entry_->name + std::string(field) +
                                      std::to_string(step_index_));
    }

    // A step without a line for one of its fields.
    void add_missing(std::string_view id, std::string_view field, std::string effect) {
        if (is_explained(field)) return;
        about(findings_.add_key(id, step_->first_record(),
                                fmt::format("{} has no {}", this_step(), field),
                                std::move(effect)));
    }

    static bool usable(const std::optional<std::size_t>& record, const Findings& findings) {
        return record && !findings.is_damaged(*record);
    }

    // --- protocol

    void check_protocol() {
        if (!step_->protocol) {
            return add_missing("protocol-missing", "Protocol",
                               "it is logged as sent, and nothing leaves");
        }
        if (findings_.is_damaged(*step_->protocol)) return;
        const std::size_t record = *step_->protocol;
        const std::string_view value = findings_.trimmed_value(record);
        const std::string upper = upper_case(value);
        if (sender_ == Sender::kNone) return add_unknown_protocol(record, value, upper);
        const bool tcp = command_->protocol.find("TCP") != std::string::npos;
        if (tcp && command_->protocol.find("UDP") != std::string::npos) {
            add_value("protocol-both", record,
                      fmt::format("{} names both TCP and UDP", in_quotes(value)),
                      "it is sent by TCP");
        }
        if (!sends_report(sender_) && is_nearly_status(value)) {
            auto& diagnostic = add_value(
                "status-misspelt", record,
                fmt::format("{} does not hold \"Status\" in these letters", in_quotes(value)),
                "the data is sent, not the status report");
            diagnostic.fix = {
                findings_.replace_trimmed_value(record, tcp ? "TCPStatus" : "UDPStatus")};
        }
        if (sends_report(sender_) && step_->data && !command_->data.empty()) {
            add_value("status-with-data", *step_->data,
                      fmt::format("{} sends the status report", in_quotes(value)),
                      "the data is shown in the event log and never leaves");
        }
    }

    // What stands beside TCP or UDP is not "Status", but rather meant to be.
    static bool is_nearly_status(std::string_view value) {
        std::string rest(value);
        for (const std::string_view word : {"TCP", "UDP"}) {
            const auto at = rest.find(word);
            if (at != std::string::npos) rest.erase(at, word.size());
        }
        const std::vector<std::string> status{"Status"};
        return upper_case(rest).find("STAT") != std::string::npos ||
               !nearest_word(trim_blanks(rest), status).empty();
    }

    void add_unknown_protocol(std::size_t record, std::string_view value,
                              const std::string& upper) {
        auto& diagnostic = add_value(
            value.empty() ? "protocol-missing" : "protocol-unknown", record,
            value.empty() ? fmt::format("the protocol of {} is empty", this_step())
                          : fmt::format("{} holds neither \"TCP\" nor \"UDP\"", in_quotes(value)),
            "it is logged as sent, and nothing leaves");
        const bool tcp = upper.find("TCP") != std::string::npos;
        if (!tcp && upper.find("UDP") == std::string::npos) return;
        std::string meant = tcp ? "TCP" : "UDP";
        if (upper.find("STAT") != std::string::npos) meant += "Status";
        diagnostic.fix = {findings_.replace_trimmed_value(record, meant)};
    }

    // --- address

    // Whether there is an address that its author meant.
    bool check_ip() {
        const std::string kSelf = if_sent("it is sent to 0.0.0.0, this very device");
        if (!step_->ip) {
            add_missing("ip-missing", "IP", kSelf);
            return false;
        }
        const std::size_t record = *step_->ip;
        if (findings_.is_damaged(record)) return false;
        const std::string text(outgoing(*command_).ip);
        if (is_ipv4_address(text)) return true;
        const std::string trimmed(findings_.trimmed_value(record));
        if (is_ipv4_address(trimmed) &&
            is_only_returns(std::string_view(command_->ip).substr(trimmed.size()))) {
            add_return_in_ip(record, trimmed);
        } else {
            add_invalid_ip(record, trimmed);
        }
        return false;
    }

    static bool is_only_returns(std::string_view text) {
        return text.find_first_not_of('\r') == std::string_view::npos;
    }

    void add_return_in_ip(std::size_t record, const std::string& trimmed) {
        auto& diagnostic = about(findings_.add(
            "cr-in-ip", findings_.source.value_offset(record) + trimmed.size(),
            command_->ip.size() - trimmed.size(),
            "a carriage return at the end of the line belongs to the address",
            if_sent(fmt::format("{} goes to 0.0.0.0, this very device", this_step()))));
        diagnostic.fix = {findings_.replace_whole_value(record, trimmed)};
    }

    void add_invalid_ip(std::size_t record, const std::string& trimmed) {
        const std::string inner(trim_blanks(trimmed));
        std::string cause = fmt::format("{} is no IPv4 address", in_quotes(inner));
        std::string meant;
        if (inner.empty()) {
            cause = fmt::format("the address of {} is empty", this_step());
        } else if (const auto known = findings_.options.addresses.find(inner);
                   known != findings_.options.addresses.end()) {
            meant = known->second;
        } else if (is_ipv4_address(inner)) {
            cause = fmt::format("a blank beside the address {}", in_quotes(inner));
            meant = inner;
        } else if (meant = without_leading_zeros(inner); !meant.empty()) {
            cause =
                fmt::format("{}: a number of an address has no leading zeros", in_quotes(inner));
        }
        auto& diagnostic =
            add_value("ip-invalid", record, std::move(cause),
                      if_sent(fmt::format("{} goes to 0.0.0.0, this very device", this_step())));
        // A blank behind the address is part of what is wrong with it.
        diagnostic.length = command_->ip.find_last_not_of('\r') + 1;
        if (!meant.empty()) diagnostic.fix = {findings_.replace_whole_value(record, meant)};
    }

    // --- port

    bool check_port() {
        if (!step_->port) {
            add_missing("port-missing", "Port", effect_of_port(0));
            return false;
        }
        const std::size_t record = *step_->port;
        if (findings_.is_damaged(record)) return false;
        check_word_of_port(record);
        const long long number = std::strtoll(command_->port.c_str(), nullptr, 10);
        const std::string_view value = trim_blanks(findings_.trimmed_value(record));
        const bool is_text = !is_plain_number(value);
        if (number >= 1 && number <= 65535 && !is_text) return true;
        add_value("port-invalid", record,
                  value.empty() ? fmt::format("the port of {} is empty", this_step())
                  : is_text     ? fmt::format("{} is no port number", in_quotes(value))
                                : fmt::format("{} is not from 1 to 65535", in_quotes(value)),
                  effect_of_port(socket_destination(outgoing(*command_, findings_.word)).port));
        return false;
    }

    std::string effect_of_port(std::uint16_t effective) const {
        if (effective != 0) return if_sent(fmt::format("it is sent to port {}", effective));
        if (sender_ == Sender::kUdp || sender_ == Sender::kUdpStatus) {
            return "nothing leaves: the device refuses to send to port 0";
        }
        return if_sent("it goes to port 0, where nothing answers");
    }

    void check_word_of_port(std::size_t record) {
        if (findings_.options.word) return;
        const auto wide = static_cast<std::uint16_t>(int32_of(command_->port, WordSize::k64));
        const auto narrow = static_cast<std::uint16_t>(int32_of(command_->port, WordSize::k32));
        if (wide == narrow) return;
        add_value("word-size", record, "devices of 32 and 64 bits read the number differently",
                  fmt::format("64 bits: port {}; 32 bits: port {}", wide, narrow));
    }

    // --- destination

    void check_destination(const SocketDestination& to) {
        // A refused port is told as the port that it is not.
        if (to.port != 0 && always_refused(sender_, to)) {
            add_refused(to.ip == "255.255.255.255"
                            ? fmt::format("{} is every device of the net", to.ip)
                        : is_group_of_devices(to)
                            ? fmt::format("{} is a group of devices, and TCP speaks to one", to.ip)
                            : fmt::format("{} is the broadcast address within this device", to.ip));
        } else if (may_be_broadcast(to)) {
            add_value("maybe-broadcast", *step_->ip,
                      fmt::format("{} is a broadcast address in most nets", to.ip),
                      "where it is, the device refuses to send to it, and nothing leaves");
        }
    }

    // Of TCP's refusals, those that UDP does not share.
    static bool is_group_of_devices(const SocketDestination& to) {
        return always_refused(Sender::kTcp, to) && !always_refused(Sender::kUdp, to);
    }

    // The last address of a net of the commonest size; the device's own has another mask.
    static bool may_be_broadcast(const SocketDestination& to) {
        SocketDestination any_port = to;
        any_port.port = 1;
        return to.ip.ends_with(".255") && !to.ip.starts_with("127.") && !to.ip.starts_with("0.") &&
               !always_refused(Sender::kTcp, any_port);
    }

    void add_refused(std::string cause) {
        auto& diagnostic =
            add_value("destination-refused", *step_->ip, std::move(cause),
                      "the device refuses to send to it: nothing leaves, and the event log "
                      "says that it was sent");
        const auto known =
            findings_.options.addresses.find(std::string(findings_.trimmed_value(*step_->ip)));
        if (known == findings_.options.addresses.end()) return;
        diagnostic.fix = {findings_.replace_whole_value(*step_->ip, known->second)};
    }

    // Only a connection from within the device reaches these ports.
    void check_own_port(const SocketDestination& to) {
        const bool tcp = sender_ == Sender::kTcp || sender_ == Sender::kTcpStatus;
        const bool self = to.ip == "127.0.0.1" || to.ip == "0.0.0.0";
        if (!tcp || !self) return;
        if (std::find(kOwnPorts.begin(), kOwnPorts.end(), to.port) == kOwnPorts.end()) return;
        const bool command = to.port == 2700;
        add_value("own-port", *step_->port,
                  fmt::format("port {} of this device is its own {} port", to.port,
                              command ? "command" : "status"),
                  fmt::format("the {} is taken for a {}", sends_report(sender_) ? "report" : "data",
                              command ? "trigger" : "request of the status service"));
    }

    // --- data

    void check_data_of_step() {
        if (sends_report(sender_)) return;
        if (!step_->data || findings_.trimmed_value(*step_->data).empty()) return check_no_data();
        if (findings_.is_damaged(*step_->data)) return;
        const std::size_t record = *step_->data;
        for (const DataFinding& found :
             check_data(findings_.trimmed_value(record), findings_.options.items)) {
            auto& diagnostic = about(
                findings_.add(found.id, findings_.source.value_offset(record) + found.position,
                              found.length, found.cause, found.effect));
            if (found.corrected) {
                diagnostic.fix = {findings_.replace_trimmed_value(record, *found.corrected)};
            }
        }
        check_moment(record);
    }

    void check_no_data() {
        if (is_explained("Data")) return;
        const std::size_t record = step_->data.value_or(step_->first_record());
        const std::string cause = fmt::format("{} has no data", this_step());
        const std::string effect = if_sent("an empty message is sent");
        if (step_->data) {
            add_value("data-empty", record, cause, effect);
        } else {
            about(findings_.add_key("data-empty", record, cause, effect));
        }
    }

    void check_moment(std::size_t record) {
        const bool later =
            command_->delayFromExecNs > 0 || (entry_->delay > 0 && !findings_.options.test);
        if (!later || !find_macro(command_->data, 0)) return;
        add_value("macro-moment", record,
                  fmt::format("{} quotes macros and is sent later", this_step()),
                  "their values are those of the moment of the trigger");
    }

    // --- several steps

    void check_same_host(const EventModel& event) {
        const auto times = due_times(entry_->subCommands);
        std::map<std::string, std::vector<std::size_t>> by_host;
        for (std::size_t i = 0; i < event.steps.size(); ++i) {
            const Outgoing out = outgoing(entry_->subCommands[i]);
            const bool tcp = out.sender == Sender::kTcp || out.sender == Sender::kTcpStatus;
            if (tcp && is_ipv4_address(std::string(out.ip)) && event.steps[i].ip)
                by_host[std::string(out.ip)].push_back(i);
        }
        for (auto& [host, steps] : by_host) {
            std::stable_sort(steps.begin(), steps.end(),
                             [&](auto left, auto right) { return times[left] < times[right]; });
            check_distances(event, host, steps, times);
        }
    }

    void check_distances(const EventModel& event, const std::string& host,
                         const std::vector<std::size_t>& steps,
                         const std::vector<std::chrono::nanoseconds>& times) {
        for (std::size_t i = 1; i < steps.size(); ++i) {
            const auto distance = times[steps[i]] - times[steps[i - 1]];
            if (distance.count() >= kTcpTailNs) continue;
            step_index_ = static_cast<std::uint32_t>(steps[i]);
            add_value("tcp-same-host", *event.steps[steps[i]].ip,
                      fmt::format("{} by TCP {} ms behind step {} to the same host, {}",
                                  this_step(), distance.count() / kNsPerMs, steps[i - 1], host),
                      "a host that answers slowly has two connections at once; many take one");
            return;  // one word on a host is enough
        }
    }

    Findings& findings_;
    const EventEntry* entry_ = nullptr;
    const StepModel* step_ = nullptr;
    const SubCommand* command_ = nullptr;
    std::uint32_t step_index_ = 0;
    Sender sender_ = Sender::kNone;
};

}  // namespace

void check_steps(Findings& findings) { StepChecks(findings).run(); }

}  // namespace ruvo::ctl
