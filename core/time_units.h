#pragma once

#include <cstdint>

namespace ruvo {

inline constexpr std::int64_t kNsPerMs = 1'000'000;
inline constexpr std::int64_t kNsPerSecond = 1'000'000'000;

}  // namespace ruvo
