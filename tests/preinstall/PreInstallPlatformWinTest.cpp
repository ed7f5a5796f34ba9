#include <gtest/gtest.h>

#include <windows.h>

#include <sddl.h>
#include "preinstall/PreInstallPlatformWin.h"
#include "preinstall/WorkingDirectorySecurity.h"
#include "shared/Exception.h"
#include "support/ChildProcess.h"
#include "support/FakeSession.h"
#include "support/RegistryFixture.h"
#include "support/Thrown.h"

namespace orvik::pkgui::preinstall {
namespace {
const std::wstring kDotNetKey = L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\Full";

class PreInstallPlatformWinTest : public ::testing::Test {
protected:
    void SetUp() override { orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, kDotNetKey); }
    void TearDown() override { SetUp(); }
    orvik::testing::FakeSession session_;
    PreInstallPlatformWin platform_{session_, nullptr, ::GetModuleHandleW(nullptr)};
    orvik::testing::ScratchDirectory scratch_;
};

// Release 528048 or newer, read from the 32-bit view as far as four bytes go, whatever its type.
TEST_F(PreInstallPlatformWinTest, DotNetFramework48IsRelease528048OrNewer) {
    EXPECT_FALSE(platform_.IsDotNetFramework48Installed());  // no key
    const struct {
        DWORD type, release, view;
        bool installed;
    } rows[] = {{REG_DWORD, 528047, KEY_WOW64_32KEY, false},
                {REG_DWORD, 528048, KEY_WOW64_32KEY, true},
                {REG_BINARY, 528048, KEY_WOW64_32KEY, true},
                {REG_DWORD, 528048, KEY_WOW64_64KEY, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, kDotNetKey);
        orvik::testing::SetRegistryValue(HKEY_LOCAL_MACHINE, kDotNetKey, L"Release", row.type,
                                         &row.release, 4, row.view);
        EXPECT_EQ(row.installed, platform_.IsDotNetFramework48Installed());
    }
}

// The arguments after the program name, split and unquoted as Windows does: this program runs
// itself again with a known command line, and that run compares what it was given.
TEST_F(PreInstallPlatformWinTest, CommandLineArgumentsFollowTheProgramName) {
    const std::wstring filter = L"--gtest_filter=*.CommandLineArgumentsFollowTheProgramName";
    const std::vector<std::wstring> expected = {filter, L"two words", L"say \"hi\"", L"a\\\"b",
                                                L"",    L"c:\\x y\\", L"last"};
    if (::GetEnvironmentVariableW(L"ORVIK_ARGUMENTS_CHILD", nullptr, 0) != 0) {
        EXPECT_EQ(expected, platform_.CommandLineArguments());
        return;
    }
    wchar_t self[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, self, MAX_PATH);
    ::SetEnvironmentVariableW(L"ORVIK_ARGUMENTS_CHILD", L"1");
    const auto child = orvik::testing::Run(
        L"\"" + std::wstring(self) + L"\" " + filter +
            L" \"two words\" \"say \\\"hi\\\"\" a\\\\\\\"b \"\" \"c:\\x y\\\\\" last",
        scratch_.Path());
    ::SetEnvironmentVariableW(L"ORVIK_ARGUMENTS_CHILD", nullptr);
    EXPECT_EQ(0, child.exitCode) << child.output;
    EXPECT_NE(std::string::npos, child.output.find("[  PASSED  ] 1 test")) << child.output;
}

// A missing file and a file that is no program are refused before the shell is asked; a start the
// shell refuses is the launch error too, but for ERROR_CANCELLED (a declined elevation, which
// Wine never asks for): the user's cancellation, which the run ends with silently.
TEST_F(PreInstallPlatformWinTest, WaitForProcessRefusesWhatItCannotLaunch) {
    struct Refusing : PreInstallPlatformWin {
        using PreInstallPlatformWin::PreInstallPlatformWin;
        bool StartProcess(SHELLEXECUTEINFOW&) override { return ::SetLastError(error), false; }
        DWORD error = 0;
    } refusing(session_, nullptr, nullptr);
    const std::wstring text = (scratch_ / L"text.exe").wstring(), missing = L"C:\\no\\x.exe",
                       program = orvik::testing::BinDirectory() + L"\\child_recorder.exe";
    orvik::testing::WriteBytes(text, "not a program");
    const struct {
        PreInstallPlatformWin& platform;
        std::wstring file;
        DWORD refusal;
        std::int32_t code;
    } rows[] = {{platform_, missing, 0, -126304},
                {platform_, text, 0, -126304},
                {refusing, program, ERROR_ACCESS_DENIED, -126304},
                {refusing, program, ERROR_CANCELLED, -125029}};
    for (const auto& row : rows) {
        refusing.error = row.refusal;
        const auto arguments =
            row.code == -126304 ? std::vector{row.file} : std::vector<std::wstring>{};
        orvik::testing::ExpectThrows([&] { row.platform.WaitForProcess(row.file, L"", L"C:\\"); },
                                     {row.code, arguments, L"source\\preinstall\\Main"});
    }
}

// The working directory's ACL, where it is handed to the system (Wine keeps only what Unix
// permissions hold, so the directory cannot show it): protected, so nothing is inherited from the
// temporary folder; SYSTEM and Administrators may do anything, the user ("S-1-5-21-...") and the
// owner's implicit rights only read and run. A refusal there is the directory error.
TEST(WorkingDirectorySecurityTest, OnlyAdministratorsAndSystemMayWriteAndARefusalIsAnError) {
    const std::wstring directory = L"C:\\x";
    std::vector<std::pair<std::wstring, ACCESS_MASK>> entries;
    RestrictWorkingDirectory(directory, [&](const std::wstring& path, DWORD set, void* acl) {
        EXPECT_EQ(directory, path);
        EXPECT_EQ(DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION, set);
        ACL_SIZE_INFORMATION size{};
        ::GetAclInformation(static_cast<PACL>(acl), &size, sizeof(size), AclSizeInformation);
        for (DWORD i = 0; i < size.AceCount; ++i) {
            ACCESS_ALLOWED_ACE* ace = nullptr;
            ::GetAce(static_cast<PACL>(acl), i, reinterpret_cast<void**>(&ace));
            EXPECT_EQ(ACCESS_ALLOWED_ACE_TYPE, ace->Header.AceType);
            EXPECT_EQ(OBJECT_INHERIT_ACE | CONTAINER_INHERIT_ACE, ace->Header.AceFlags);
            LPWSTR sid = nullptr;
            ::ConvertSidToStringSidW(reinterpret_cast<PSID>(&ace->SidStart), &sid);
            entries.emplace_back(i == 2 ? std::wstring(sid).substr(0, 9) : sid, ace->Mask);
            ::LocalFree(sid);
        }
        return 0ul;
    });
    const ACCESS_MASK all = FILE_ALL_ACCESS, read = FILE_GENERIC_READ | FILE_GENERIC_EXECUTE;
    const decltype(entries) expected = {
        {L"S-1-5-18", all}, {L"S-1-5-32-544", all}, {L"S-1-5-21-", read}, {L"S-1-3-4", read}};
    EXPECT_EQ(expected, entries);
    const auto e = orvik::testing::Thrown([&] {
        RestrictWorkingDirectory(directory, [](const std::wstring&, DWORD, void*) { return 5ul; });
    });
    ASSERT_TRUE(e);
    EXPECT_EQ(-125098, e->GetErrorCode());
    EXPECT_EQ(L"5|C:\\x", e->GetMessageArgument0() + L"|" + e->GetMessageArgument1());
}
}  // namespace
}  // namespace orvik::pkgui::preinstall
