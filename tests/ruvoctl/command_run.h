#pragma once

#include "ruvoctl/command_line.h"

#include <gtest/gtest.h>
#include <stdio_ext.h>
#include <unistd.h>

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

struct CommandResult {
    int status = 0;
    std::string out;
    std::string talk;
};

// Runs ruvoctl with these arguments, in this process.
inline CommandResult run_ruvoctl(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "ruvoctl");
    std::vector<char*> pointers;
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    CommandResult result;
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    result.status = run_command_line(static_cast<int>(pointers.size()), pointers.data());
    (void)std::fflush(stdout);
    result.out = testing::internal::GetCapturedStdout();
    result.talk = testing::internal::GetCapturedStderr();
    return result;
}

}  // namespace ruvo::ctl
