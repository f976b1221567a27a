// Writes the manual page ruvo-checks(7), which says what the catalogue of checks says.

#include "core/build_info.h"
#include "ruvoctl/check/catalogue.h"
#include "ruvoctl/exit_status.h"
#include "ruvoctl/input_text.h"
#include "ruvoctl/output/printable.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace ruvo::ctl {
namespace {

constexpr const char* kHead = R"(.\" Made of the catalogue of ruvoctl check.
.Dd {}
.Dt RUVO-CHECKS 7
.Os
.Sh NAME
.Nm ruvo-checks
.Nd what ruvoctl check finds in settings files
.Sh DESCRIPTION
.Ic ruvoctl check
says what
.Xr ruvotcpd 8
will do with a settings file that its author did not mean.
This page explains each of its findings by its id, the most serious ones first;
.Ic ruvoctl check --explain Ar ID
prints the same on the terminal.
In the examples
.Ql \er
stands for a carriage return at the end of a line.
)";

constexpr const char* kFoot = R"(.Sh SEE ALSO
.Xr ruvoctl 1 ,
.Xr ruvo.txt 5 ,
.Xr ruvotcpd 8
)";

constexpr std::size_t kWidth = 76;

// Text as roff takes it: nothing in it is a request.
std::string roff_line(std::string_view text) {
    std::string line;
    for (const char c : text) line += c == '\\' ? std::string("\\e") : std::string(1, c);
    if (line.ends_with(' ')) line += "\\&";
    return line.starts_with('.') || line.starts_with('\'') ? "\\&" + line : line;
}

// Every sentence begins a line, and no line is wider than the page's source may be.
std::string sentences(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        std::size_t end = std::min(text.size(), text.find(". ") + 1);
        if (end == 0) end = text.size();
        if (end > kWidth) end = text.rfind(' ', kWidth);
        result += roff_line(text.substr(0, end)) + "\n";
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return result;
}

std::string example(std::string_view settings) {
    std::string result = ".Bd -literal -offset indent\n";
    while (!settings.empty()) {
        const auto feed = std::min(settings.find('\n'), settings.size());
        std::string line = text_of(settings.substr(0, feed));
        if (line.size() > kWidth) line = line.substr(0, kWidth - 3) + "...";
        result += roff_line(line) + "\n";
        settings.remove_prefix(std::min(feed + 1, settings.size()));
    }
    return result + ".Ed\n";
}

const char* section_of(Severity severity) {
    switch (severity) {
        case Severity::kFatal:
            return "FATAL: THE WHOLE FILE TAKES NO EFFECT";
        case Severity::kError:
            return "ERRORS: NEVER SENT, OR SENT WRONG";
        case Severity::kWarning:
            return "WARNINGS: PROBABLY NOT WHAT IS MEANT";
        case Severity::kInformation:
            break;
    }
    return "INFORMATION";
}

std::string check_text(const Check& check) {
    std::string text =
        fmt::format(".Ss {}\n{}", check.id, sentences(std::string(check.title) + "."));
    text += ".Pp\n" + sentences(check.explanation);
    if (check.fault.empty()) return text;
    text += ".Pp\nSettings that have it:\n" + example(check.fault);
    return text + ".Pp\nSettings that do not:\n" + example(check.near);
}

// The day of the build as .Dd takes it: "October 17, 2024" of "Oct 17 2024".
std::string page_date() {
    static constexpr std::array<std::string_view, 12> kMonths = {
        "January", "February", "March",     "April",   "May",      "June",
        "July",    "August",   "September", "October", "November", "December"};
    const std::string_view date = kBuildDate;
    const auto month = std::find_if(kMonths.begin(), kMonths.end(), [&](std::string_view name) {
        return name.starts_with(date.substr(0, 3));
    });
    const std::string_view day = date.substr(date[4] == ' ' ? 5 : 4, date[4] == ' ' ? 1 : 2);
    return fmt::format("{} {}, {}", *month, day, date.substr(7));
}

std::string page_text() {
    std::string text = fmt::format(fmt::runtime(kHead), page_date());
    const Check* last = nullptr;
    for (const Check& check : catalogue()) {
        if (last == nullptr || last->severity != check.severity) {
            text += fmt::format(".Sh {}\n", section_of(check.severity));
        }
        text += check_text(check);
        last = &check;
    }
    return text + kFoot;
}

}  // namespace
}  // namespace ruvo::ctl

// The one argument is the file to write.
int main(int argc, char** argv) {
    if (argc != 2) return ruvo::ctl::kWrongUsage;
    ruvo::ctl::write_output(argv[1], ruvo::ctl::page_text());
    return ruvo::ctl::kAsExpected;
}
