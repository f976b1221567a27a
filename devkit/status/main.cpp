// ruvo-status-service: answers `getStatus` as a device's status service does.

#include "devkit/command_line.h"
#include "devkit/descriptor_limit.h"
#include "devkit/status/status_server.h"

#include <chrono>
#include <exception>
#include <iostream>

namespace ruvo::devkit {
namespace {

constexpr const char* kName = "ruvo-status-service";

void print_ready(const StatusServer& server) {
    std::cout << "ready";
    for (const auto port : server.ports()) std::cout << ' ' << port;
    std::cout << std::endl;
}

int run(int argc, char** argv) {
    CLI::App app{
        "Answers `getStatus` on 127.0.0.1 with the lines of a file, each ended by a carriage "
        "return, then closes. Prints \"ready PORT...\" when it listens.",
        kName};
    set_usage(app, "--items FILE [OPTIONS]");
    StatusServerOptions options;
    options.ports = {50001, 50003};
    unsigned delay_ms = 0;
    app.add_option("--items", options.items_path, "name:value lines, read anew for each request")
        ->required()
        ->check(CLI::ExistingFile);
    app.add_option("--port", options.ports, "Instead of 50001 and 50003; 0 is any free port")
        ->allow_extra_args(false);
    app.add_option("--delay-ms", delay_ms, "Wait before the answer");
    app.add_option("--short", options.max_reply_bytes, "Send only the first BYTES of the answer")
        ->type_name("BYTES");
    bool is_silent = false;
    bool hangs = false;
    CLI::Option* const hang = app.add_flag("--hang", hangs, "Read, but never answer nor close");
    app.add_flag("--silent", is_silent, "Close without an answer")->excludes(hang);
    if (const auto status = parse_command_line(app, argc, argv)) return *status;

    options.delay = std::chrono::milliseconds(delay_ms);
    if (is_silent) options.answering = Answering::kSilent;
    if (hangs) options.answering = Answering::kHang;

    raise_descriptor_limit();
    StatusServer server(options);
    print_ready(server);
    server.serve();
}

}  // namespace
}  // namespace ruvo::devkit

int main(int argc, char** argv) {
    try {
        return ruvo::devkit::run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "ruvo-status-service: " << error.what() << "\n";
        return 1;
    }
}
