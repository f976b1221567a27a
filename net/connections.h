#pragma once

#include "core/unique_fd.h"

#include <sys/select.h>

#include <vector>

namespace ruvo {

// The open connections of the command port, in the order of their arrival. Each
// serves one request, so the oldest is also the one that has been silent longest.
// Command-server thread only.
class Connections {
  public:
    // Takes a connection over; its descriptor must be below FD_SETSIZE.
    void add(UniqueFd connection);

    void close(int descriptor);

    // Closes the longest-silent connection on which nothing waits to be read.
    // Returns its descriptor, or -1 when every connection has something to say.
    int close_longest_silent();

    // Adds every connection to the set; returns the highest descriptor, -1 for none.
    int watch(fd_set& set) const;

  private:
    std::vector<UniqueFd> oldest_first_;
};

}  // namespace ruvo
