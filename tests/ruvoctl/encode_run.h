#pragma once

#include "ruvoctl/exit_status.h"
#include "ruvoctl/verbs.h"

#include <gtest/gtest.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <string>
#include <vector>

namespace ruvo::ctl {

struct VerbResult {
    int status = 0;
    std::string out;
    std::string talk;
};

// Runs encode or decode as the command line does, in this process.
inline VerbResult run_codec(std::vector<std::string> arguments) {
    CLI::App app{"", "ruvoctl"};
    Run run;
    app.require_subcommand(1);
    add_encode_verb(app, run);
    add_decode_verb(app, run);
    std::reverse(arguments.begin(), arguments.end());
    VerbResult result;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    try {
        app.parse(std::move(arguments));
        result.status = run();
    } catch (const CLI::ParseError& error) {
        result.status = kWrongUsage;
        (void)std::fputs(error.what(), stderr);
    }
    result.out = testing::internal::GetCapturedStdout();
    result.talk = testing::internal::GetCapturedStderr();
    return result;
}

}  // namespace ruvo::ctl
