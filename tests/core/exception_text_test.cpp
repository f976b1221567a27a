#include "core/exception_text.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

namespace ruvo {
namespace {

template <typename Exception>
std::string text_when_thrown(const Exception& exception) {
    try {
        throw exception;
    } catch (...) {
        return exception_text();
    }
}

TEST(ExceptionText, IsTheExceptionsOwnText) {
    EXPECT_EQ(text_when_thrown(std::invalid_argument("stoul")), "stoul");
}

TEST(ExceptionText, HasWordsForWhatIsNoException) {
    EXPECT_EQ(text_when_thrown(42), "unknown exception");
}

}  // namespace
}  // namespace ruvo
