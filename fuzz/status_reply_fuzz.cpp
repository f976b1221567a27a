// Takes any bytes for the report of the status service.

#include "core/daemon_context.h"
#include "core/file.h"
#include "core/process_state.h"
#include "events/status_reply.h"
#include "events/status_variables.h"
#include "fuzz/stand_in_system.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ruvo::fuzz {
namespace {

constexpr char kPipeline[] = "printf ";

const StatusVariables kBefore = {{"before", "1"}, {"before", "2"}};

DaemonContext& context() {
    static DaemonContext it;
    return it;
}

StatusVariables read(std::string_view text) {
    const UniqueFile stream(open_text(text));
    return read_status_report(stream.get());
}

void require_items(std::string_view text, const StatusVariables& items) {
    require(items.size() <= static_cast<std::size_t>(std::count(text.begin(), text.end(), ':')),
            "an item has a colon of its own");
    std::string report;
    for (const auto& [name, value] : items) {
        require(name.find(':') == std::string::npos, "the first colon ends the name");
        require((name + value).find_first_of(std::string_view("\n\0", 2)) == std::string::npos,
                "an item is within a line, up to its first zero byte");
        require(name.size() + value.size() <= 2046, "an item fits the line's buffer");
        report.append(name).append(":").append(value).append("\n");
    }
    require(read(report) == items, "the items read back");
}

void require_file_shows(const StatusVariables& items) {
    std::string text;
    for (const auto& [name, value] : items)
        text.append(name).append("=").append(value).append("\n");
    require(file_text(stand_in_path("/tmp/ruvo_var.txt")) == text, "the file shows the items");
}

void try_input(std::string_view text) {
    g_debug_flag = text.size() % 16 == 15 ? 1 : 0;
    const StatusVariables items = read(text);
    require_items(text, items);

    context().statusVariables.set(kBefore);
    answer_command(kPipeline, std::string(text));
    const StatusVariables& in_use = items.size() > kTooFewStatusItems ? items : kBefore;
    for (int round = 0; round < 2; ++round) {
        require(renew_macro_var(context()) == static_cast<int>(items.size()),
                "the items are counted");
        require(*context().statusVariables.get() == in_use, "a full report replaces the items");
        require_file_shows(in_use);
    }
    answer_no_command(kPipeline);
    require(renew_macro_var(context()) == 0, "without the service there is no item");
    require(*context().statusVariables.get() == in_use, "no report leaves the items");
}

}  // namespace
}  // namespace ruvo::fuzz

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    ruvo::fuzz::drop_standard_output();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    ruvo::fuzz::try_input({reinterpret_cast<const char*>(data), size});
    return 0;
}
