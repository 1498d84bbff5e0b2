#include "net/atomic_file.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace quorvane::test {

TEST(AtomicFile, ReplacesWholeAndKeepsOldFileOnFailure)
{
    TempFolder folder;
    const auto path = folder.path() / "blocks.dat";
    ASSERT_TRUE(writeFileAtomically(path, std::string("first\0binary", 12)));
    EXPECT_EQ(folder.read("blocks.dat"), std::string("first\0binary", 12));
    ASSERT_TRUE(writeFileAtomically(path, "second"));
    EXPECT_EQ(folder.read("blocks.dat"), "second");

    // A temporary name that cannot be created (a folder stands there) fails and keeps the old file.
    std::filesystem::create_directory(folder.path() / "blocks.dat.tmp");
    EXPECT_FALSE(writeFileAtomically(path, "third"));
    EXPECT_EQ(folder.read("blocks.dat"), "second");

    // A full disk (the temporary name leads to /dev/full): ENOSPC for the caller, no temporary left.
    std::filesystem::remove(folder.path() / "blocks.dat.tmp");
    std::filesystem::create_symlink("/dev/full", folder.path() / "blocks.dat.tmp");
    errno = 0;
    EXPECT_FALSE(writeFileAtomically(path, "fourth"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_EQ(folder.read("blocks.dat"), "second");
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(folder.path() / "blocks.dat.tmp")));
}

} // namespace quorvane::test
