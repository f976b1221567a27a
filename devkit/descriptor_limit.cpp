#include "devkit/descriptor_limit.h"

#include <sys/resource.h>

namespace ruvo::devkit {

void raise_descriptor_limit() {
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0) return;
    limit.rlim_cur = limit.rlim_max;
    (void)setrlimit(RLIMIT_NOFILE, &limit);  // silent: the old limit may well do
}

}  // namespace ruvo::devkit
