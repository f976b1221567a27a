#pragma once

#include "core/unique_fd.h"

#include <string>
#include <vector>

namespace ruvo::test {

// A connection within the process that keeps each send apart from the next.
class PacketPair {
  public:
    PacketPair();

    // The end for whatever is tested.
    [[nodiscard]] int near_end() const { return near_.get(); }

    // What has been sent at the near end so far, a piece per send. Ends the connection.
    std::vector<std::string> sent();

  private:
    UniqueFd near_;
    UniqueFd far_;
};

}  // namespace ruvo::test
