// Runs the tests that use the daemon's fixed paths and ports, in a private world
// only: on the machine itself they would write its logs and its settings.

#include "tests/support/world.h"

#include <gtest/gtest.h>

#include <cstdio>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    if (!GTEST_FLAG_GET(list_tests) && !ruvo::test::is_private_world()) {
        (void)std::fprintf(stderr,
                           "these tests run in a private world only: start them with "
                           "ruvo-world, as CTest does\n");
        return 2;
    }
    return RUN_ALL_TESTS();
}
