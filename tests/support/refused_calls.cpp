#include "tests/support/refused_calls.h"

#include <linux/capability.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <thread>
#include <vector>

namespace ruvo::test {
namespace {

void must(bool done, const char* what) {
    if (done) return;
    std::perror(what);
    std::abort();
}

constexpr sock_filter statement(std::uint16_t code, std::uint32_t value) {
    return {.code = code, .jt = 0, .jf = 0, .k = value};
}

// The filter goes over a list of "this call? refuse it" and ends with "allow".
void refuse_in_this_thread(const std::vector<long>& system_calls, int error) {
    std::vector<sock_filter> filter{
        statement(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
    for (const long call : system_calls) {
        filter.push_back({.code = BPF_JMP | BPF_JEQ | BPF_K,
                          .jt = 0,
                          .jf = 1,
                          .k = static_cast<std::uint32_t>(call)});
        filter.push_back(
            statement(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | static_cast<std::uint32_t>(error)));
    }
    filter.push_back(statement(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    const sock_fprog program{.len = static_cast<unsigned short>(filter.size()),
                             .filter = filter.data()};
    must(::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0, "no new privileges");
    must(::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0, "seccomp");
}

constexpr std::uint32_t bit(int capability) { return std::uint32_t{1} << capability; }

void drop_file_rights_of_this_thread() {
    __user_cap_header_struct header{.version = _LINUX_CAPABILITY_VERSION_3, .pid = 0};
    __user_cap_data_struct rights[_LINUX_CAPABILITY_U32S_3]{};
    must(::syscall(SYS_capget, &header, rights) == 0, "capget");
    rights[0].effective &= ~(bit(CAP_DAC_OVERRIDE) | bit(CAP_DAC_READ_SEARCH));
    must(::syscall(SYS_capset, &header, rights) == 0, "capset");
}

}  // namespace

bool can_refuse_calls() {
    const std::uint32_t action = SECCOMP_RET_ERRNO;
    return ::syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) == 0;
}

void run_refused(const std::vector<long>& system_calls, int error,
                 const std::function<void()>& task) {
    std::thread([&] {
        refuse_in_this_thread(system_calls, error);
        task();
    }).join();
}

void run_bound_by_file_modes(const std::function<void()>& task) {
    std::thread([&] {
        drop_file_rights_of_this_thread();
        task();
    }).join();
}

}  // namespace ruvo::test
