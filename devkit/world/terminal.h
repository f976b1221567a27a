#pragma once

#include <sys/types.h>

namespace ruvo::devkit {

// Remembers that this process group holds the terminal, if it does, and takes it
// back at the end: a shell in the world that ends leaves the terminal to nobody.
class HeldTerminal {
  public:
    HeldTerminal();
    ~HeldTerminal();
    HeldTerminal(const HeldTerminal&) = delete;
    HeldTerminal& operator=(const HeldTerminal&) = delete;

  private:
    pid_t group_ = -1;
};

}  // namespace ruvo::devkit
