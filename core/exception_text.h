#pragma once

#include <exception>

namespace ruvo {

// The text of the exception being handled; valid until its handler ends. Called in
// a catch block only.
inline const char* exception_text() noexcept {
    try {
        throw;
    } catch (const std::exception& error) {
        return error.what();
    } catch (...) {
        return "unknown exception";
    }
}

}  // namespace ruvo
