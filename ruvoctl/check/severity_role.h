#pragma once

#include "ruvoctl/check/diagnostic.h"
#include "ruvoctl/output/style.h"

namespace ruvo::ctl {

// How a finding of a severity is painted.
inline Role role_of(Severity severity) {
    switch (severity) {
        case Severity::kFatal:
            return Role::kFatal;
        case Severity::kError:
            return Role::kError;
        case Severity::kWarning:
            return Role::kWarning;
        case Severity::kInformation:
            break;
    }
    return Role::kInformation;
}

}  // namespace ruvo::ctl
