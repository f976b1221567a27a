#include "core/unique_fd.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

namespace ruvo {
namespace {

static_assert(!std::is_copy_constructible_v<UniqueFd>);
static_assert(!std::is_copy_assignable_v<UniqueFd>);

int open_descriptor() { return ::open("/dev/null", O_RDONLY | O_CLOEXEC); }
bool is_open(int descriptor) { return ::fcntl(descriptor, F_GETFD) >= 0; }

TEST(UniqueFd, IsEmptyWithoutADescriptor) {
    const UniqueFd empty;
    EXPECT_FALSE(empty);
    EXPECT_EQ(empty.get(), -1);
}

TEST(UniqueFd, IsEmptyForTheResultOfAFailedCall) {
    const UniqueFd failed(::open("/nowhere/at/all", O_RDONLY | O_CLOEXEC));
    EXPECT_FALSE(failed);
}

TEST(UniqueFd, OwnsDescriptorZeroLikeAnyOther) {
    UniqueFd zero(0);
    EXPECT_TRUE(zero);
    EXPECT_EQ(zero.release(), 0);
}

TEST(UniqueFd, ClosesWhatItOwnsAtItsEnd) {
    const int descriptor = open_descriptor();
    {
        const UniqueFd owner(descriptor);
        EXPECT_TRUE(is_open(descriptor));
    }
    EXPECT_FALSE(is_open(descriptor));
}

TEST(UniqueFd, ReleasesWithoutClosing) {
    UniqueFd owner(open_descriptor());
    const int descriptor = owner.release();
    EXPECT_FALSE(owner);
    EXPECT_TRUE(is_open(descriptor));
    ::close(descriptor);
}

TEST(UniqueFd, MovesItsDescriptor) {
    UniqueFd first(open_descriptor());
    const int descriptor = first.get();
    const UniqueFd second(std::move(first));
    EXPECT_EQ(first.get(), -1);  // NOLINT(bugprone-use-after-move): emptied by the move
    EXPECT_EQ(second.get(), descriptor);
    EXPECT_TRUE(is_open(descriptor));
}

TEST(UniqueFd, ClosesItsOldDescriptorWhenAssigned) {
    UniqueFd owner(open_descriptor());
    UniqueFd other(open_descriptor());
    const int before = owner.get();
    const int after = other.get();
    owner = std::move(other);
    EXPECT_FALSE(is_open(before));
    EXPECT_TRUE(is_open(after));
    EXPECT_EQ(owner.get(), after);
}

TEST(UniqueFd, SurvivesBeingAssignedToItself) {
    UniqueFd owner(open_descriptor());
    UniqueFd& same = owner;
    owner = std::move(same);
    EXPECT_TRUE(is_open(owner.get()));
}

TEST(UniqueFd, ResetsToAnotherDescriptor) {
    UniqueFd owner(open_descriptor());
    const int before = owner.get();
    const int after = open_descriptor();
    owner.reset(after);
    EXPECT_FALSE(is_open(before));
    EXPECT_EQ(owner.get(), after);
}

TEST(UniqueFd, IsEmptyAfterAReset) {
    UniqueFd owner(open_descriptor());
    const int before = owner.get();
    owner.reset();
    EXPECT_FALSE(owner);
    EXPECT_FALSE(is_open(before));
}

}  // namespace
}  // namespace ruvo
