#include <gtest/gtest.h>
#include <boost/filesystem/operations.hpp>
#include "shared/PathGuide.h"
#include "support/Fakes.h"
#include "support/RegistryFixture.h"
#include "support/ScratchDirectory.h"

namespace orvik::pkgshared {
namespace {
namespace fs = boost::filesystem;
using orvik::testing::SetRegistryString;
const std::wstring kCurrentVersion = L"Software\\Calvenna\\Orvik Package Manager\\CurrentVersion";
const std::wstring kCommonInstaller = L"Software\\Calvenna\\Common\\Installer";
// Each test starts without any Calvenna key and leaves none behind.
class PathGuideTest : public ::testing::Test {
protected:
    void SetUp() override {
        orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, L"Software\\Calvenna");
    }
    void TearDown() override { SetUp(); }
    static void Set(const wchar_t* name, const std::wstring& value, DWORD type = REG_SZ) {
        SetRegistryString(HKEY_LOCAL_MACHINE, kCurrentVersion, name, value, KEY_WOW64_32KEY, type);
    }
    static void SetRaw(const wchar_t* name, const void* data, DWORD size) {
        orvik::testing::SetRegistryValue(HKEY_LOCAL_MACHINE, kCurrentVersion, name, REG_SZ, data,
                                         size, KEY_WOW64_32KEY);
    }
    using Getter = bool (PathGuide::*)(std::wstring&) const;
    // What `get` answers; a false answer must leave the output alone.
    std::optional<std::wstring> Get(Getter get) const {
        std::wstring out = L"untouched";
        if ((guide_.*get)(out)) {
            return out;
        }
        EXPECT_EQ(L"untouched", out);
        return std::nullopt;
    }
    orvik::testing::FakeConfiguration configuration_;
    PathGuide guide_{configuration_};
};
TEST_F(PathGuideTest, EachGetterReadsItsValueOfThe32BitView) {
    const std::pair<Getter, const wchar_t*> rows[] = {
        {&PathGuide::GetInstallDirectory, L"Path"},
        {&PathGuide::GetUninstallUtilityExecutableFullPath, L"UninstallUtilityExecutableFullPath"},
        {&PathGuide::GetDeploymentSupportDirectory, L"DeploymentSupport"},
        {&PathGuide::GetUpgraderExecutableFullPath, L"UpgraderExecutableFullPath"}};
    for (const auto& [get, name] : rows) {
        SetRegistryString(HKEY_LOCAL_MACHINE, kCurrentVersion, name, L"C:\\64", KEY_WOW64_64KEY);
        EXPECT_EQ(std::nullopt, Get(get)) << name;
        Set(name, std::wstring(L"C:\\") + name);
        EXPECT_EQ(std::wstring(L"C:\\") + name, Get(get));
    }
    Set(L"MSIPropertiesVersion", L"26.5.0.49297");
    EXPECT_EQ(L"26.5.0.49297", guide_.GetMSIPropertiesVersion().ToString());
}
TEST_F(PathGuideTest, ExecutablePathsFallBackToTheInstallDirectory) {
    Set(L"NativeAPIName", L"n.dll");
    Set(L"GUIExecutableName", L"orvikpkg.exe");
    const struct {
        const wchar_t *name, *value;
        std::optional<std::wstring> api, gui;
    } rows[] = {
        {L"Unrelated", L"x", std::nullopt, std::nullopt},
        {L"Path", L"C:\\P", L"C:\\P\\n.dll", L"C:\\P\\orvikpkg.exe"},
        {L"Path", L"C:\\P\\", L"C:\\P\\n.dll", L"C:\\P\\orvikpkg.exe"},
        {L"InternalCAPIFullPath", L"D:\\api.dll", L"D:\\api.dll", L"C:\\P\\orvikpkg.exe"},
        {L"GUIExecutableFullPath", L"D:\\gui.exe", L"D:\\api.dll", L"D:\\gui.exe"},
    };
    for (const auto& row : rows) {
        Set(row.name, row.value);
        EXPECT_EQ(row.api, Get(&PathGuide::GetInternalCAPIFullPath)) << row.value;
        EXPECT_EQ(row.gui, Get(&PathGuide::GetGUIExecutableFullPath)) << row.value;
    }
}
// Only REG_SZ counts, read whole even when long or without its zero.
TEST_F(PathGuideTest, OnlyPlainStringsCountAndAreReadWhole) {
    Set(L"Path", L"%ProgramFiles%\\Orvik", REG_EXPAND_SZ);
    EXPECT_EQ(std::nullopt, Get(&PathGuide::GetInstallDirectory));
    const std::wstring longPath = L"C:\\" + std::wstring(900, L'x');
    Set(L"Path", longPath);
    EXPECT_EQ(longPath, Get(&PathGuide::GetInstallDirectory));
    const wchar_t unterminated[] = {L'a', L'b', L'c'};
    SetRaw(L"Path", unterminated, sizeof(unterminated));
    EXPECT_EQ(L"abc", Get(&PathGuide::GetInstallDirectory));
}
std::wstring Known(const wchar_t* name, const wchar_t* under) {
    wchar_t buffer[MAX_PATH] = {};
    ::GetEnvironmentVariableW(name, buffer, MAX_PATH);
    return (fs::path(buffer) / under).wstring();
}
TEST_F(PathGuideTest, DataDirectoriesAndTheirOverrides) {
    const std::wstring company = Known(L"ProgramData", L"Calvenna");
    const std::wstring user = Known(L"LOCALAPPDATA", L"Calvenna\\Orvik Package Manager");
    const std::pair<std::wstring, std::wstring> rows[] = {
        {company, guide_.GetCompanyPublicDataDirectory()},
        {company + L"\\Orvik Package Manager", guide_.GetPublicDataDirectory()},
        {company + L"\\Orvik Package Manager\\Settings", guide_.GetSettingsDirectory()},
        {user, guide_.GetUserDataDirectory()},
        {user + L"\\Logs", guide_.GetLogsDirectory()}};
    for (const auto& [expected, actual] : rows) {
        EXPECT_EQ(expected, actual);
    }
    SetRegistryString(HKEY_LOCAL_MACHINE, kCommonInstaller, L"ORVIKPUBAPPDATADIR", L"E:\\Pub",
                      KEY_WOW64_32KEY);
    EXPECT_EQ(L"E:\\Pub\\Orvik Package Manager\\Settings", guide_.GetSettingsDirectory());
    configuration_.strings[L"logs-directory"] = L"F:\\MyLogs";
    EXPECT_EQ(L"F:\\MyLogs", guide_.GetLogsDirectory());
}
}  // namespace
}  // namespace orvik::pkgshared
