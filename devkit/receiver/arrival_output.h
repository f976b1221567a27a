#pragma once

#include "devkit/descriptor.h"
#include "devkit/receiver/arrival.h"

#include <optional>
#include <string>

namespace ruvo::devkit {

enum class OutputForm { kReadable, kJson };

// Shows arrivals on standard output and, if wanted, records them in a file; each
// one is written whole and at once.
class ArrivalOutput {
  public:
    // Opens the record for appending; throws std::system_error.
    ArrivalOutput(OutputForm form, const std::optional<std::string>& record_path);

    // Throws std::system_error.
    void write(const Arrival& arrival) const;

  private:
    OutputForm form_;
    Descriptor record_;
};

}  // namespace ruvo::devkit
