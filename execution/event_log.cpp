#include "execution/event_log.h"

#include "core/log_file.h"
#include "core/paths.h"
#include "core/text_cut.h"

#include <array>
#include <cstdio>

namespace ruvo {
namespace {

std::string destination_and_data(const SubCommand& step) {
    std::string text = step.ip + ":" + step.port + " " + step.protocol + " ";
    text += until_zero(step.data);
    return text;
}

}  // namespace

std::string event_log_timestamp(const LocalTime& time) {
    const std::tm& calendar = time.calendar;
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), "%04d-%02d-%02d %02d:%02d:%02d.%03d ",
                  calendar.tm_year + 1900, calendar.tm_mon + 1, calendar.tm_mday, calendar.tm_hour,
                  calendar.tm_min, calendar.tm_sec, time.milliseconds);
    return text.data();
}

std::string sent_line(const SubCommand& step) { return destination_and_data(step) + "\n"; }

std::string power_on_skip_line(const SubCommand& step, std::int64_t uptime_s) {
    return "skip uptime=" + std::to_string(uptime_s) + "," + destination_and_data(step) + "\n";
}

std::string disabled_line(const SubCommand& step, std::int64_t uptime_s) {
    return destination_and_data(step) + ", disabled uptime=" + std::to_string(uptime_s) + "\n";
}

void write_event_log(const std::string& line) {
    const UniqueFd file = open_log_file(kEventLogPath);
    if (!file) return;  // silent: the sending goes on
    append_to_log(file, event_log_timestamp(local_time_now()), " ", line);
}

}  // namespace ruvo
