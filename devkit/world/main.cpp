// ruvo-world: runs a command in a private world.

#include "devkit/world/command.h"
#include "devkit/world/options.h"
#include "devkit/world/world.h"

#include <cerrno>
#include <exception>
#include <iostream>
#include <system_error>

namespace ruvo::devkit {
namespace {

constexpr const char* kAdvice =
    "; run it as root, or allow unprivileged user namespaces (sysctl "
    "kernel.unprivileged_userns_clone=1, user.max_user_namespaces above 0); in a container: "
    "--privileged";

// How the kernel says that this caller may not make namespaces or mounts, or not
// that many of them.
bool is_refusal(const std::error_code& code) {
    return code == std::errc::operation_not_permitted || code == std::errc::permission_denied ||
           code == std::errc::no_space_on_device || code == std::errc::too_many_files_open;
}

int run(int argc, char** argv) {
    WorldOptions options;
    if (const auto status = parse_world_options(argc, argv, options)) return *status;
    return options.only_uptime ? run_with_uptime(options) : run_in_world(options);
}

}  // namespace
}  // namespace ruvo::devkit

int main(int argc, char** argv) {
    using namespace ruvo::devkit;
    try {
        return run(argc, argv);
    } catch (const std::system_error& error) {
        const char* const advice = is_refusal(error.code()) ? kAdvice : "";
        std::cerr << "ruvo-world: cannot make the world: " << error.what() << advice << "\n";
    } catch (const std::exception& error) {
        std::cerr << "ruvo-world: cannot make the world: " << error.what() << "\n";
    }
    return kWorldFailed;
}
