#include "devkit/errors.h"

#include <cerrno>
#include <system_error>

namespace ruvo::devkit {

void throw_errno(const std::string& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace ruvo::devkit
