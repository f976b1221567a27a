#pragma once

#include <string>
#include <vector>

namespace ruvo::devkit {

inline constexpr int kWorldFailed = 125;
inline constexpr int kCommandNotRunnable = 126;
inline constexpr int kCommandNotFound = 127;

// The arguments in the form that the exec functions take; valid as long as the
// vector that it was made of.
class ArgumentList {
  public:
    explicit ArgumentList(const std::vector<std::string>& arguments);

    const char* file() const { return pointers_.front(); }
    char* const* data() { return pointers_.data(); }

  private:
    std::vector<char*> pointers_;
};

// Turns this process into the command, found through the PATH. Returns the status
// to end with when that fails, after a message.
int become_command(const std::vector<std::string>& command);

// A process's end as a status: its own, or 128+N when signal N ended it.
int exit_status_of(int wait_status);

}  // namespace ruvo::devkit
