#include "devkit/receiver/options.h"

#include "devkit/command_line.h"
#include "devkit/receiver/text_escapes.h"
#include "devkit/socket_address.h"

#include <map>

namespace ruvo::devkit {
namespace {

std::string check_address(const std::string& text) {
    return parse_socket_address(text) ? "" : "'" + text + "' is not ADDR:PORT, such as 0.0.0.0:0";
}

std::string check_escapes(const std::string& text) {
    return unescape_text(text) ? ""
                               : "'" + text + "' holds an escape other than \\r \\n \\t \\\\ \\xNN";
}

// All endpoints in the order of the command line, across both options.
std::vector<Endpoint> endpoints_in_order(const CLI::App& app, const CLI::Option* udp,
                                         const CLI::Option* tcp) {
    std::vector<Endpoint> endpoints;
    std::map<const CLI::Option*, std::size_t> taken;
    for (const CLI::Option* const option : app.parse_order()) {
        if (option != udp && option != tcp) continue;
        const std::string& text = option->results()[taken[option]++];
        const Protocol protocol = option == udp ? Protocol::kUdp : Protocol::kTcp;
        endpoints.push_back({protocol, parse_socket_address(text).value()});
    }
    return endpoints;
}

constexpr unsigned kMaxCount = 1'000'000'000;
constexpr const char* kDescription =
    "Receives on any number of UDP and TCP addresses (port 0: a free one) and prints each "
    "datagram, "
    "and each chunk of a connection, as it arrives. Prints \"ready udp ADDR:PORT tcp "
    "ADDR:PORT...\" "
    "first, in the order given. A connection is closed behind its first chunk.";

// What is looked at once all arguments are known.
struct GivenTexts {
    std::vector<std::string> udp;
    std::vector<std::string> tcp;
    std::optional<std::string> reply;
    std::optional<unsigned> timeout_ms;
    bool json = false;
};

CLI::Option* declare_address(CLI::App& app, const char* name, std::vector<std::string>& texts,
                             const char* description) {
    return app.add_option(name, texts, description)
        ->type_name("ADDR:PORT")
        ->allow_extra_args(false)
        ->check(check_address);
}

void declare_connection_options(CLI::App& app, GivenTexts& given, ReceiverOptions& options) {
    CLI::Option* const keep_open =
        app.add_flag("--keep-open", options.keep_open,
                     "Leave connections open, unanswered, until the peer closes them");
    app.add_option("--reply", given.reply,
                   "Send this behind a connection's first chunk; \\r \\n \\t \\\\ \\xNN stand for "
                   "bytes")
        ->check(check_escapes)
        ->excludes(keep_open);
}

void declare_output_options(CLI::App& app, GivenTexts& given, ReceiverOptions& options) {
    app.add_flag("--json", given.json, "Print one JSON object per line");
    app.add_option("--record", options.record_path, "Append the JSON lines to this file, too")
        ->type_name("FILE");
    app.add_option("--count", options.count, "End with status 0 after so many arrivals")
        ->check(CLI::Range(1U, kMaxCount).description(""));
    app.add_option("--timeout-ms", given.timeout_ms,
                   "End after this time: status 1 with --count, else 0");
}

}  // namespace

std::optional<int> parse_receiver_options(int argc, char** argv, ReceiverOptions& options) {
    CLI::App app{kDescription, "ruvo-receiver"};
    set_usage(app, "[OPTIONS] (--udp|--tcp) ADDR:PORT...");
    GivenTexts given;
    const CLI::Option* const udp =
        declare_address(app, "--udp", given.udp, "Receive datagrams here");
    const CLI::Option* const tcp =
        declare_address(app, "--tcp", given.tcp, "Accept connections here");
    declare_connection_options(app, given, options);
    declare_output_options(app, given, options);
    if (const auto status = parse_command_line(app, argc, argv)) return status;

    options.endpoints = endpoints_in_order(app, udp, tcp);
    if (options.endpoints.empty()) return usage_error(app, "--udp or --tcp is needed");
    if (given.reply) options.reply = unescape_text(*given.reply);
    if (given.json) options.form = OutputForm::kJson;
    if (given.timeout_ms) options.timeout = std::chrono::milliseconds(*given.timeout_ms);
    return std::nullopt;
}

}  // namespace ruvo::devkit
