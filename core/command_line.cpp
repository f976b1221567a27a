#include "core/command_line.h"

#include "core/build_info.h"
#include "core/client_mode.h"
#include "core/log.h"
#include "core/process_state.h"
#include "core/text_cut.h"

#include <getopt.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <string_view>

namespace ruvo {
namespace {

constexpr char kShortOptions[] = "hi:p:qs:vd";
constexpr std::size_t kArgumentBytes = 2048;
// Told by the help text only; neither can be changed.
constexpr int kDefaultPort = 2700;
constexpr int kDefaultQueueSize = 1024;

void print_version() {
    print_line("ruvotcpd-V%s.%s Build: %s %s +00:00\n", kVersion, kBuildVariant, kBuildDate,
               kBuildTime);
}

// One reading of the options. Its table points into the object itself.
class OptionReader {
  public:
    OptionReader() = default;
    OptionReader(const OptionReader&) = delete;
    OptionReader& operator=(const OptionReader&) = delete;

    CommandLine read(int argc, char* const argv[]) {
        int code = 0;
        while ((code = ::getopt_long(argc, argv, kShortOptions, table_.data(), nullptr)) != -1) {
            apply(code, ::optarg == nullptr ? "" : ::optarg);
        }
        return result_;
    }

  private:
    void apply(int code, std::string_view argument) {
        switch (code) {
            case 'h':
                usage();
                std::exit(0);
            case 'v':
                print_version();
                std::exit(0);
            case 'i':
                result_.binding_ip = argument;
                break;
            case 'q':
                store_log_level(0);
                break;
            case 'd':
                g_debug_flag.store(1, std::memory_order_relaxed);
                g_log_ready.store(1, std::memory_order_relaxed);
                break;
            case 0:  // getopt_long has stored into one of the words, it does not say which
                store_log_level(log_level_);
                walk_table(argument);
                break;
            default:  // p and s are accepted and ignored; getopt has named what is unknown
                break;
        }
    }

    void store_log_level(int level) {
        log_level_ = level;
        g_log_level.store(level, std::memory_order_relaxed);
    }

    // An option that stores into a flag does not say which one it is, so every entry of
    // the table acts on its argument: --cmd sends a request too, and --qa and --qr,
    // which have no argument, take both kinds of request back.
    void walk_table(std::string_view argument) {
        for (const option& entry : table_) {
            const std::string_view name = entry.name == nullptr ? "" : entry.name;
            if (name == "ip") result_.binding_ip = argument;
            if (name == "client") send_client_request(argument);
            if (name == "cmd") keep_cmd(argument);
        }
    }

    void send_client_request(std::string_view argument) {
        if (argument.empty()) {
            result_.client_flag = 0;
            return;
        }
        result_.client_text = cut_to_buffer(argument, kArgumentBytes);
        (void)ruvotcp_client(result_.client_text);
    }

    void keep_cmd(std::string_view argument) {
        if (argument.empty()) {
            result_.cmd_flag = 0;
            return;
        }
        result_.cmd_text = cut_to_buffer(argument, kArgumentBytes);
    }

    CommandLine result_;
    int log_level_ = g_log_level.load(std::memory_order_relaxed);
    // getopt_long itself stores into the words that entries point at.
    const std::array<option, 9> table_{{
        {"help", no_argument, nullptr, 'h'},
        {"ip", required_argument, nullptr, 'i'},
        {"port", required_argument, nullptr, 'p'},
        {"qa", no_argument, &log_level_, 0},
        {"qr", no_argument, &log_level_, 1},
        {"queue_size", required_argument, nullptr, 's'},
        {"client", required_argument, &result_.client_flag, 1},
        {"cmd", required_argument, &result_.cmd_flag, 1},
        {nullptr, 0, nullptr, 0},
    }};
};

}  // namespace

CommandLine read_options(int argc, char* const argv[]) { return OptionReader().read(argc, argv); }

bool parse_command_line(int argc, char* const argv[]) {
    const CommandLine line = read_options(argc, argv);
    return line.client_flag > 0 || line.cmd_flag > 0;
}

void usage() {
    // "commandto" is one word in this text.
    print_line(
        "ruvotcp %s\n"
        "Usage: ruvotcp\n"
        "\t-h | --help:\t\tShow help\n"
        "\t-i | --ip:\t\tbinding ip, default is 127.0.0.1\n"
        "\t-v :\t\t\t\tshow version\n"
        "\t-p <n> | --port <n>:\tSet port number, default port=%d\n"
        "\t-q | --qa:\t\tDisable all log messages\n"
        "\t--qr:\t\t\tDisable the log messages on run ruvoevent\n"
        "\t-s | --queue_size:\tmax events in queue, default is %d\n"
        "\t--client command:  run as ruvotcp_client command\n"
        "\t--cmd setting-command:  send setting commandto ruvotcp\n",
        kVersion, kDefaultPort, kDefaultQueueSize);
}

}  // namespace ruvo
