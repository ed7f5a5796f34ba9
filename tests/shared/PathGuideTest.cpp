#include <gtest/gtest.h>

#include <boost/filesystem/operations.hpp>

#include "shared/Exception.h"
#include "shared/ExceptionReport.h"
#include "shared/PathGuide.h"
#include "shared/SharedSession.h"
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
    // The bootstrapper is a 32-bit process: its view is the 32-bit one.
    static void Set(const wchar_t* name, const std::wstring& value, DWORD type = REG_SZ) {
        SetRegistryString(HKEY_LOCAL_MACHINE, kCurrentVersion, name, value, KEY_WOW64_32KEY, type);
    }
    static void SetRaw(const wchar_t* name, const void* data, DWORD size) {
        orvik::testing::SetRegistryValue(HKEY_LOCAL_MACHINE, kCurrentVersion, name, REG_SZ, data,
                                         size, KEY_WOW64_32KEY);
    }
    using Getter = bool (PathGuide::*)(std::wstring&) const;
    // What `get` answers; nothing when it answers false, which leaves the output alone.
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
    EXPECT_EQ(L"", guide_.GetMSIPropertiesFullPath() + guide_.GetGUIExecutableName() +
                       guide_.GetNativeAPIName());
    Set(L"MSIPropertiesVersion", L"26.5.0.49297");
    Set(L"MSIPropertiesFullPath", L"C:\\P\\msi.properties");
    EXPECT_EQ(0, guide_.GetMSIPropertiesVersion().Compare(Version(L"26.5.0.49297")));
    EXPECT_EQ(L"C:\\P\\msi.properties", guide_.GetMSIPropertiesFullPath());
}

// Each row sets one more value; then both executable paths are asked for.
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

// Other value types do not count; long values are read whole; text ends at
// the value's end.
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

// The packages and the settings directories count only once they exist.
TEST_F(PathGuideTest, PackagesAndExistingSettingsDirectoriesMustBePresent) {
    orvik::testing::ScratchDirectory scratch;
    Set(L"DeploymentSupport", scratch.Path().wstring());
    SetRegistryString(HKEY_LOCAL_MACHINE, kCommonInstaller, L"ORVIKPUBAPPDATADIR",
                      scratch.Path().wstring(), KEY_WOW64_32KEY);
    const std::pair<Getter, fs::path> rows[] = {
        {&PathGuide::GetPackagesDirectory, scratch / L"orvik-package-manager-packages"},
        {&PathGuide::GetExistingSettingsDirectory, scratch / L"Orvik Package Manager\\Settings"}};
    for (const auto& [get, directory] : rows) {
        EXPECT_EQ(std::nullopt, Get(get)) << directory;
        fs::create_directories(directory);
        EXPECT_EQ(directory.wstring(), Get(get));
    }
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

// The session finds orvikpkg.ini through the registry "Path" and takes the
// logs directory from it; its system information answers for real.
TEST_F(PathGuideTest, SharedSessionSharesTheLoadedConfiguration) {
    orvik::testing::ScratchDirectory scratch;
    Set(L"Path", scratch.Path().wstring());
    const fs::path logs = scratch / L"logs";
    orvik::testing::WriteBytes(scratch / L"orvikpkg.ini",
                               "[Settings]\r\nlogs-directory=" + logs.string() + "\r\n");
    orvik::testing::RecordingLogger logger;
    SharedSession session(logger);
    EXPECT_EQ(logs.wstring(), session.GetPathGuide().GetLogsDirectory());
    EXPECT_EQ((scratch / L"orvikpkg.ini").wstring(),
              session.GetConfiguration().PackageManagerFile());
    EXPECT_GT(session.GetSystemInformation().GetMemory().availablePhysicalBytes, 0u);
    ReportException(L"PreInstall::ReportError", Exception(-126316, L"source\\x", 1), L"", session);
    EXPECT_NE(std::string::npos,
              orvik::testing::ReadBytes(logs / L"errorlog.txt").find("Error code: -126316"));
}

}  // namespace
}  // namespace orvik::pkgshared
