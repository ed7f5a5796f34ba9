#include <gtest/gtest.h>

#include "shared/ExceptionFamily.h"
#include "shared/utils/DirectoryPath.h"
#include "shared/utils/FilePath.h"
#include "support/ScratchDirectory.h"
#include "support/Thrown.h"

namespace orvik::pkgshared {
namespace {

using orvik::testing::ReadBytes;
using orvik::testing::WriteBytes;

class PathTypesTest : public ::testing::Test {
protected:
    orvik::testing::ScratchDirectory scratch_;
};

TEST_F(PathTypesTest, CreateMakesParentsAndAcceptsAnExistingDirectory) {
    const DirectoryPath nested(scratch_ / L"a\\b\\c");
    nested.Create();
    EXPECT_TRUE(nested.Exists());
    EXPECT_NO_THROW(nested.Create());
    EXPECT_NO_THROW(DirectoryPath(scratch_.Path()).Create());
}

TEST_F(PathTypesTest, CreateOverAFileRaisesWithThePath) {
    WriteBytes(scratch_ / L"file", "x");
    const DirectoryPath blocked(scratch_ / L"file\\sub");
    if (const auto e =
            orvik::testing::Thrown<CouldNotCreateDirectoryException>([&] { blocked.Create(); })) {
        EXPECT_EQ(-125098, e->GetErrorCode());
        EXPECT_NE(L"0", e->GetMessageArgument0());
        EXPECT_EQ(blocked.ToString(), e->GetMessageArgument1());
        EXPECT_FALSE(e->GetMessageArgument2().empty());
        EXPECT_STREQ(L"source\\shared\\utils\\DirectoryPath", e->GetSourceFile());
    }
}

TEST_F(PathTypesTest, CopyReplacesTheTarget) {
    const FilePath source(scratch_ / L"source.bin");
    const FilePath target(scratch_ / L"target.bin");
    WriteBytes(source.Path(), std::string("\0\x01payload", 9));
    WriteBytes(target.Path(), "old");
    source.CopyTo(target);
    EXPECT_EQ(std::string("\0\x01payload", 9), ReadBytes(target.Path()));
    EXPECT_TRUE(target.Exists());
    EXPECT_FALSE(FilePath(scratch_.Path()).Exists());  // a directory is not a file
}

TEST_F(PathTypesTest, CopyOfAMissingFileRaisesWithBothPaths) {
    const FilePath source(scratch_ / L"missing.bin");
    const FilePath target(scratch_ / L"target.bin");
    if (const auto e =
            orvik::testing::Thrown<CouldNotCopyFileException>([&] { source.CopyTo(target); })) {
        EXPECT_EQ(-125099, e->GetErrorCode());
        EXPECT_EQ(L"2", e->GetMessageArgument0());  // file not found
        EXPECT_EQ(source.ToString(), e->GetMessageArgument1());
        EXPECT_EQ(target.ToString(), e->GetMessageArgument2());
        EXPECT_FALSE(e->GetMessageArgument3().empty());
    }
}

}  // namespace
}  // namespace orvik::pkgshared
