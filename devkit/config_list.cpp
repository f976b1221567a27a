#include "devkit/config_list.h"

#include "devkit/config_value.h"

namespace ruvo::devkit {
namespace {

std::string key_part(const std::string& name) {
    const std::string quoted = ConfigTree(name).dump();
    const bool is_plain = !name.empty() && name.find_first_of(".=") == std::string::npos &&
                          quoted.size() == name.size() + 2;
    return is_plain ? name : quoted;
}

std::string value_line(const std::string& key, const ConfigTree& value) {
    return std::string(config_type_word(config_type(value))) + " " + key + "=" + value.dump() +
           "\n";
}

void append_lines(std::string& lines, const std::string& prefix, const ConfigTree& section) {
    for (const auto& [name, value] : section.items()) {
        const std::string key = prefix + key_part(name);
        if (value.is_object() && !value.empty()) {
            append_lines(lines, key + ".", value);
        } else {
            lines += value_line(key, value);
        }
    }
}

}  // namespace

std::string config_list(const ConfigTree& tree) {
    std::string lines;
    append_lines(lines, "", tree);
    return lines;
}

}  // namespace ruvo::devkit
