#include "devkit/world/terminal.h"

#include <unistd.h>

#include <csignal>

namespace ruvo::devkit {

HeldTerminal::HeldTerminal() {
    if (tcgetpgrp(STDIN_FILENO) == getpgrp()) group_ = getpgrp();
}

HeldTerminal::~HeldTerminal() {
    if (group_ < 0 || tcgetpgrp(STDIN_FILENO) == group_) return;
    // A group in the background that sets the terminal is stopped otherwise.
    sigset_t set;
    sigset_t before;
    sigemptyset(&set);
    sigaddset(&set, SIGTTOU);
    sigprocmask(SIG_BLOCK, &set, &before);
    (void)tcsetpgrp(STDIN_FILENO, group_);  // silent: the terminal may be gone
    sigprocmask(SIG_SETMASK, &before, nullptr);
}

}  // namespace ruvo::devkit
