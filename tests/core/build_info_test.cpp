#include "core/build_info.h"

#include <gtest/gtest.h>

#include <regex>
#include <string>

namespace ruvo {
namespace {

TEST(BuildInfo, TellsVersionAndMomentInTheFormOfTheVersionLine) {
    EXPECT_STREQ(kVersion, "1.4.2-1");
    EXPECT_STRNE(kBuildVariant, "");
    EXPECT_TRUE(std::regex_match(kBuildDate, std::regex("[A-Z][a-z]{2} [ 123][0-9] [0-9]{4}")))
        << kBuildDate;
    EXPECT_TRUE(std::regex_match(kBuildTime, std::regex("[0-9]{2}:[0-9]{2}:[0-9]{2}")))
        << kBuildTime;
}

}  // namespace
}  // namespace ruvo
