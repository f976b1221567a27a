#include "ruvoctl/codec/decode_input.h"

#include "core/line_reader.h"
#include "core/text_cut.h"
#include "ruvoctl/settings_source.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace ruvo::ctl {
namespace {

DecodeInput misuse(std::string why) {
    DecodeInput input;
    input.misuse = std::move(why);
    return input;
}

// Lines that are longer are cut into pieces, each of them a line of its own.
constexpr std::size_t kLongestLine = kLineBufferBytes - 1;

std::string cut_of(std::size_t length) {
    if (length <= kLongestLine) return {};
    return fmt::format(
        "a line of {} characters: the daemon cuts it behind {} and reads the rest as another line",
        length, kLongestLine);
}

DecodeInput value_of_line(const std::string& text) {
    const SettingsSource source = read_source(text);
    if (source.definitions.size() != 1) {
        return misuse("more than one settings line; give the one with the data");
    }
    const EventDefinition& line = source.definitions.front();
    if (line.field != "Data") return misuse("this settings line holds no data");
    DecodeInput input;
    input.key = std::string(source.key(0));
    input.value = line.value;
    input.cut = cut_of(source.line_text(source.line_of(0)).size());
    return input;
}

}  // namespace

DecodeInput find_value(const std::string& text) {
    if (text.find('=') != std::string::npos) return value_of_line(text);
    const std::string_view value = without_line_feed(text);
    if (value.find_first_of(std::string_view("\n\0", 2)) != std::string_view::npos) {
        return misuse("a value is one line of text");
    }
    DecodeInput input;
    input.value = value.substr(0, kLongestLine);
    input.cut = cut_of(value.size());
    return input;
}

}  // namespace ruvo::ctl
