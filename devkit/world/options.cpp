#include "devkit/world/options.h"

#include "devkit/command_line.h"

#include <arpa/inet.h>
#include <net/if.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <set>
#include <utility>

namespace ruvo::devkit {
namespace {

constexpr const char* kDefaultInterface = "net0=192.0.2.10/24";
constexpr double kMaxUptimeSeconds = 4e9;

bool is_interface_name(const std::string& name) {
    const auto is_name_character = [](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '.' || c == '_' || c == '-';
    };
    return !name.empty() && name.size() < IFNAMSIZ && name != "lo" && name.front() != '-' &&
           name.front() != '.' && std::all_of(name.begin(), name.end(), is_name_character);
}

bool is_prefixed_address(const std::string& text) {
    const auto slash = text.find('/');
    if (slash == std::string::npos) return false;
    in_addr address{};
    if (inet_pton(AF_INET, text.substr(0, slash).c_str(), &address) != 1) return false;
    unsigned prefix = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data() + slash + 1, last, prefix);
    return error == std::errc{} && end == last && prefix >= 1 && prefix <= 32;
}

std::string check_interface(const std::string& text) {
    return parse_interface(text)
               ? ""
               : "'" + text + "' is not NAME=ADDR/PREFIX, such as " + kDefaultInterface;
}

// Empty when the interfaces can stand side by side.
std::string check_names_differ(const std::vector<NetworkInterface>& interfaces) {
    std::set<std::string> names;
    for (const NetworkInterface& interface : interfaces) {
        if (!names.insert(interface.name).second) return "two interfaces named " + interface.name;
    }
    return "";
}

// Read here and not by the parser, which takes "nan" for a number.
std::optional<double> parse_seconds(const std::string& text) {
    double seconds = 0;
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, seconds);
    const bool is_number = error == std::errc{} && end == last && std::isfinite(seconds);
    if (!is_number || seconds < 0 || seconds > kMaxUptimeSeconds) return std::nullopt;
    return seconds;
}

std::string check_seconds(const std::string& text) {
    return parse_seconds(text) ? "" : "'" + text + "' is not a number of seconds from 0 to 4e9";
}

std::chrono::nanoseconds to_nanoseconds(double seconds) {
    return std::chrono::nanoseconds(std::llround(seconds * 1e9));
}

constexpr const char* kDescription =
    "Runs a command in a private world: empty /mnt, /tmp, /var/log and /run, a network of its own "
    "in which every IPv4 destination is this world itself, processes of its own and, if wanted, an "
    "uptime of its own. Nothing in it reaches the machine outside, except below the current "
    "directory, this program's folder and what --keep names: these stay as they are. When the "
    "command ends, all else in the world ends too.\n"
    "Status: the command's own, 128+N when signal N ended it, 125 when the world cannot be made, "
    "126 or 127 when the command cannot be run or found.";

// What is looked at once all arguments are known.
struct GivenTexts {
    std::optional<std::string> uptime;
    std::optional<std::string> only_uptime;
    std::vector<std::string> interfaces;
    bool no_interface = false;
};

std::vector<CLI::Option*> declare_network(CLI::App& app, GivenTexts& given) {
    CLI::Option* const interfaces =
        app.add_option("--interface", given.interfaces,
                       std::string("Instead of ") + kDefaultInterface + "; may be repeated")
            ->type_name("NAME=ADDR/PREFIX")
            ->allow_extra_args(false)
            ->check(check_interface);
    CLI::Option* const no_interface =
        app.add_flag("--no-interface", given.no_interface, "Loopback only");
    interfaces->excludes(no_interface);
    return {interfaces, no_interface};
}

void declare_options(CLI::App& app, GivenTexts& given, WorldOptions& options) {
    std::vector<CLI::Option*> of_whole_world = declare_network(app, given);
    of_whole_world.push_back(
        app.add_option("--keep", options.keep, "Leave this visible where it is; may be repeated")
            ->type_name("PATH")
            ->allow_extra_args(false)
            ->check(CLI::ExistingPath.description("")));
    of_whole_world.push_back(
        app.add_option("--uptime", given.uptime,
                       "The time since boot when the command starts; parts of a second are allowed "
                       "(sysinfo rounds up to whole seconds, /proc/uptime does not)")
            ->type_name("SECONDS")
            ->check(check_seconds));
    CLI::Option* const only_uptime =
        app.add_option("--only-uptime", given.only_uptime,
                       "Change the time since boot and nothing else; the command then runs in "
                       "the place of this program, with its process id")
            ->type_name("SECONDS")
            ->check(check_seconds);
    for (CLI::Option* const option : of_whole_world) only_uptime->excludes(option);
    // What follows the first word that is no option belongs to the command.
    app.prefix_command();
}

void fill_uptime(const GivenTexts& given, WorldOptions& options) {
    options.only_uptime = given.only_uptime.has_value();
    const auto& text = options.only_uptime ? given.only_uptime : given.uptime;
    if (text) options.uptime = to_nanoseconds(parse_seconds(*text).value());
}

// Empty, or what is wrong.
std::string fill_interfaces(const GivenTexts& given, WorldOptions& options) {
    std::vector<std::string> texts = given.interfaces;
    if (texts.empty() && !given.no_interface) texts = {kDefaultInterface};
    for (const std::string& text : texts) {
        options.interfaces.push_back(parse_interface(text).value());
    }
    return check_names_differ(options.interfaces);
}

// Empty, or what is wrong.
std::string fill_command(std::vector<std::string> rest, WorldOptions& options) {
    const bool is_marked = !rest.empty() && rest.front() == "--";
    if (is_marked) rest.erase(rest.begin());
    if (rest.empty()) return "COMMAND is missing";
    // The parser leaves an option that it does not know to the command.
    if (!is_marked && rest.front().starts_with('-')) return "unknown option " + rest.front();
    options.command = std::move(rest);
    return "";
}

}  // namespace

std::optional<NetworkInterface> parse_interface(const std::string& text) {
    const auto equals = text.find('=');
    if (equals == std::string::npos) return std::nullopt;
    NetworkInterface interface { text.substr(0, equals), text.substr(equals + 1) };
    if (!is_interface_name(interface.name)) return std::nullopt;
    if (!is_prefixed_address(interface.address)) return std::nullopt;
    return interface;
}

std::optional<int> parse_world_options(int argc, char** argv, WorldOptions& options) {
    CLI::App app{kDescription, "ruvo-world"};
    set_usage(app, "[OPTIONS] [--] COMMAND [ARG...]");
    GivenTexts given;
    declare_options(app, given, options);
    if (const auto status = parse_command_line(app, argc, argv)) return status;

    fill_uptime(given, options);
    for (const std::string& wrong :
         {fill_command(app.remaining(), options), fill_interfaces(given, options)}) {
        if (!wrong.empty()) return usage_error(app, wrong);
    }
    return std::nullopt;
}

}  // namespace ruvo::devkit
