#include "core/network_info.h"

#include "core/daemon_context.h"
#include "core/log.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <netinet/in.h>

#include <array>
#include <cstring>
#include <memory>

namespace ruvo {
namespace {

struct FreeInterfaces {
    void operator()(ifaddrs* list) const { ::freeifaddrs(list); }
};

bool has_device_address(const ifaddrs& interface) {
    return std::strcmp(interface.ifa_name, "lo") != 0 && interface.ifa_addr != nullptr &&
           interface.ifa_addr->sa_family == AF_INET;
}

void store_address(DaemonContext& context, const ifaddrs& interface) {
    std::array<char, INET_ADDRSTRLEN> text{};
    const auto* address = reinterpret_cast<const sockaddr_in*>(interface.ifa_addr);
    ::inet_ntop(AF_INET, &address->sin_addr, text.data(), text.size());
    context.localIfName = interface.ifa_name;
    context.localIp = text.data();
}

}  // namespace

int renew_network_info(DaemonContext& context) {
    ifaddrs* first = nullptr;
    if (::getifaddrs(&first) != 0) {
        static LogSite no_list;
        log_line(no_list, "[%s:%d] Cannot get ether net info\n", "renew_network_info", 648);
        return -1;
    }
    const std::unique_ptr<ifaddrs, FreeInterfaces> list(first);
    // The last one of the list wins.
    for (const ifaddrs* interface = first; interface != nullptr; interface = interface->ifa_next) {
        if (has_device_address(*interface)) store_address(context, *interface);
    }
    return 0;
}

}  // namespace ruvo
