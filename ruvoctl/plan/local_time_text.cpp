#include "ruvoctl/plan/local_time_text.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <string>

namespace ruvo::ctl {
namespace {

constexpr std::string_view kShape = "0000-00-00 00:00:00";

bool fits_shape(std::string_view text) {
    return std::equal(text.begin(), text.end(), kShape.begin(), kShape.end(),
                      [](char character, char shape) {
                          if (shape == '0') return character >= '0' && character <= '9';
                          return character == shape || (shape == ' ' && character == 'T');
                      });
}

int number_at(std::string_view text, std::size_t position, std::size_t digits) {
    int number = 0;
    (void)std::from_chars(text.data() + position, text.data() + position + digits, number);
    return number;
}

bool is_day(const std::tm& time) {
    return std::chrono::year_month_day(std::chrono::year(time.tm_year + 1900),
                                       std::chrono::month(static_cast<unsigned>(time.tm_mon + 1)),
                                       std::chrono::day(static_cast<unsigned>(time.tm_mday)))
        .ok();
}

}  // namespace

std::optional<std::tm> parse_local_time(std::string_view text) {
    if (!fits_shape(text)) return {};
    std::tm time{};
    time.tm_year = number_at(text, 0, 4) - 1900;
    time.tm_mon = number_at(text, 5, 2) - 1;
    time.tm_mday = number_at(text, 8, 2);
    time.tm_hour = number_at(text, 11, 2);
    time.tm_min = number_at(text, 14, 2);
    time.tm_sec = number_at(text, 17, 2);
    // A leap second is the 60th.
    if (!is_day(time) || time.tm_hour > 23 || time.tm_min > 59 || time.tm_sec > 60) return {};
    return time;
}

}  // namespace ruvo::ctl
