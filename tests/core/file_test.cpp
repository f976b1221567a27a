#include "core/file.h"

#include "tests/support/files.h"
#include "tests/support/waiting.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <cerrno>
#include <csignal>
#include <string>
#include <thread>

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

// A FIFO in a folder of its own.
class FifoTest : public testing::Test {
  protected:
    FifoTest() { EXPECT_EQ(::mkfifo(path_.c_str(), 0600), 0); }

    const test::TemporaryFolder folder_;
    const std::string path_ = folder_.path("fifo");
};

TEST_F(FifoTest, IsNoFileToReadOrToAppendTo) {
    EXPECT_FALSE(open_for_reading(path_.c_str()));
    EXPECT_EQ(errno, ENXIO);
    EXPECT_FALSE(open_for_appending(path_.c_str()));
    EXPECT_EQ(errno, ENXIO);
}

TEST_F(FifoTest, IsNoFileToReadOrToAppendToWithAnotherEndEither) {
    const UniqueFd other_end(::open(path_.c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_FALSE(open_for_reading(path_.c_str()));
    EXPECT_EQ(errno, ENXIO);
    EXPECT_FALSE(open_for_appending(path_.c_str()));
    EXPECT_EQ(errno, ENXIO);
}

TEST_F(FifoTest, ThatNobodyReadsCannotBeOpenedForWriting) {
    EXPECT_FALSE(open_truncated(path_.c_str()));
    EXPECT_EQ(errno, ENXIO);
    EXPECT_FALSE(open_at_once(path_.c_str(), O_WRONLY | O_APPEND | O_CREAT));
    EXPECT_EQ(errno, ENXIO);
}

TEST_F(FifoTest, ThatIsReadGetsTheText) {
    const UniqueFd reader(::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    (void)std::fputs("text\n", open_truncated(path_.c_str()).get());
    std::string text(5, '\0');
    EXPECT_EQ(::read(reader.get(), text.data(), text.size()), 5);
    EXPECT_EQ(text, "text\n");
}

TEST_F(FifoTest, WithASlowReaderLosesWhatItHasNoRoomFor) {
    const UniqueFd reader(::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    const UniqueFile writer = open_truncated(path_.c_str());
    const std::string text(1 << 20, 'x');
    EXPECT_LT(std::fwrite(text.data(), 1, text.size(), writer.get()), text.size());
}

TEST(File, ThatIsADeviceIsNotReadNorAppendedTo) {
    for (const char* const path : {"/dev/zero", "/dev/null", "/dev/full"}) {
        EXPECT_FALSE(open_for_reading(path)) << path;
        EXPECT_EQ(errno, ENXIO);
        EXPECT_FALSE(open_for_appending(path)) << path;
        EXPECT_EQ(errno, ENXIO);
    }
}

TEST(File, ThatIsADeviceTakesATextThatShowsState) { EXPECT_TRUE(open_truncated("/dev/null")); }

TEST(File, ThatIsASocketCannotBeOpened) {
    const test::TemporaryFolder folder;
    const std::string path = folder.path("socket");
    const UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{.sun_family = AF_UNIX, .sun_path = {}};
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_FALSE(open_for_reading(path.c_str()));
    EXPECT_EQ(errno, ENXIO);
    EXPECT_FALSE(open_for_appending(path.c_str()));
    EXPECT_FALSE(open_truncated(path.c_str()));
}

TEST(File, ThatIsAFolderHasNoLines) {
    const test::TemporaryFolder folder;
    const UniqueFile file = open_for_reading(folder.path("").c_str());
    ASSERT_TRUE(file);
    EXPECT_EQ(std::fgetc(file.get()), EOF);
    EXPECT_FALSE(open_for_appending(folder.path("").c_str()));
    EXPECT_EQ(errno, EISDIR);
}

// A file server that has a lease on a file is asked to give it back by a signal.
TEST(File, OnLeaseIsOpenedWhenItIsGivenBack) {
    const test::TemporaryFolder folder;
    const std::string path = folder.path("file");
    test::write_text(path, "one\n");
    const auto before = std::signal(SIGIO, SIG_IGN);
    const UniqueFd holder(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (::fcntl(holder.get(), F_SETLEASE, F_RDLCK) != 0) GTEST_SKIP() << "no leases here";
    std::thread server([&] {
        EXPECT_TRUE(test::eventually([&] { return ::fcntl(holder.get(), F_GETLEASE) != F_RDLCK; }));
        EXPECT_EQ(::fcntl(holder.get(), F_SETLEASE, F_UNLCK), 0);
    });
    (void)std::fputs("two\n", open_for_appending(path.c_str()).get());
    server.join();
    (void)std::signal(SIGIO, before);
    EXPECT_EQ(test::text_of(path), "one\ntwo\n");
}

}  // namespace
}  // namespace ruvo
