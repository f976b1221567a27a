// userconfigtool: reads and writes booleans of the user configuration.

#include "devkit/command_line.h"
#include "devkit/user_config_store.h"

#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

namespace ruvo::devkit {
namespace {

constexpr const char* kName = "userconfigtool";

struct Assignment {
    ConfigKey key;
    bool value;
};

// "key=true" or "key=false"; nothing for any other text.
std::optional<Assignment> parse_assignment(std::string_view text) {
    const auto equals = text.find('=');
    if (equals == std::string_view::npos) return std::nullopt;
    const auto key = split_config_key(text.substr(0, equals));
    const std::string_view value = text.substr(equals + 1);
    if (!key || (value != "true" && value != "false")) return std::nullopt;
    return Assignment{*key, value == "true"};
}

// A reader always gets an answer: what cannot be read counts as not set.
bool stored_or_default(const UserConfigStore& store, const Assignment& wanted) {
    try {
        const ConfigTree tree = store.read();
        const ConfigTree* const found = find_config_value(tree, wanted.key);
        return found != nullptr && found->is_boolean() ? found->get<bool>() : wanted.value;
    } catch (const std::exception& error) {
        std::cerr << kName << ": " << error.what() << "; the default is used\n";
        return wanted.value;
    }
}

int get_boolean(const UserConfigStore& store, const Assignment& wanted) {
    std::cout << (stored_or_default(store, wanted) ? "true\n" : "false\n") << std::flush;
    return std::cout ? 0 : 1;
}

int set_boolean(const UserConfigStore& store, const Assignment& wanted) {
    store.update(wanted.key, wanted.value);
    return 0;
}

int run(int argc, char** argv) {
    CLI::App app{"Reads and writes booleans of the user configuration, a JSON file.", kName};
    set_usage(app, "[--store FILE] (get boolean KEY=DEFAULT | set boolean KEY=VALUE)");
    std::optional<std::string> store_path;
    std::string action;
    std::string type;
    std::string assignment_text;
    app.add_option("--store", store_path,
                   "The file; else RUVO_USER_CONFIG names it, else /mnt/configs/user_config.json");
    app.add_option("ACTION", action, "get: print the value; set: store it")
        ->required()
        ->check(CLI::IsMember({"get", "set"}));
    app.add_option("TYPE", type, "boolean")->required()->check(CLI::IsMember({"boolean"}));
    app.add_option("KEY=VALUE", assignment_text,
                   "A dotted key and true or false: the value to store, or the one to print when "
                   "the key holds no boolean")
        ->required();
    if (const auto status = parse_command_line(app, argc, argv)) return *status;

    const auto assignment = parse_assignment(assignment_text);
    if (!assignment) {
        return usage_error(app, "'" + assignment_text + "' is not KEY=true or KEY=false");
    }
    const UserConfigStore store(store_path);
    return action == "get" ? get_boolean(store, *assignment) : set_boolean(store, *assignment);
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
