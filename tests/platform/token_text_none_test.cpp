#include "platform/token_text.h"

#include <gtest/gtest.h>

namespace ruvo {
namespace {

TEST(TokenText, IsAlwaysEmptyWithoutADeviceLibrary) {
    EXPECT_EQ(token_text("{\"network\":{}}", "network.ruvo.enable"), "");
}

}  // namespace
}  // namespace ruvo
