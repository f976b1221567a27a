#pragma once

#include "core/mutex.h"
#include "core/unique_fd.h"
#include "tests/support/loopback.h"

#include <string>
#include <thread>
#include <vector>

namespace ruvo::test {

// A status service on 127.0.0.1 port 50001: gives every request the same reply and
// closes the connection.
class StatusService {
  public:
    explicit StatusService(std::string reply);
    ~StatusService();

    // The requests so far, each as it was received.
    std::vector<std::string> requests();

  private:
    void serve();
    void answer(int connection);

    TcpListener listener_;
    const std::string reply_;
    UniqueFd stop_;  // becomes readable when the service is to end
    Mutex guard_;
    std::vector<std::string> requests_ RUVO_GUARDED_BY(guard_);
    std::thread thread_;
};

}  // namespace ruvo::test
