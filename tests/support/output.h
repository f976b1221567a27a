#pragma once

#include <gtest/gtest.h>

#include <string>

namespace ruvo::test {

// What a task writes to standard output.
template <typename Task>
std::string output_of(Task&& task) {
    testing::internal::CaptureStdout();
    task();
    return testing::internal::GetCapturedStdout();
}

}  // namespace ruvo::test
