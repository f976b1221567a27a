// An uptime that cannot be read: RUVO_FAIL_SYSINFO names the failing calls.
#include <dlfcn.h>
#include <sys/sysinfo.h>

#include <cerrno>

#include "call_range.h"

// The system's own header says that it throws nothing.
extern "C" int sysinfo(struct sysinfo* info) noexcept {
    using Call = int (*)(struct sysinfo*);
    static const auto real = reinterpret_cast<Call>(dlsym(RTLD_NEXT, "sysinfo"));
    static CallRange failing("RUVO_FAIL_SYSINFO");
    if (failing.next_fails()) {
        errno = EFAULT;
        return -1;
    }
    return real(info);
}
