#pragma once

#include "ruvoctl/check/check_settings.h"
#include "ruvoctl/settings_source.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace ruvo::ctl {

// An event of one step in five lines, the same number for the same field everywhere:
// Count, IP, Port, Protocol, Data; what `more` holds begins at line 6.
struct OneStep {
    std::string name = "Beamer";
    std::string count = "1";
    std::string ip = "10.1.2.3";
    std::string port = "5000";
    std::string protocol = "UDP";
    std::string data = "4F4E0D";
    std::string more = {};
    std::string end = "\n";  // of the five lines

    operator std::string() const {  // NOLINT: it stands for a file in tables
        return name + "Count=" + count + end + name + "IP0=" + ip + end + name + "Port0=" + port +
               end + name + "Protocol0=" + protocol + end + name + "Data0=" + data + end + more;
    }
};

inline std::string good_and(std::string more) { return OneStep{.more = std::move(more)}; }

// Further steps of Beamer, from step 1; each is a line each of IP, Port, Protocol, Data.
inline std::string step_lines(int step, const std::string& protocol = "UDP",
                              const std::string& ip = "10.1.2.3") {
    const std::string index = std::to_string(step);
    return "BeamerIP" + index + "=" + ip + "\nBeamerPort" + index + "=5000\nBeamerProtocol" +
           index + "=" + protocol + "\nBeamerData" + index + "=4F4E\n";
}

// Bytes as a Data value.
inline std::string hex(const std::string& bytes) {
    std::string text;
    for (const char byte : bytes) {
        constexpr const char* kDigits = "0123456789ABCDEF";
        text += kDigits[static_cast<unsigned char>(byte) >> 4];
        text += kDigits[static_cast<unsigned char>(byte) & 15];
    }
    return text;
}

// "6:10 fatal index-not-a-number Beamer.0".
inline std::string line_of(const Diagnostic& found, const SettingsSource& source) {
    const SourcePosition at = source.position(found.offset);
    std::string text = std::to_string(at.line) + ":" + std::to_string(at.column) + " " +
                       std::string(severity_name(found.severity)) + " " + std::string(found.id);
    if (!found.event.empty()) text += " " + found.event;
    if (found.step) text += "." + std::to_string(*found.step);
    return text;
}

inline bool is_problem(const Diagnostic& found) { return found.severity != Severity::kInformation; }

// Every fatal, error and warning of a file, joined by "; ".
inline std::string problems(const std::string& text, const CheckOptions& options = {}) {
    const SettingsSource source = read_source(text);
    std::string all;
    for (const Diagnostic& found : check_settings(source, options).diagnostics) {
        if (!is_problem(found)) continue;
        all += (all.empty() ? "" : "; ") + line_of(found, source);
    }
    return all;
}

// The same for information.
inline std::string information(const std::string& text, const CheckOptions& options = {}) {
    const SettingsSource source = read_source(text);
    std::string all;
    for (const Diagnostic& found : check_settings(source, options).diagnostics) {
        if (is_problem(found)) continue;
        all += (all.empty() ? "" : "; ") + line_of(found, source);
    }
    return all;
}

// Cause and effect of everything that was found.
inline std::string words_of(const std::string& text, const CheckOptions& options = {}) {
    std::string all;
    for (const Diagnostic& found : check_settings(read_source(text), options).diagnostics) {
        all += std::string(found.id) + ": " + found.cause + " / " + found.effect + "\n";
    }
    return all;
}

// A file and all that is wrong with it; nothing for one that only nearly has a fault.
struct CheckCase {
    const char* reason;
    std::string text;
    std::string found = {};
    std::vector<std::string> words = {};  // that cause or effect must hold
};

inline void expect_cases(const std::vector<CheckCase>& cases, const CheckOptions& options = {}) {
    for (const CheckCase& row : cases) {
        SCOPED_TRACE(std::string(row.reason) + ":\n" + row.text.substr(0, 400));
        EXPECT_EQ(problems(row.text, options), row.found);
        const std::string words = words_of(row.text, options);
        for (const std::string& word : row.words) {
            EXPECT_NE(words.find(word), std::string::npos) << word << " in\n" << words;
        }
    }
}

}  // namespace ruvo::ctl
