#pragma once

namespace ruvo {

inline constexpr char kVersion[] = "1.4.2-1";

// Facts of this build, in UTC: a tag, "Oct 17 2024", "03:18:38".
extern const char* const kBuildVariant;
extern const char* const kBuildDate;
extern const char* const kBuildTime;

}  // namespace ruvo
