#pragma once

#include "ruvoctl/exit_status.h"
#include "ruvoctl/verbs.h"

#include <gtest/gtest.h>
#include <stdio_ext.h>
#include <unistd.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

namespace ruvo::ctl {

// Standard input holds a text while this lives.
class StandardInput {
  public:
    explicit StandardInput(const std::string& text)
        : file_(std::tmpfile(), &std::fclose), saved_(::dup(STDIN_FILENO)) {
        (void)std::fwrite(text.data(), 1, text.size(), file_.get());
        std::rewind(file_.get());
        (void)::dup2(::fileno(file_.get()), STDIN_FILENO);
        forget_what_was_read();
    }
    ~StandardInput() {
        (void)::dup2(saved_, STDIN_FILENO);
        (void)::close(saved_);
        forget_what_was_read();
    }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;

  private:
    static void forget_what_was_read() {
        ::__fpurge(stdin);
        std::clearerr(stdin);
    }

    std::unique_ptr<std::FILE, int (*)(std::FILE*)> file_;
    int saved_;
};

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
