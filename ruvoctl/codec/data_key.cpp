#include "ruvoctl/codec/data_key.h"

#include "core/number_text.h"
#include "ruvoctl/output/printable.h"
#include "settings/split_key.h"

#include <fmt/format.h>

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
    if (printable(key, Backslash::kAsItIs) != key) return "it holds characters that are no text";
    const EventDefinition definition = split_key(key, "");
    const std::string name = printable(definition.name, Backslash::kAsItIs);
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
            printable(definition.index, Backslash::kAsItIs));
    }
    return {};
}

}  // namespace ruvo::ctl
