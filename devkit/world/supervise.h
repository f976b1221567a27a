#pragma once

#include <sys/types.h>

#include <csignal>

namespace ruvo::devkit {

// Holds back the signals that supervise() takes, from its construction on, so
// that none is lost before.
class HeldSignals {
  public:
    HeldSignals();

    // For a child, before it turns into something else.
    void restore() const;

  private:
    sigset_t before_;
};

// Passes TERM, INT and HUP on to the child until it ends, and returns its status.
// Reaps every other child on the way. The signals must be held.
int supervise(pid_t child);

}  // namespace ruvo::devkit
