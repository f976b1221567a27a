#include "ruvoctl/plan/plan_svg.h"

#include "ruvoctl/output/printable.h"
#include "ruvoctl/plan/plan_words.h"
#include "ruvoctl/plan/time_axis.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace ruvo::ctl {
namespace {

// Pixels.
constexpr double kWidth = 960;
constexpr double kMargin = 16;
constexpr double kBarsBegin = 300;
constexpr double kBarsEnd = kWidth - 32;
constexpr double kRow = 22;
constexpr double kBar = 12;
constexpr double kHeader = 34;
constexpr double kAxis = 34;
constexpr double kLegend = 62;

constexpr std::string_view kStyles = R"(<style>
text { font: 13px sans-serif; fill: #222; }
.event { font-weight: bold; font-size: 15px; }
.tick { font-size: 11px; fill: #666; text-anchor: middle; }
.grid { stroke: #ddd; }
.udp { fill: #1a7f37; } .tcp { fill: #0a58ca; } .tail { fill: #0a58ca; fill-opacity: 0.2; }
.skipped { fill: #b26a00; } .lost { fill: #c62828; }
</style>
)";

// Two characters of UTF-8 that XML does not know.
std::string without_noncharacters(std::string text) {
    for (const auto& [character, name] : {std::pair("\xEF\xBF\xBE", "\\xEF\\xBF\\xBE"),
                                          std::pair("\xEF\xBF\xBF", "\\xEF\\xBF\\xBF")}) {
        for (auto at = text.find(character); at != std::string::npos; at = text.find(character)) {
            text.replace(at, 3, name);
        }
    }
    return text;
}

std::string xml_text(std::string_view text) {
    std::string escaped;
    for (const char character : without_noncharacters(text_of(text))) {
        switch (character) {
            case '&':
                escaped += "&amp;";
                break;
            case '<':
                escaped += "&lt;";
                break;
            case '>':
                escaped += "&gt;";
                break;
            case '"':
                escaped += "&quot;";
                break;
            default:
                escaped += character;
        }
    }
    return escaped;
}

std::string text_at(double x, double y, std::string_view kind, std::string_view text) {
    return fmt::format("<text class=\"{}\" x=\"{:.1f}\" y=\"{:.1f}\">{}</text>\n", kind, x, y,
                       xml_text(text));
}

// A box between two moments or places, a pixel wide at least.
std::string box(double begin, double end, double y, std::string_view kind, std::string_view title) {
    const double width = end - begin < 1 ? 1 : end - begin;
    return fmt::format(
        "<rect class=\"{}\" x=\"{:.1f}\" y=\"{:.1f}\" width=\"{:.1f}\" height=\"{:.0f}\">"
        "<title>{}</title></rect>\n",
        kind, begin, y, width, kBar, xml_text(title));
}

double x_of(double ms, const TimeAxis& axis) {
    return kBarsBegin + ms / axis.end_ms() * (kBarsEnd - kBarsBegin);
}

std::string_view bar_kind(const PlannedStep& step) {
    return step.sender == Sender::kUdp || step.sender == Sender::kUdpStatus ? "udp" : "tcp";
}

std::string step_label(const PlannedStep& step) {
    return fmt::format("{}  {} {}:{}", step.index, sender_text(step.sender), step.destination.ip,
                       step.destination.port);
}

std::string unsent_row(const PlannedStep& step, double y) {
    return text_at(kBarsBegin + 4, y + kBar - 1, outcome_word(step.outcome),
                   fmt::format("× {}: {}", outcome_word(step.outcome), reason_text(step)));
}

std::string tail_title(const PlannedStep& step) {
    const auto seconds = tail_of(step).count();
    return step.sender == Sender::kTcp
               ? fmt::format("may leave up to {} s later: it connects first", seconds)
               : fmt::format("may leave up to {} s later: the report is fetched first", seconds);
}

std::string step_row(const PlannedStep& step, const TimeAxis& axis, double y) {
    std::string row = text_at(kMargin + 8, y + kBar - 1, "label", step_label(step));
    if (step.outcome != StepOutcome::kSends) return row + unsent_row(step, y);
    const double begin = x_of(in_ms(step.window.earliest), axis);
    const double end = x_of(in_ms(step.window.latest), axis);
    const std::string window = window_text(step.window);
    row += box(begin, end, y, bar_kind(step), window);
    if (const auto longest = tail_of(step); longest.count() > 0) {
        const double tail = x_of(in_ms(step.window.latest + longest), axis);
        row += box(end, tail, y, "tail", tail_title(step));
    }
    return row;
}

std::string grid(const TimeAxis& axis, double top, double bottom) {
    std::string lines;
    for (std::size_t i = 0; i <= axis.ticks; ++i) {
        const double ms = axis.tick_ms * static_cast<double>(i);
        const double x = x_of(ms, axis);
        lines += fmt::format(
            "<line class=\"grid\" x1=\"{0:.1f}\" x2=\"{0:.1f}\" y1=\"{1:.1f}\" y2=\"{2:.1f}\"/>\n",
            x, top, bottom);
        lines += text_at(x, bottom + 14, "tick", tick_text(ms));
    }
    return lines;
}

double height_of(const PlannedEvent& event) {
    if (!event.start) return kHeader + kRow;
    return kHeader + kRow * static_cast<double>(event.steps.size()) + kAxis;
}

std::string event_panel(const PlannedEvent& event, LookedUpBy by, double top) {
    std::string panel = text_at(kMargin, top + 22, "event", event.name);
    const double rows_top = top + kHeader;
    if (!event.start) {
        const bool refused = event.outcome == EventOutcome::kRefused;
        return panel + text_at(kMargin + 8, rows_top + kBar, refused ? "skipped" : "lost",
                               fmt::format("not run: {}", outcome_text(event, by)));
    }
    const TimeAxis axis = time_axis(drawing_end_ms(event), 10);
    const double bottom = rows_top + kRow * static_cast<double>(event.steps.size());
    panel += grid(axis, rows_top - 4, bottom);
    double y = rows_top;
    for (const PlannedStep& step : event.steps) {
        panel += step_row(step, axis, y);
        y += kRow;
    }
    return panel;
}

std::string legend(double top) {
    const double y = top + 10;
    const double baseline = y + kBar - 1;
    return box(kMargin, kMargin + 24, y, "udp", "UDP") +
           text_at(kMargin + 32, baseline, "label", "UDP begins in this time") +
           box(220, 244, y, "tcp", "TCP") +
           text_at(252, baseline, "label", "TCP begins in this time") +
           box(424, 448, y, "tail", "tail") +
           text_at(456, baseline, "label",
                   "may leave so late: TCP connects for 2 s, a report takes 6 s at most") +
           text_at(kMargin, baseline + kRow, "label", "0 is the trigger");
}

std::string voided_panel(const VoidingLine& voided) {
    return text_at(
        kMargin, 30, "lost",
        fmt::format("Line {}: {}: the whole file takes no effect", voided.line, voided.cause));
}

}  // namespace

std::string plan_svg(const Plan& plan) {
    std::string body;
    double top = kMargin;
    if (plan.voided) {
        body += voided_panel(*plan.voided);
        top += kHeader;
    }
    for (const PlannedEvent& event : plan.events) {
        body += event_panel(event, looked_up_by(plan.world), top);
        top += height_of(event);
    }
    return fmt::format(
        "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"{0:.0f}\" "
        "height=\"{1:.0f}\" viewBox=\"0 0 {0:.0f} {1:.0f}\">\n{2}"
        "<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n{3}{4}</svg>\n",
        kWidth, top + kLegend, kStyles, body, legend(top));
}

}  // namespace ruvo::ctl
