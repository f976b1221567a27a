#pragma once

#include "devkit/receiver/arrival.h"
#include "devkit/receiver/arrival_output.h"

#include <netinet/in.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace ruvo::devkit {

struct Endpoint {
    Protocol protocol;
    sockaddr_in address;
};

struct ReceiverOptions {
    std::vector<Endpoint> endpoints;  // in the order given
    std::optional<std::string> reply;
    bool keep_open = false;
    OutputForm form = OutputForm::kReadable;
    std::optional<std::string> record_path;
    std::optional<std::size_t> count;
    std::optional<std::chrono::milliseconds> timeout;
};

// Fills the options; a status when the program is to end with it instead.
std::optional<int> parse_receiver_options(int argc, char** argv, ReceiverOptions& options);

}  // namespace ruvo::devkit
