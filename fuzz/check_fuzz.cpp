// Checks any bytes as a settings file, corrects them and reports on both, and holds the
// findings against what the daemon itself makes of the file.

#include "events/build_event_list.h"
#include "ruvoctl/check/check_settings.h"
#include "ruvoctl/check/corrected_copy.h"
#include "ruvoctl/check/report.h"
#include "ruvoctl/settings_source.h"

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace ruvo::ctl {
namespace {

const StatusVariables kItems = {{"model", "AV-100"}, {"input", "HDMI1"}, {"power", "on"},
                                {"volume", "42"},    {"time", "\\r"},    {"", "x"}};

void require(bool held) {
    if (!held) std::abort();
}

bool daemon_refuses(const SettingsSource& source, WordSize word) {
    try {
        (void)build_event_list(source.definitions, nullptr, word);
        return false;
    } catch (const std::logic_error&) {
        return true;
    }
}

CheckOptions options_of(std::uint8_t bits) {
    CheckOptions options;
    options.test = (bits & 1) != 0;
    if ((bits & 2) != 0) options.items = &kItems;
    if ((bits & 4) != 0) options.word = WordSize::k32;
    if ((bits & 8) != 0) options.word = WordSize::k64;
    options.addresses["beamer"] = "10.1.2.3";
    return options;
}

// A SARIF document holds the whole catalogue, which takes longer than all the rest.
bool wants_sarif(std::uint8_t bits) { return (bits & 0xF0) == 0xF0; }

void check_and_report(std::string text, const CheckOptions& options, bool sarif) {
    CheckedFile file;
    file.path = "fuzz";
    file.source = read_source(std::move(text));
    file.result = check_settings(file.source, options);
    const bool refused = daemon_refuses(file.source, options.word.value_or(WordSize::k64));
    const bool unreadable =
        !file.result.diagnostics.empty() && file.result.diagnostics.front().id == "utf-16";
    require(unreadable || refused == (file.result.summary.fatal > 0));
    for (const Diagnostic& d : file.result.diagnostics) {
        require(d.offset + d.length <= file.source.text.size() + 1);
    }
    require(file.result.summary.sends_as_written <= file.result.summary.sends_planned);
    std::vector<CheckedFile> files;
    files.push_back(std::move(file));
    (void)report_text(files.front(), Style(ColorChoice::kAlways, stdout));
    (void)report_json(files).dump();
    if (sarif) (void)report_sarif(files).dump();
}

}  // namespace
}  // namespace ruvo::ctl

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace ruvo::ctl;
    if (size == 0) return 0;
    const CheckOptions options = options_of(data[0]);
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    check_and_report(text, options, wants_sarif(data[0]));
    const std::string copy = corrected_copy(read_source(text), options);
    (void)unified_difference(text, copy);
    check_and_report(copy, options, false);
    return 0;
}
