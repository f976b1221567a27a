#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace ruvo::devkit {

struct NetworkInterface {
    std::string name;
    std::string address;  // "a.b.c.d/prefix"
};

struct WorldOptions {
    std::optional<std::chrono::nanoseconds> uptime;
    bool only_uptime = false;  // nothing of the world but its uptime
    std::vector<NetworkInterface> interfaces;
    std::vector<std::filesystem::path> keep;
    std::vector<std::string> command;
};

// Reads "NAME=ADDR/PREFIX"; nothing for any other text.
std::optional<NetworkInterface> parse_interface(const std::string& text);

// Fills the options; a status when the program is to end with it instead.
std::optional<int> parse_world_options(int argc, char** argv, WorldOptions& options);

}  // namespace ruvo::devkit
