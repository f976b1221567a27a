// ruvo-receiver: shows what arrives over UDP and TCP.

#include "devkit/descriptor_limit.h"
#include "devkit/receiver/options.h"
#include "devkit/receiver/receiver.h"

#include <exception>
#include <iostream>

namespace {

int run(int argc, char** argv) {
    using namespace ruvo::devkit;
    ReceiverOptions options;
    if (const auto status = parse_receiver_options(argc, argv, options)) return *status;

    raise_descriptor_limit();
    Receiver receiver(options);
    std::cout << receiver.ready_line() << std::flush;
    return receiver.run();
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return run(argc, argv);
    } catch (const std::exception& error) {
        std::cerr << "ruvo-receiver: " << error.what() << "\n";
        return 1;
    }
}
