#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>

#include "preinstall/PreInstallPlatformWin.h"
#include "shared/Exception.h"
#include "support/FakeSession.h"
#include "support/RegistryFixture.h"

namespace orvik::pkgui::preinstall {
namespace {

const std::wstring kDotNetKey = L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\Full";

// The real adapters of the run, against the test prefix.
class PreInstallPlatformWinTest : public ::testing::Test {
protected:
    void SetUp() override { orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, kDotNetKey); }
    void TearDown() override { orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, kDotNetKey); }
    void Release(DWORD type, const void* bytes, DWORD size) {
        orvik::testing::SetRegistryValue(HKEY_LOCAL_MACHINE, kDotNetKey, L"Release", type, bytes,
                                         size, KEY_WOW64_32KEY);
    }
    orvik::testing::FakeSession session_;
    PreInstallPlatformWin platform_{session_, nullptr, ::GetModuleHandleW(nullptr)};
};

TEST_F(PreInstallPlatformWinTest, DotNetFramework48IsRelease528048OrNewer) {
    EXPECT_FALSE(platform_.IsDotNetFramework48Installed());  // no key
    const DWORD below = 528047;
    Release(REG_DWORD, &below, sizeof(below));
    EXPECT_FALSE(platform_.IsDotNetFramework48Installed());
    for (const DWORD release : {528048u, 533320u}) {
        Release(REG_DWORD, &release, sizeof(release));
        EXPECT_TRUE(platform_.IsDotNetFramework48Installed()) << release;
    }
    // Another type is read as far as four bytes go.
    const DWORD binary = 528048;
    Release(REG_BINARY, &binary, sizeof(binary));
    EXPECT_TRUE(platform_.IsDotNetFramework48Installed());
    const wchar_t text[] = L"528048";  // longer than four bytes: not read
    Release(REG_SZ, text, sizeof(text));
    EXPECT_FALSE(platform_.IsDotNetFramework48Installed());
    // Only the 32-bit view counts.
    orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, kDotNetKey);
    const DWORD release = 528048;
    orvik::testing::SetRegistryValue(HKEY_LOCAL_MACHINE, kDotNetKey, L"Release", REG_DWORD,
                                     &release, sizeof(release), KEY_WOW64_64KEY);
    EXPECT_FALSE(platform_.IsDotNetFramework48Installed());
}

TEST_F(PreInstallPlatformWinTest, SystemChecksOfTheTestPrefix) {
    EXPECT_TRUE(platform_.IsWow64());  // a 32-bit process in a 64-bit prefix
    EXPECT_TRUE(platform_.IsElevated());
    EXPECT_TRUE(platform_.IsWindows10Version1607OrNewer());
    EXPECT_TRUE(platform_.IsRunningOnWine());
    const auto messages = session_.logger.Messages();
    ASSERT_FALSE(messages.empty());
    EXPECT_EQ(0u, messages.back().find(L"Running on Wine version: ")) << messages.back();
    EXPECT_GT(messages.back().size(), std::wstring(L"Running on Wine version: ").size());
}

TEST_F(PreInstallPlatformWinTest, CommandLineSkipsTheProgramName) {
    const std::vector<std::wstring> arguments = platform_.CommandLineArguments();
    // The test runner passes at least the test filter.
    ASSERT_FALSE(arguments.empty());
    EXPECT_TRUE(std::any_of(arguments.begin(), arguments.end(), [](const std::wstring& a) {
        return a.rfind(L"--gtest_filter=", 0) == 0;
    }));
}

TEST_F(PreInstallPlatformWinTest, WaitForProcessRefusesAMissingFile) {
    try {
        platform_.WaitForProcess(L"C:\\no\\such\\Install.exe", L"", L"C:\\");
        FAIL() << "nothing was thrown";
    } catch (const orvik::pkgshared::Exception& e) {
        EXPECT_EQ(-126304, e.GetErrorCode());
        EXPECT_EQ(L"C:\\no\\such\\Install.exe", e.GetMessageArgument0());
    }
    const auto messages = session_.logger.Messages();
    EXPECT_NE(messages.end(), std::find(messages.begin(), messages.end(),
                                        L"Error: WaitForProcess ShellExecuteExW "
                                        L"kOrvikPkgResult_ProblemWhenLaunchingRequiredFile"));
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
