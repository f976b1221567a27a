#include "ruvoctl/codec/decode_input.h"

#include "core/text_cut.h"
#include "ruvoctl/settings_source.h"

#include <string_view>
#include <utility>

namespace ruvo::ctl {
namespace {

DecodeInput misuse(std::string why) {
    DecodeInput input;
    input.misuse = std::move(why);
    return input;
}

DecodeInput value_of_line(const std::string& text) {
    const SettingsSource source = read_source(text);
    if (source.definitions.size() != 1) {
        return misuse("more than one settings line; give the one with the data");
    }
    const EventDefinition& line = source.definitions.front();
    if (line.field != "Data") return misuse("this settings line holds no data");
    return {.key = std::string(source.key(0)), .value = line.value, .misuse = {}};
}

}  // namespace

DecodeInput find_value(const std::string& text) {
    if (text.find('=') != std::string::npos) return value_of_line(text);
    const std::string_view value = without_line_feed(text);
    if (value.find_first_of(std::string_view("\n\0", 2)) != std::string_view::npos) {
        return misuse("a value is one line of text");
    }
    return {.key = {}, .value = std::string(value), .misuse = {}};
}

}  // namespace ruvo::ctl
