#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ruvo::ctl {

enum class Severity { kFatal, kError, kWarning, kInformation };

// "fatal", "error", "warning" or "information".
std::string_view severity_name(Severity severity);

// Replaces `length` bytes of a file at `offset`.
struct Edit {
    std::size_t offset = 0;
    std::size_t length = 0;
    std::string text;
};

// What is wrong in one place of a settings file, and what it costs.
struct Diagnostic {
    std::string_view id;  // of the catalogue
    Severity severity = Severity::kError;
    std::size_t offset = 0;  // bytes of the file
    std::size_t length = 0;
    std::string event;                  // empty when it is about none
    std::optional<std::uint32_t> step;  // of that event
    std::string cause;
    std::string effect;
    std::vector<Edit> fix;  // empty when only a person knows it
};

}  // namespace ruvo::ctl
