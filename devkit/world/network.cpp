#include "devkit/world/network.h"

#include "devkit/world/command.h"
#include "devkit/world/tool.h"

#include <stdexcept>
#include <string>

namespace ruvo::devkit {
namespace {

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

ToolResult try_ip(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "ip");
    ToolResult result = run_tool(arguments);
    if (result.status == kCommandNotFound) {
        throw std::runtime_error("the command ip is missing: install iproute2");
    }
    return result;
}

void expect_success(const std::vector<std::string>& arguments, const ToolResult& result) {
    if (result.status == 0) return;
    const std::string reason = result.output.substr(0, result.output.find_last_not_of('\n') + 1);
    throw std::runtime_error("ip " + joined(arguments) + ": " + reason);
}

void run_ip(const std::vector<std::string>& arguments) {
    expect_success(arguments, try_ip(arguments));
}

// A pair of connected devices of which only the first carries an address; where
// the kernel has no such pairs, a device that leads nowhere.
void add_device(const std::string& name, const std::string& peer) {
    const std::vector<std::string> pair = {"link", "add",  "name", name, "type",
                                           "veth", "peer", "name", peer};
    const ToolResult result = try_ip(pair);
    if (result.status == 0) {
        run_ip({"link", "set", "dev", peer, "up"});
        return;
    }
    const bool has_other = try_ip({"link", "add", "name", name, "type", "dummy"}).status == 0;
    if (!has_other) expect_success(pair, result);
}

void add_interface(const NetworkInterface& interface, std::size_t index) {
    add_device(interface.name, "peer-" + std::to_string(index));
    // A route to the interface's own subnet would lead its other addresses away
    // from here.
    run_ip({"address", "add", interface.address, "dev", interface.name, "noprefixroute"});
    run_ip({"link", "set", "dev", interface.name, "up"});
}

}  // namespace

void build_network(const std::vector<NetworkInterface>& interfaces) {
    run_ip({"link", "set", "dev", "lo", "up"});
    for (std::size_t i = 0; i < interfaces.size(); ++i) add_interface(interfaces[i], i);
    // The only route: nothing ever leaves through a device.
    run_ip({"route", "add", "local", "0.0.0.0/0", "dev", "lo"});
}

}  // namespace ruvo::devkit
