#include "ruvoctl/output/style.h"

#include <fmt/color.h>
#include <unistd.h>

#include <cstdlib>

namespace ruvo::ctl {
namespace {

bool user_wants_no_color() {
    const char* const value = std::getenv("NO_COLOR");
    return value != nullptr && *value != '\0';
}

bool use_color(ColorChoice choice, std::FILE* stream) {
    if (choice != ColorChoice::kAuto) return choice == ColorChoice::kAlways;
    return !user_wants_no_color() && ::isatty(::fileno(stream)) == 1;
}

fmt::text_style style_of(Role role) {
    switch (role) {
        case Role::kStrong:
            return fmt::text_style(fmt::emphasis::bold);
        case Role::kFatal:
            return fmt::emphasis::bold | fg(fmt::terminal_color::magenta);
        case Role::kError:
            return fmt::emphasis::bold | fg(fmt::terminal_color::red);
        case Role::kWarning:
            return fmt::emphasis::bold | fg(fmt::terminal_color::yellow);
        case Role::kInformation:
            return fg(fmt::terminal_color::cyan);
        case Role::kGood:
            return fg(fmt::terminal_color::green);
        case Role::kFaint:
            return fmt::text_style(fmt::emphasis::faint);
        case Role::kPlain:
            break;
    }
    return {};
}

}  // namespace

Style::Style(ColorChoice choice, std::FILE* stream) : colored_(use_color(choice, stream)) {}

std::string Style::paint(Role role, std::string_view text) const {
    if (!colored_ || role == Role::kPlain) return std::string(text);
    return fmt::format(style_of(role), "{}", text);
}

}  // namespace ruvo::ctl
