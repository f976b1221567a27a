#pragma once

#include "core/daemon_context.h"
#include "tests/support/process_state.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace ruvo::test {

inline constexpr char kLog[] = "/var/log/ruvo.log";
inline constexpr char kRotatedLog[] = "/var/log/ruvo.log.1";

// Whether this process runs in the launcher's private world, where the daemon's
// fixed paths and ports belong to it alone.
bool is_private_world();

// Gives every test the fixed paths empty, the settings folder in place, and a
// `userconfigtool` that the test tells what to answer ("false" at first).
class WorldTest : public testing::Test {
  protected:
    WorldTest();

    static void set_tool_answer(const std::string& answer);
    static void remove_tool();
    // Puts a script in the place of any tool that shell commands run.
    static void replace_tool(const std::string& name, const std::string& script);
    // The arguments of each call of the tool, a line per call.
    static std::string tool_calls();

    static std::string log();

  private:
    FreshProcessState process_state_;
};

// The same with the daemon's context in place of a start-up, events enabled.
class DaemonTest : public WorldTest {
  protected:
    DaemonTest();

    DaemonContext context_;
};

}  // namespace ruvo::test
