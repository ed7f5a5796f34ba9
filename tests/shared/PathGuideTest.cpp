#include <gtest/gtest.h>

#include <map>

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
    void TearDown() override {
        orvik::testing::DeleteRegistryTree(HKEY_LOCAL_MACHINE, L"Software\\Calvenna");
    }
    // The bootstrapper is a 32-bit process: its view is the 32-bit one.
    static void Set(const wchar_t* name, const std::wstring& value, DWORD type = REG_SZ) {
        SetRegistryString(HKEY_LOCAL_MACHINE, kCurrentVersion, name, value, KEY_WOW64_32KEY, type);
    }
    static void SetRaw(const wchar_t* name, DWORD type, const void* data, DWORD size) {
        orvik::testing::SetRegistryValue(HKEY_LOCAL_MACHINE, kCurrentVersion, name, type, data,
                                         size, KEY_WOW64_32KEY);
    }
    using Getter = bool (PathGuide::*)(std::wstring&) const;
    // What `get` answers; nothing when it answers false.
    std::optional<std::wstring> Get(Getter get) const {
        std::wstring out = L"untouched";
        if ((guide_.*get)(out)) {
            return out;
        }
        EXPECT_EQ(L"untouched", out);  // a false answer leaves the output alone
        return std::nullopt;
    }
    static std::wstring Known(const wchar_t* name) {
        wchar_t buffer[MAX_PATH] = {};
        ::GetEnvironmentVariableW(name, buffer, MAX_PATH);
        return buffer;
    }
    orvik::testing::FakeConfiguration configuration_;
    PathGuide guide_{configuration_};
};

TEST_F(PathGuideTest, MissingValuesAnswerFalseOrEmptyAndLeaveTheOutput) {
    for (const Getter get :
         {&PathGuide::GetInstallDirectory, &PathGuide::GetInternalCAPIFullPath,
          &PathGuide::GetGUIExecutableFullPath, &PathGuide::GetUninstallUtilityExecutableFullPath,
          &PathGuide::GetDeploymentSupportDirectory, &PathGuide::GetPackagesDirectory,
          &PathGuide::GetUpgraderExecutableFullPath}) {
        EXPECT_EQ(std::nullopt, Get(get));
    }
    EXPECT_EQ(L"", guide_.GetMSIPropertiesFullPath() + guide_.GetGUIExecutableName() +
                       guide_.GetNativeAPIName() + guide_.GetMSIPropertiesVersion().ToString());
}

TEST_F(PathGuideTest, ReadsValuesOfItsOwnViewOnly) {
    Set(L"Path", L"C:\\P32");
    SetRegistryString(HKEY_LOCAL_MACHINE, kCurrentVersion, L"Path", L"C:\\P64", KEY_WOW64_64KEY);
    SetRegistryString(HKEY_LOCAL_MACHINE, kCurrentVersion, L"UpgraderExecutableFullPath",
                      L"C:\\U64\\up.exe", KEY_WOW64_64KEY);
    EXPECT_EQ(L"C:\\P32", Get(&PathGuide::GetInstallDirectory));
    EXPECT_EQ(std::nullopt, Get(&PathGuide::GetUpgraderExecutableFullPath));
}

