#include "ruvoctl/check/catalogue.h"

#include "ruvoctl/check/check_settings.h"
#include "settings/settings_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>

namespace ruvo::ctl {
namespace {

const StatusVariables kItems = {{"model", "AV-100"}, {"input", "HDMI1"}, {"power", "on"},
                                {"volume", "42"},    {"mute", "off"},    {"time", "noon"}};

// The items are known where a check is about them.
CheckOptions options_for(std::string_view id) {
    CheckOptions options;
    if (id == "unknown-macro" || id == "macro-shadowed") options.items = &kItems;
    return options;
}

std::string text_of(const CheckResult& result, const SettingsSource& source) {
    std::string text;
    for (const Diagnostic& d : result.diagnostics) {
        text += std::to_string(source.position(d.offset).line) + " " + std::string(d.id) + ": " +
                d.cause + "\n";
    }
    return text;
}

TEST(Catalogue, EveryIdIsThereOnceAndExplained) {
    std::set<std::string_view> ids;
    for (const Check& check : catalogue()) {
        EXPECT_TRUE(ids.insert(check.id).second) << check.id;
        EXPECT_EQ(find_check(check.id), &check);
        EXPECT_FALSE(check.title.empty()) << check.id;
        EXPECT_GT(check.explanation.size(), 15U) << check.id;
    }
    EXPECT_EQ(find_check("no-such-check"), nullptr);
}

TEST(Catalogue, FatalChecksComeFirst) {
    EXPECT_TRUE(std::is_sorted(
        catalogue().begin(), catalogue().end(),
        [](const Check& left, const Check& right) { return left.severity < right.severity; }));
}

TEST(Catalogue, EveryExampleHasItsFault) {
    for (const Check& check : catalogue()) {
        if (check.fault.empty()) continue;
        const SettingsSource source = read_source(std::string(check.fault));
        const CheckResult result = check_settings(source, options_for(check.id));
        EXPECT_TRUE(std::any_of(result.diagnostics.begin(), result.diagnostics.end(),
                                [&](const Diagnostic& d) { return d.id == check.id; }))
            << check.id << ":\n"
            << text_of(result, source);
    }
}

TEST(Catalogue, WhatNearlyHasAFaultHasNone) {
    for (const Check& check : catalogue()) {
        if (check.fault.empty()) continue;
        const SettingsSource source = read_source(std::string(check.near));
        CheckResult result = check_settings(source, options_for(check.id));
        std::erase_if(result.diagnostics, [&](const Diagnostic& d) {
            return d.severity == Severity::kInformation && d.id != check.id;
        });
        EXPECT_EQ(text_of(result, source), "") << check.id;
    }
}

TEST(Catalogue, TheSettingsOfAFreshDeviceAreClean) {
    for (const bool enabled : {false, true}) {
        std::string text;
        for (const std::string& line : default_settings_lines(enabled)) text += line;
        const SettingsSource source = read_source(text);
        EXPECT_EQ(text_of(check_settings(source, {}), source), "");
    }
}

}  // namespace
}  // namespace ruvo::ctl
