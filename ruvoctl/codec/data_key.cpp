#include "ruvoctl/codec/data_key.h"

#include "core/number_text.h"
#include "events/place_record.h"
#include "ruvoctl/output/printable.h"
#include "settings/split_key.h"

#include <fmt/format.h>

#include <cstdint>
#include <exception>

namespace ruvo::ctl {
namespace {

bool has_index(const EventDefinition& definition) {
    try {
        (void)index_of(definition.index);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

std::string why_no_data_key(std::string_view key) {
    if (key.find('=') != std::string_view::npos) return "a key holds no '='";
    if (text_of(key) != key) return "it holds characters that are no text";
    const EventDefinition definition = split_key(key, "");
    const std::string name = text_of(definition.name);
    if (definition.kind == kPlainKey) {
        return "there is no field in it; the data of a step is a key like EventData0";
    }
    if (definition.field != "Data") {
        return fmt::format("it is read as the {} of an event \"{}\"", definition.field, name);
    }
    if (definition.kind == kFieldKey) return "the number of the step is missing, as in EventData0";
    if (!has_index(definition)) {
        return fmt::format(
            "\"{}\" is no number of a step; it makes the whole file count for nothing",
            text_of(definition.index));
    }
    return {};
}

std::string why_never_sent(std::string_view key) {
    const std::uint32_t step = index_of(split_key(key, "").index);
    if (step < static_cast<std::uint32_t>(kMaxSubCommands)) return {};
    return fmt::format("step {} never takes effect: the last step that an event can have is {}",
                       step, kMaxSubCommands - 1);
}

}  // namespace ruvo::ctl
