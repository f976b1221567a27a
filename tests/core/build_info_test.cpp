#include "core/build_info.h"

#include "tests/support/text.h"

#include <gtest/gtest.h>

#include <string>

namespace ruvo {
namespace {

TEST(BuildInfo, TellsVersionAndMomentInTheFormOfTheVersionLine) {
    EXPECT_STREQ(kVersion, "1.4.2-1");
    EXPECT_STRNE(kBuildVariant, "");
    EXPECT_TRUE(test::matches(kBuildDate, "[A-Z][a-z]{2} [ 123][0-9] [0-9]{4}")) << kBuildDate;
    EXPECT_TRUE(test::matches(kBuildTime, "[0-9]{2}:[0-9]{2}:[0-9]{2}")) << kBuildTime;
}

}  // namespace
}  // namespace ruvo
