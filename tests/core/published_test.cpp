#include "core/published.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace ruvo {
namespace {

TEST(Published, StartsWithAnEmptyValue) {
    const Published<std::string> text;
    ASSERT_NE(text.get(), nullptr);
    EXPECT_EQ(*text.get(), "");
}

TEST(Published, GivesTheValueSetLast) {
    Published<std::string> text;
    text.set("first");
    text.set("second");
    EXPECT_EQ(*text.get(), "second");
}

TEST(Published, LeavesAReaderTheValueItTook) {
    Published<std::string> text;
    text.set("first");
    const auto taken = text.get();
    text.set("second");
    EXPECT_EQ(*taken, "first");
}

TEST(Published, LetsAnOldValueDieWithItsLastReader) {
    Published<std::string> text;
    text.set("first");
    const std::weak_ptr<const std::string> first = text.get();
    text.set("second");
    EXPECT_TRUE(first.expired());
}

TEST(Published, NeverShowsAMixtureOfTwoValues) {
    Published<std::vector<int>> numbers;
    numbers.set(std::vector<int>(50, 0));
    std::atomic<bool> written{false};
    std::thread writer([&] {
        for (int i = 1; i <= 2000; ++i) numbers.set(std::vector<int>(50, i));
        written = true;
    });
    int mixtures = 0;
    do {
        const auto taken = numbers.get();
        if (*taken != std::vector<int>(50, taken->front())) ++mixtures;
    } while (!written);
    writer.join();
    EXPECT_EQ(mixtures, 0);
    EXPECT_EQ(numbers.get()->front(), 2000);
}

}  // namespace
}  // namespace ruvo
