// An interface list that cannot be read: RUVO_FAIL_GETIFADDRS names the failing calls.
// RUVO_BARE_INTERFACE names an interface whose entries carry no address at all.
#include <dlfcn.h>
#include <ifaddrs.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "call_range.h"

namespace {

void strip_addresses(ifaddrs* list) {
    const char* const name = std::getenv("RUVO_BARE_INTERFACE");
    if (name == nullptr) return;
    for (ifaddrs* entry = list; entry != nullptr; entry = entry->ifa_next) {
        if (std::strcmp(entry->ifa_name, name) == 0) entry->ifa_addr = nullptr;
    }
}

}  // namespace

extern "C" int getifaddrs(ifaddrs** list) {
    using Call = int (*)(ifaddrs**);
    static const auto real = reinterpret_cast<Call>(dlsym(RTLD_NEXT, "getifaddrs"));
    static CallRange failing("RUVO_FAIL_GETIFADDRS");
    if (failing.next_fails()) {
        errno = ENOMEM;
        return -1;
    }
    const int status = real(list);
    if (status == 0) strip_addresses(*list);
    return status;
}
