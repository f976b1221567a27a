#include "ruvoctl/plan/timeline.h"

#include "ruvoctl/output/printable.h"
#include "ruvoctl/plan/plan_words.h"
#include "ruvoctl/plan/time_axis.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace ruvo::ctl {
namespace {

constexpr std::string_view kLegendText =
    "####  begins in this time   x  not sent\n"
    "----  may leave so late: TCP connects (2 s), a report is fetched (6 s at most)\n";

// Where the bars stand: behind the labels, as many columns as are left.
struct Canvas {
    std::size_t label_width = 0;
    std::size_t columns = 0;
    TimeAxis axis;

    std::size_t column(double ms) const {
        const double share = ms / axis.end_ms() * static_cast<double>(columns);
        return std::min(columns - 1, static_cast<std::size_t>(share));
    }
};

std::string label_of(const PlannedStep& step) {
    const std::string_view sender = step.sender == Sender::kNone ? "-" : sender_word(step.sender);
    return fmt::format("{:>3} {} {}:{}", step.index, sender, step.destination.ip,
                       step.destination.port);
}

Canvas canvas_for(const PlannedEvent& event, std::size_t width) {
    std::size_t label_width = 0;
    for (const PlannedStep& step : event.steps) {
        label_width = std::max(label_width, label_of(step).size());
    }
    label_width = std::min(label_width, width / 2);
    const std::size_t columns = width - label_width - 3;
    return {.label_width = label_width,
            .columns = columns,
            .axis = time_axis(drawing_end_ms(event), std::max<std::size_t>(2, columns / 10))};
}

std::string row_head(const Canvas& canvas, std::string_view label) {
    return fmt::format("{:<{}.{}} |", label, canvas.label_width, canvas.label_width);
}

// A cross and, where there is room, the reason behind it.
std::string unsent_mark(const PlannedStep& step, std::size_t column, const Canvas& canvas,
                        const Style& style) {
    const std::string mark = fmt::format("x {}", reason_word(step.reason));
    const bool lost = step.outcome == StepOutcome::kLost;
    return style.paint(lost ? Role::kError : Role::kWarning,
                       mark.substr(0, canvas.columns - column)) +
           "\n";
}

std::string step_row(const PlannedStep& step, const Canvas& canvas, const Style& style) {
    const std::size_t begin = canvas.column(in_ms(step.window.earliest));
    const std::size_t end = canvas.column(in_ms(step.window.latest)) + 1;
    std::string row = row_head(canvas, label_of(step)) + std::string(begin, ' ');
    if (step.outcome != StepOutcome::kSends) return row + unsent_mark(step, begin, canvas, style);
    row += style.paint(Role::kGood, std::string(end - begin, '#'));
    if (const auto longest = tail_of(step); longest.count() > 0) {
        const std::size_t tail = canvas.column(in_ms(step.window.latest + longest)) + 1;
        row += style.paint(Role::kFaint, std::string(tail - end, '-'));
    }
    return row + "\n";
}

// Ticks with their texts behind them; the last one's text may have no room.
std::string axis_rows(const Canvas& canvas) {
    std::string marks(canvas.columns, '-');
    std::string texts(canvas.columns, ' ');
    for (std::size_t i = 0; i < canvas.axis.ticks; ++i) {
        const double ms = canvas.axis.tick_ms * static_cast<double>(i);
        const std::size_t column = canvas.column(ms);
        marks[column] = '+';
        const std::string text = tick_text(ms).substr(0, canvas.columns - column);
        texts.replace(column, text.size(), text);
    }
    texts.erase(texts.find_last_not_of(' ') + 1);
    return row_head(canvas, "") + marks + "\n" + std::string(canvas.label_width + 2, ' ') + texts +
           "\n";
}

std::string event_drawing(const PlannedEvent& event, LookedUpBy by, std::size_t width,
                          const Style& style) {
    std::string text = style.paint(Role::kStrong, text_of(event.name)) + "\n";
    if (!event.start) return text + fmt::format("  not run: {}\n", outcome_text(event, by));
    const Canvas canvas = canvas_for(event, width);
    for (const PlannedStep& step : event.steps) text += step_row(step, canvas, style);
    return text + axis_rows(canvas);
}

}  // namespace

std::string timeline(const Plan& plan, std::size_t width, const Style& style) {
    std::string text;
    for (const PlannedEvent& event : plan.events) {
        text += event_drawing(event, looked_up_by(plan.world), std::max(width, kNarrowestTimeline),
                              style) +
                "\n";
    }
    return text.empty() ? text : text + std::string(kLegendText);
}

}  // namespace ruvo::ctl
