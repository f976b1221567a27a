#include "devkit/descriptor.h"

#include <unistd.h>

namespace ruvo::devkit {

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    if (this != &other) {
        reset();
        fd_ = other.release();
    }
    return *this;
}

int Descriptor::release() {
    const int fd = fd_;
    fd_ = -1;
    return fd;
}

void Descriptor::reset() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
}

}  // namespace ruvo::devkit
