#include "core/file.h"

#include "tests/support/files.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <cerrno>

namespace ruvo {
namespace {

bool is_close_on_exec(const UniqueFile& file) {
    return (::fcntl(::fileno(file.get()), F_GETFD) & FD_CLOEXEC) != 0;
}

TEST(File, IsCloseOnExecInEveryMode) {
    const test::TemporaryFolder folder;
    const std::string path = folder.path("file");
    EXPECT_TRUE(is_close_on_exec(open_truncated(path.c_str())));
    EXPECT_TRUE(is_close_on_exec(open_for_appending(path.c_str())));
    EXPECT_TRUE(is_close_on_exec(open_for_reading(path.c_str())));
}

TEST(File, IsEmptyAndLeavesErrnoWhenTheOpenFails) {
    const test::TemporaryFolder folder;
    errno = 0;
    EXPECT_FALSE(open_for_reading(folder.path("missing").c_str()));
    EXPECT_EQ(errno, ENOENT);
}

TEST(File, KeepsWhatIsThereWhenAppending) {
    const test::TemporaryFolder folder;
    const std::string path = folder.path("file");
    test::write_text(path, "one\n");
    (void)std::fputs("two\n", open_for_appending(path.c_str()).get());
    EXPECT_EQ(test::text_of(path), "one\ntwo\n");
}

TEST(File, DropsWhatIsThereWhenTruncating) {
    const test::TemporaryFolder folder;
    const std::string path = folder.path("file");
    test::write_text(path, "one\n");
    (void)std::fputs("two\n", open_truncated(path.c_str()).get());
    EXPECT_EQ(test::text_of(path), "two\n");
}

}  // namespace
}  // namespace ruvo
