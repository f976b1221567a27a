#include "tests/support/world.h"

#include "tests/support/files.h"

#include <stdlib.h>

#include <filesystem>
#include <fstream>

namespace ruvo::test {
namespace {

namespace fs = std::filesystem;

constexpr char kToolFolder[] = "/tmp/tools";
constexpr char kUserConfigTool[] = "userconfigtool";
constexpr char kToolAnswer[] = "/tmp/tools/answer";
constexpr char kToolCalls[] = "/tmp/tools/calls";

void empty_folder(const fs::path& folder) {
    for (const fs::directory_entry& entry : fs::directory_iterator(folder)) {
        std::error_code ignored;  // the launcher's mounts stay
        fs::remove_all(entry, ignored);
    }
}

// Only what the daemon or a test has put there; the build may lie below /tmp too.
void clear_fixed_paths() {
    empty_folder("/var/log");
    fs::remove_all("/mnt/configs");
    fs::remove("/var/run/ruvotcp.pid");
    for (const fs::directory_entry& entry : fs::directory_iterator("/tmp")) {
        const std::string name = entry.path().filename();
        if (name.starts_with("ruvo_") || name == "tools") fs::remove_all(entry);
    }
}

fs::path path_of_tool(const std::string& name) { return fs::path(kToolFolder) / name; }

void put_tools_on_path() {
    static const std::string path = [] {
        const char* const before = ::getenv("PATH");
        return std::string(kToolFolder) + ":" + (before == nullptr ? "/usr/bin:/bin" : before);
    }();
    ::setenv("PATH", path.c_str(), 1);
}

}  // namespace

bool is_private_world() {
    std::ifstream mounts("/proc/self/mounts");
    for (std::string line; std::getline(mounts, line);) {
        if (line.starts_with("ruvo-world /var/log tmpfs ")) return true;
    }
    return false;
}

WorldTest::WorldTest() {
    clear_fixed_paths();
    fs::create_directories(kToolFolder);
    replace_tool(kUserConfigTool, "echo \"$*\" >> /tmp/tools/calls\ncat /tmp/tools/answer\n");
    set_tool_answer("false\n");
    put_tools_on_path();
    fs::create_directories("/mnt/configs/ruvo");
}

void WorldTest::set_tool_answer(const std::string& answer) { write_text(kToolAnswer, answer); }

void WorldTest::remove_tool() { fs::remove(path_of_tool(kUserConfigTool)); }

void WorldTest::replace_tool(const std::string& name, const std::string& script) {
    write_text(path_of_tool(name), "#!/bin/sh\n" + script);
    fs::permissions(path_of_tool(name), fs::perms::owner_all);
}

std::string WorldTest::tool_calls() { return text_of(kToolCalls); }

std::string WorldTest::log() { return text_of(kLog); }

DaemonTest::DaemonTest() {
    g_daemon_ctx = &context_;
    context_.enable = 1;
}

}  // namespace ruvo::test
