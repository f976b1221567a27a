#include "devkit/receiver/arrival_output.h"

#include "devkit/errors.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

namespace ruvo::devkit {
namespace {

constexpr int kPipeBytes = 1 << 20;

void write_all(int fd, std::string_view text) {
    while (!text.empty()) {
        const ssize_t n = ::write(fd, text.data(), text.size());
        if (n >= 0) {
            text.remove_prefix(static_cast<std::size_t>(n));
        } else if (errno != EINTR) {
            throw_errno("cannot write an arrival");
        }
    }
}

// Whoever looks at a pipe only after a burst does not hold up the receiving.
void enlarge_pipe(int fd) {
    (void)fcntl(fd, F_SETPIPE_SZ, kPipeBytes);  // silent: it may well be no pipe
}

Descriptor open_record(const std::string& path) {
    Descriptor fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
    if (!fd.valid()) throw_errno(path);
    return fd;
}

}  // namespace

ArrivalOutput::ArrivalOutput(OutputForm form, const std::optional<std::string>& record_path)
    : form_(form) {
    enlarge_pipe(STDOUT_FILENO);
    if (record_path) record_ = open_record(*record_path);
}

void ArrivalOutput::write(const Arrival& arrival) const {
    const std::string json = json_line(arrival);
    if (record_.valid()) write_all(record_.get(), json);
    write_all(STDOUT_FILENO, form_ == OutputForm::kJson ? json : readable_line(arrival));
}

}  // namespace ruvo::devkit