// Each row sets one more value; then both executable paths are asked for.
TEST_F(PathGuideTest, ExecutablePathsFallBackToTheInstallDirectory) {
    Set(L"NativeAPIName", L"n.dll");
    Set(L"GUIExecutableName", L"orvikpkg.exe");
    const struct {
        const wchar_t* name;
        const wchar_t* value;
        std::optional<std::wstring> api, gui;
    } rows[] = {
        {L"Unrelated", L"x", std::nullopt, std::nullopt},  // no "Path" either
        {L"Path", L"C:\\P", L"C:\\P\\n.dll", L"C:\\P\\orvikpkg.exe"},
        {L"Path", L"C:\\P\\", L"C:\\P\\n.dll", L"C:\\P\\orvikpkg.exe"},  // no doubled separator
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
// the first zero or at the value's end.
TEST_F(PathGuideTest, OnlyPlainStringsCountAndAreReadWhole) {
    Set(L"Path", L"%ProgramFiles%\\Orvik", REG_EXPAND_SZ);
    EXPECT_EQ(std::nullopt, Get(&PathGuide::GetInstallDirectory));
    const DWORD number = 7;
    SetRaw(L"DeploymentSupport", REG_DWORD, &number, sizeof(number));
    EXPECT_EQ(std::nullopt, Get(&PathGuide::GetDeploymentSupportDirectory));

    const std::wstring longPath = L"C:\\" + std::wstring(900, L'x');  // 1808 bytes with the zero
    Set(L"Path", longPath);
    EXPECT_EQ(longPath, Get(&PathGuide::GetInstallDirectory));
    const wchar_t twoTexts[] = L"C:\\first\0C:\\second";
    SetRaw(L"Path", REG_SZ, twoTexts, sizeof(twoTexts));
    EXPECT_EQ(L"C:\\first", Get(&PathGuide::GetInstallDirectory));
    const wchar_t unterminated[] = {L'a', L'b', L'c'};
    SetRaw(L"Path", REG_SZ, unterminated, sizeof(unterminated));
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

TEST_F(PathGuideTest, DataDirectoriesAndTheirFallbacks) {
    const std::wstring programData = guide_.GetCompanyPublicDataDirectory();
    EXPECT_EQ((fs::path(Known(L"ProgramData")) / L"Calvenna").wstring(), programData);
    EXPECT_EQ(programData + L"\\Orvik Package Manager", guide_.GetPublicDataDirectory());
    EXPECT_EQ(programData + L"\\Orvik Package Manager\\Settings", guide_.GetSettingsDirectory());
    const std::wstring userData =
        (fs::path(Known(L"LOCALAPPDATA")) / L"Calvenna" / L"Orvik Package Manager").wstring();
    EXPECT_EQ(userData, guide_.GetUserDataDirectory());
    EXPECT_EQ(userData + L"\\Logs", guide_.GetLogsDirectory());

    SetRegistryString(HKEY_LOCAL_MACHINE, kCommonInstaller, L"ORVIKPUBAPPDATADIR", L"E:\\Pub",
                      KEY_WOW64_32KEY);
    EXPECT_EQ(L"E:\\Pub\\Orvik Package Manager\\Settings", guide_.GetSettingsDirectory());

    configuration_.strings[L"logs-directory"] = L"F:\\MyLogs";
    EXPECT_EQ(L"F:\\MyLogs", guide_.GetLogsDirectory());
}

TEST_F(PathGuideTest, MsiPropertiesVersionIsParsed) {
    Set(L"MSIPropertiesVersion", L"26.5.0.49297");
    Set(L"MSIPropertiesFullPath", L"C:\\P\\msi.properties");
    EXPECT_EQ(0, guide_.GetMSIPropertiesVersion().Compare(Version(L"26.5.0.49297")));
    EXPECT_EQ(L"C:\\P\\msi.properties", guide_.GetMSIPropertiesFullPath());
}

TEST_F(PathGuideTest, ModuleAndSystemLocations) {
    const std::wstring module = guide_.GetModuleFilePath();
    EXPECT_EQ(L"path_guide_tests.exe", fs::path(module).filename().wstring());
    EXPECT_EQ(module, guide_.GetProcessExecutablePath());
    for (const std::wstring& directory :
         {guide_.GetTempDirectory(), guide_.GetTempDirectoryFromSystem(),
          guide_.GetWindowsDirectory(), guide_.GetProfileDirectory()}) {
        EXPECT_TRUE(fs::is_directory(directory)) << directory;
    }
}

TEST_F(PathGuideTest, UniqueTempPathsDifferAndFollowThePattern) {
    const fs::path first = guide_.GetUniqueTempPath(L"orvikpkg_preinstall");
    const fs::path second = guide_.GetUniqueTempPath(L"orvikpkg_preinstall");
    EXPECT_NE(first, second);
    EXPECT_EQ(fs::path(guide_.GetTempDirectory()), first.parent_path());
    const std::wstring name = first.filename().wstring();
    ASSERT_EQ(std::wstring(L"orvikpkg_preinstall-xxxx-xxxx-xxxx-xxxx").size(), name.size());
    EXPECT_EQ(0u, name.find(L"orvikpkg_preinstall-"));
    EXPECT_EQ(std::wstring::npos, name.find(L'%'));
    EXPECT_FALSE(fs::exists(first));
}

// The session finds orvikpkg.ini through the installed package manager's
// registry "Path" and takes the logs directory from it.
class SharedSessionTest : public PathGuideTest {
protected:
    void SetUp() override {
        PathGuideTest::SetUp();
        Set(L"Path", scratch_.Path().wstring());
        orvik::testing::WriteBytes(scratch_ / L"orvikpkg.ini",
                                   "[Settings]\r\nlogs-directory=" + logs_.string() + "\r\n");
    }
    orvik::testing::ScratchDirectory scratch_;
    const fs::path logs_ = scratch_ / L"logs";
    orvik::testing::RecordingLogger logger_;
};

TEST_F(SharedSessionTest, ServicesShareTheLoadedConfiguration) {
    SharedSession session(logger_);
    EXPECT_EQ(&logger_, &session.GetLogger());
    EXPECT_EQ(logs_.wstring(), session.GetPathGuide().GetLogsDirectory());
    EXPECT_EQ(logs_.wstring(), session.GetLocalConfiguration().GetString(L"logs-directory"));
    EXPECT_EQ((scratch_ / L"orvikpkg.ini").wstring(),
              session.GetConfiguration().PackageManagerFile());
}

// The system information answers for real through the session's own
// wrappers; its time is the system clock's.
TEST_F(SharedSessionTest, OffersTheSystemInformation) {
    SharedSession session(logger_);
    OrvikPkg::SystemInfo::ISystemInformation& information = session.GetSystemInformation();
    EXPECT_EQ(&information, &session.GetSystemInformation());
    EXPECT_GT(information.GetMemory().availablePhysicalBytes, 0u);
    EXPECT_GT(information.GetDiskSpace(L"C:\\").totalBytes, 0u);
    EXPECT_FALSE(information.GetLocaleName(false).empty());
    const auto now = std::chrono::time_point_cast<OrvikPkg::SystemInfo::SystemTicks>(
        std::chrono::system_clock::now());
    EXPECT_LE(std::chrono::abs(information.GetCurrentTime() - now), std::chrono::minutes(1));
    // Wine has no Security Center product list: a status, not an error.
    EXPECT_EQ(OrvikPkg::SystemInfo::SecurityProductList::kNotAvailable,
              information.GetSecurityProvidersInformation().GetFirewallProducts().status);
}

TEST_F(SharedSessionTest, ErrorReportGoesToTheLogsDirectory) {
    SharedSession session(logger_);
    ReportException(L"PreInstall::ReportError", Exception(-126316, L"source\\x", 1), L"", session);
    const std::string report = orvik::testing::ReadBytes(logs_ / L"errorlog.txt");
    EXPECT_NE(std::string::npos,
              report.find("Exception in PreInstall::ReportError. Error code: -126316"));
}

}  // namespace
}  // namespace orvik::pkgshared
