#include <gtest/gtest.h>

#include <windows.h>

#include "shared/utils/FileVersion.h"
#include "shared/utils/OsUtils.h"
#include "shared/utils/WinResources.h"
#include "support/ScratchDirectory.h"

namespace orvik::pkgshared {
namespace {

FilePath ThisProgram() {
    wchar_t path[MAX_PATH * 4] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH * 4);
    return FilePath(path);
}

TEST(FileVersionTest, ReadsTheFixedFileVersion) {
    Version version(L"0.0");
    ASSERT_TRUE(ReadFileVersion(ThisProgram(), version));
    EXPECT_EQ(L"26.5.0.49297", version.ToString());
}

TEST(FileVersionTest, FilesWithoutVersionKeepTheCallersVersion) {
    orvik::testing::ScratchDirectory scratch;
    const FilePath text(scratch / L"plain.txt");
    orvik::testing::WriteBytes(text.Path(), "no version here");
    Version version(L"1.2.3");
    EXPECT_FALSE(ReadFileVersion(text, version));
    EXPECT_EQ(L"1.2.3", version.ToString());
    EXPECT_FALSE(ReadFileVersion(FilePath(scratch / L"missing.exe"), version));
    EXPECT_EQ(L"1.2.3", version.ToString());
}

// Whatever this process's token says, read here on its own.
TEST(OsUtilsTest, ElevationIsWhatTheProcessTokenReports) {
    HANDLE token = nullptr;
    ASSERT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token));
    const UniqueHandle owned(token);
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    ASSERT_TRUE(::GetTokenInformation(token, TokenElevation, &elevation, sizeof(elevation), &size));
    EXPECT_EQ(elevation.TokenIsElevated != 0, osutils::IsElevated());
}

}  // namespace
}  // namespace orvik::pkgshared
