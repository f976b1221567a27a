#include "settings/mirrors.h"

#include "core/daemon_context.h"
#include "core/file.h"
#include "core/log.h"
#include "events/hex_to_bytes.h"

#include <cstdio>

namespace ruvo {
namespace {

std::string line_of(const EventDefinition& definition, const std::string& value) {
    return definition.name + definition.field + definition.index + "=" + value + "\n";
}

}  // namespace

std::string ascii_mirror_line(const EventDefinition& definition) {
    const bool is_data = definition.field == "Data";
    return line_of(definition, is_data ? hex_to_bytes(definition.value) : definition.value);
}

std::string raw_dump_line(const EventDefinition& definition) {
    return line_of(definition, definition.value);
}

// Both mirrors show the normal records, also after a reading of the test settings.

int write_ascii_mirror(const DaemonContext& context, const std::string& path) {
    if (path.empty()) return -1;
    const UniqueFile file = open_truncated(path.c_str());
    if (!file) return -1;  // silent: the mirror is rewritten after the next change
    const auto definitions = context.normalEntries.get();
    for (const EventDefinition& definition : *definitions) {
        std::fputs(ascii_mirror_line(definition).c_str(), file.get());
    }
    return 0;
}

int dump(const DaemonContext& context, const std::string& path) {
    if (path.empty()) return -1;
    const UniqueFile file = open_truncated(path.c_str());
    if (!file) return -1;  // silent: the dump is rewritten after the next change
    debug_line("[%s:%d] dump _q_ruvo to %s\n", "dump", 733, path.c_str());
    const auto definitions = context.normalEntries.get();
    for (const EventDefinition& definition : *definitions) {
        std::fputs(raw_dump_line(definition).c_str(), file.get());
    }
    return 0;
}

}  // namespace ruvo
