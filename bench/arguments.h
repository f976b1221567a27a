#pragma once

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ruvo::bench {

// The argument at a position as a number from 0 up, or the fallback where there is none.
// Ends the program with status 2 for any other text.
inline long number_argument(int argc, char** argv, int position, long fallback) {
    if (argc <= position) return fallback;
    const char* const text = argv[position];
    const char* const end = text + std::strlen(text);
    long number = 0;
    const auto [stop, error] = std::from_chars(text, end, number);
    if (error == std::errc{} && stop == end && number >= 0) return number;
    std::fprintf(stderr, "%s: '%s' is no number\n", argv[0], text);
    std::exit(2);
}

}  // namespace ruvo::bench
