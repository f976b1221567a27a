#include "settings/settings_file.h"

#include "core/daemon_context.h"
#include "core/file.h"
#include "core/line_reader.h"
#include "core/log.h"
#include "core/paths.h"
#include "settings/enable_switch.h"
#include "settings/mirrors.h"
#include "settings/settings_text.h"

#include <cerrno>
#include <utility>

namespace ruvo {
namespace {

// Every line is flushed, so an interrupted write ends at a line's end, and a reader has
// the whole while the returned file is still open.
UniqueFile append_default_settings(const char* path, bool enabled) {
    UniqueFile file = open_for_appending(path);
    if (!file) return file;  // the next attempt to read says what is wrong
    for (const std::string& line : default_settings_lines(enabled)) {
        std::fputs(line.c_str(), file.get());
        std::fflush(file.get());
    }
    return file;
}

UniqueFile open_settings(const DaemonContext& context, const char* path) {
    UniqueFile file = open_for_reading(path);
    if (file) return file;

    static LogSite not_found;  // the semicolon and the spelling belong to the text
    log_line(not_found, "[%s;%d] Error: not found: %s, writ default\n", "renew_ruvo_txt", 241,
             path);
    // Open until the second attempt is over, which so fails on the last descriptor.
    const UniqueFile defaults =
        append_default_settings(path, context.enable.load(std::memory_order_relaxed) == 1);

    file = open_for_reading(path);
    if (!file) {
        const int error = errno;
        static LogSite cannot_open;
        log_line(cannot_open, "[%s;%d] Error: cannot open %s;%s\n", "renew_ruvo_txt", 261, path,
                 error_text(error));
    }
    return file;
}

void write_mirrors(const DaemonContext& context, bool test) {
    if (test) {
        debug_line("[%s:%d] save /tmp/ruvo_test_asc.txt /tmp/ruvo_test_hex.txt\n", "renew_ruvo_txt",
                   292);
        (void)write_ascii_mirror(context, "/tmp/ruvo_test_asc.txt");
        (void)dump(context, "/tmp/ruvo_test_hex.txt");
    } else {
        debug_line("[%s:%d] save /tmp/ruvo_asc.txt /tmp/ruvo_hex.txt\n", "renew_ruvo_txt", 288);
        (void)write_ascii_mirror(context, "/tmp/ruvo_asc.txt");
        (void)dump(context, "/tmp/ruvo_hex.txt");
    }
}

}  // namespace

EventDefinitions read_settings(std::FILE* file) {
    EventDefinitions definitions;
    LineReader<kLineBufferBytes> lines(file);
    while (const auto line = lines.next()) {
        if (auto definition = parse_settings_line(*line)) {
            definitions.push_back(*std::move(definition));
        }
    }
    return definitions;
}

int renew_ruvo_txt(DaemonContext& context, std::int32_t test) {
    (void)renew_enable_event(context);
    {
        const UniqueFile file = open_settings(context, test ? kTestSettingsPath : kSettingsPath);
        if (!file) return -1;
        (test ? context.testEntries : context.normalEntries).set(read_settings(file.get()));
    }
    write_mirrors(context, test != 0);
    return 0;
}

}  // namespace ruvo
