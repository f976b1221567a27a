#pragma once

namespace ruvo::ctl {

// What scripts rely on; the numbers never change.
inline constexpr int kAsExpected = 0;
inline constexpr int kFailed = 1;  // a file could not be read or written
inline constexpr int kWrongUsage = 2;
inline constexpr int kProblemsFound = 3;
inline constexpr int kNothingToSend = 4;  // and deliberately so

}  // namespace ruvo::ctl
