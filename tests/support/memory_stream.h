#pragma once

#include "core/file.h"

#include <cstdio>
#include <string>

namespace ruvo::test {

// A stream that reads a text, which must live as long as the stream.
inline UniqueFile stream_of(std::string& text) {
    return UniqueFile(::fmemopen(text.data(), text.size(), "r"));
}

}  // namespace ruvo::test
