#include <gtest/gtest.h>

#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <algorithm>

#include "preinstall/PreInstallPlatformWin.h"
#include "preinstall/WorkingDirectorySecurity.h"
#include "shared/Exception.h"
#include "shared/utils/WinResources.h"
#include "support/ChildProcess.h"
#include "support/FakeSession.h"
#include "support/RegistryFixture.h"
#include "support/ScratchDirectory.h"
#include "support/Thrown.h"

namespace orvik::pkgui::preinstall {
namespace {

namespace fs = boost::filesystem;
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

// The arguments after the program name, split and unquoted as Windows does:
// this test runs its own program again with a known command line, and that
// run compares what it was given.
TEST_F(PreInstallPlatformWinTest, CommandLineArgumentsFollowTheProgramName) {
    const std::vector<std::wstring> expected = {
        L"--gtest_filter=PreInstallPlatformWinTest.CommandLineArgumentsFollowTheProgramName",
        L"two words",
        L"say \"hi\"",
        L"a\\\"b",
        L"",
        L"c:\\x y\\",
        L"last"};
    if (::GetEnvironmentVariableW(L"ORVIK_ARGUMENTS_CHILD", nullptr, 0) != 0) {
        EXPECT_EQ(expected, platform_.CommandLineArguments());
        return;
    }
    wchar_t self[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, self, MAX_PATH);
    ::SetEnvironmentVariableW(L"ORVIK_ARGUMENTS_CHILD", L"1");
    const auto child = orvik::testing::Run(
        L"\"" + std::wstring(self) + L"\" " + expected[0] +
            L" \"two words\" \"say \\\"hi\\\"\" a\\\\\\\"b \"\" \"c:\\x y\\\\\" last",
        fs::temp_directory_path());
    ::SetEnvironmentVariableW(L"ORVIK_ARGUMENTS_CHILD", nullptr);
    EXPECT_EQ(0, child.exitCode) << child.output;
    EXPECT_NE(std::string::npos, child.output.find("[  PASSED  ] 1 test")) << child.output;
}

TEST_F(PreInstallPlatformWinTest, WaitForProcessRefusesAMissingFile) {
    const auto e = orvik::testing::Thrown(
        [&] { platform_.WaitForProcess(L"C:\\no\\such\\Install.exe", L"", L"C:\\"); });
    ASSERT_TRUE(e);
    EXPECT_EQ(-126304, e->GetErrorCode());
    EXPECT_EQ(L"C:\\no\\such\\Install.exe", e->GetMessageArgument0());
    const auto messages = session_.logger.Messages();
    EXPECT_NE(messages.end(), std::find(messages.begin(), messages.end(),
                                        L"Error: WaitForProcess ShellExecuteExW "
                                        L"kOrvikPkgResult_ProblemWhenLaunchingRequiredFile"));
}

// The ACL the run puts on its working directory. Wine accepts it but keeps
// only what Unix permissions can hold, so the ACL is checked where it is
// handed to the system: entry by entry, by what each grants.
TEST(WorkingDirectorySecurityTest, OnlyAdministratorsAndSystemMayWrite) {
    const orvik::testing::ScratchDirectory scratch;
    const std::wstring directory = scratch.Path().wstring();
    std::vector<std::pair<std::wstring, ACCESS_MASK>> entries;
    std::wstring target;
    RestrictWorkingDirectory(directory, [&](const std::wstring& path, void* acl) {
        target = path;
        ACL_SIZE_INFORMATION size{};
        ::GetAclInformation(static_cast<PACL>(acl), &size, sizeof(size), AclSizeInformation);
        for (DWORD i = 0; i < size.AceCount; ++i) {
            ACCESS_ALLOWED_ACE* ace = nullptr;
            ::GetAce(static_cast<PACL>(acl), i, reinterpret_cast<void**>(&ace));
            EXPECT_EQ(ACCESS_ALLOWED_ACE_TYPE, ace->Header.AceType);
            EXPECT_EQ(OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE, ace->Header.AceFlags);
            LPWSTR sid = nullptr;
            ::ConvertSidToStringSidW(reinterpret_cast<PSID>(&ace->SidStart), &sid);
            entries.emplace_back(sid, ace->Mask);
            ::LocalFree(sid);
        }
        return 0ul;
    });
    EXPECT_EQ(directory, target);
    // SYSTEM and Administrators may do anything; the user (any "S-1-5-21-"
    // account) and the owner's implicit rights may only read and run.
    const ACCESS_MASK all = FILE_ALL_ACCESS, read = FILE_GENERIC_READ | FILE_GENERIC_EXECUTE;
    const std::pair<std::wstring, ACCESS_MASK> expected[] = {
        {L"S-1-5-18", all}, {L"S-1-5-32-544", all}, {L"S-1-5-21-", read}, {L"S-1-3-4", read}};
    ASSERT_EQ(4u, entries.size());
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(expected[i].first, i == 2 ? entries[i].first.substr(0, 9) : entries[i].first);
        EXPECT_EQ(expected[i].second, entries[i].second) << i;
    }
}

TEST(WorkingDirectorySecurityTest, RefusalIsTheDirectoryError) {
    const orvik::testing::ScratchDirectory scratch;
    const auto e = orvik::testing::Thrown([&] {
        RestrictWorkingDirectory(scratch.Path().wstring(),
                                 [](const std::wstring&, void*) { return 5ul; });
    });
    ASSERT_TRUE(e);
    EXPECT_EQ(-125098, e->GetErrorCode());
    EXPECT_EQ(L"5", e->GetMessageArgument0());
    EXPECT_EQ(scratch.Path().wstring(), e->GetMessageArgument1());
}

// The run's own directory goes through the same step and still works.
TEST_F(PreInstallPlatformWinTest, WorkingDirectoryIsCreatedRestrictedAndRemoved) {
    const std::wstring directory = platform_.CreateWorkingDirectory();
    EXPECT_NE(INVALID_FILE_ATTRIBUTES, ::GetFileAttributesW(directory.c_str()));
    orvik::testing::WriteBytes(directory + L"\\payload.tar.gz", "x");
    platform_.DeleteWorkingDirectory(directory);
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, ::GetFileAttributesW(directory.c_str()));
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
