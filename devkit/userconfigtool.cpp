// userconfigtool: reads, writes and lists the values of the user configuration.

#include "devkit/command_line.h"
#include "devkit/config_list.h"
#include "devkit/config_value.h"
#include "devkit/user_config_store.h"

#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace ruvo::devkit {
namespace {

constexpr const char* kName = "userconfigtool";

constexpr const char* kExamples =
    "Examples:\n"
    "  userconfigtool set boolean network.ruvo.enable=true\n"
    "  userconfigtool set integer audio.volume=-12\n"
    "  userconfigtool set double display.gamma=2.2\n"
    "  userconfigtool set string \"network.name=Room 12\"\n"
    "  userconfigtool get string network.name=unknown\n"
    "  userconfigtool list\n";

struct Arguments {
    std::optional<std::string> store_path;
    std::string action;
    std::optional<std::string> type;
    std::optional<std::string> assignment;
};

struct Assignment {
    ConfigKey key;
    ConfigType type;
    ConfigTree value;
    std::string_view text;  // the value as it was given
};

std::optional<Assignment> parse_assignment(ConfigType type, std::string_view text) {
    const auto equals = text.find('=');
    if (equals == std::string_view::npos) return std::nullopt;
    const std::string_view value_text = text.substr(equals + 1);
    auto key = split_config_key(text.substr(0, equals));
    auto value = parse_config_value(type, value_text);
    if (!key || !value) return std::nullopt;
    return Assignment{std::move(*key), type, std::move(*value), value_text};
}

const char* expected_value(ConfigType type) {
    switch (type) {
        case ConfigType::kBoolean:
            return "KEY=true or KEY=false";
        case ConfigType::kInteger:
            return "KEY= with a whole number of 32 bits";
        case ConfigType::kDouble:
            return "KEY= with a decimal number";
        default:
            return "KEY= with a text in UTF-8";
    }
}

// An integer that the device's 32 bits cannot hold is no value to a reader.
bool is_readable(const ConfigTree& value, ConfigType type) {
    return config_type(value) == type &&
           (type != ConfigType::kInteger || config_int(value).has_value());
}

// A reader always gets an answer: what cannot be read counts as not set.
std::string stored_or_default(const UserConfigStore& store, const Assignment& wanted) {
    try {
        const ConfigTree tree = store.read();
        const ConfigTree* const found = find_config_value(tree, wanted.key);
        if (found != nullptr && is_readable(*found, wanted.type)) return config_value_text(*found);
    } catch (const std::exception& error) {
        std::cerr << kName << ": " << error.what() << "; the default is used\n";
    }
    return std::string(wanted.text);
}

int print(const std::string& text) {
    std::cout << text << std::flush;
    return std::cout ? 0 : 1;
}

int set_value(const UserConfigStore& store, const Assignment& wanted) {
    store.update(wanted.key, wanted.value);
    return 0;
}

void describe(CLI::App& app, Arguments& arguments) {
    set_usage(app, "[--store FILE] (get TYPE KEY=DEFAULT | set TYPE KEY=VALUE | list)");
    app.add_option("--store", arguments.store_path,
                   "The file; else RUVO_USER_CONFIG names it, else /mnt/configs/user_config.json");
    app.add_option("ACTION", arguments.action,
                   "get: print a value; set: store it; list: print all, one on a line")
        ->required()
        ->check(CLI::IsMember({"get", "set", "list"}));
    app.add_option("TYPE", arguments.type, "boolean, integer (32 bits), double or string")
        ->check(CLI::IsMember({"boolean", "integer", "double", "string"}));
    app.add_option("KEY=VALUE", arguments.assignment,
                   "A dotted key and the value to store, or the one to print when the key holds "
                   "none of this type");
    app.footer(kExamples);
}

int run(int argc, char** argv) {
    CLI::App app{"Reads, writes and lists the user configuration, a JSON file.", kName};
    Arguments arguments;
    describe(app, arguments);
    if (const auto status = parse_command_line(app, argc, argv)) return *status;

    if (arguments.action == "list") {
        if (arguments.type) return usage_error(app, "list takes no TYPE and no KEY");
        return print(config_list(UserConfigStore(arguments.store_path).read()));
    }
    if (!arguments.assignment) {
        return usage_error(app, arguments.action + " takes a TYPE and a KEY=VALUE");
    }
    const ConfigType type = parse_config_type(*arguments.type).value();
    const auto assignment = parse_assignment(type, *arguments.assignment);
    if (!assignment) {
        return usage_error(app, "'" + *arguments.assignment + "' is not " + expected_value(type));
    }
    const UserConfigStore store(arguments.store_path);
    return arguments.action == "get" ? print(stored_or_default(store, *assignment) + "\n")
                                     : set_value(store, *assignment);
}

}  // namespace
}  // namespace ruvo::devkit

int main(int argc, char** argv) {
    try {
        return ruvo::devkit::run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "userconfigtool: " << error.what() << "\n";
        return 1;
    }
}
