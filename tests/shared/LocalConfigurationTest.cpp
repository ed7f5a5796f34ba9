#include <gtest/gtest.h>

#include <windows.h>

#include <boost/filesystem/operations.hpp>

#include "shared/Exception.h"
#include "shared/LocalConfiguration.h"
#include "shared/utils/WinResources.h"
#include "support/Fakes.h"
#include "support/FileLock.h"
#include "support/ScratchDirectory.h"
#include "support/TestData.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;
using orvik::testing::CodeOf;
using orvik::testing::ReadBytes;
using orvik::testing::WriteBytes;

class LocalConfigurationTest : public ::testing::Test {
protected:
    void SetUp() override {
        fs::create_directories(packageManager_);
        fs::create_directories(settings_);
    }
    void Load() { configuration_.Load(packageManager_.wstring(), settings_.wstring()); }
    void WritePackageManager(const std::string& body) {
        WriteBytes(packageManager_ / L"orvikpkg.ini", "[Settings]\r\n" + body);
    }
    void WriteDefaults(const fs::path& directory, const std::string& body) {
        WriteBytes(directory / L"orvik-package-manager-defaults.ini", "[Settings]\r\n" + body);
    }

    orvik::testing::ScratchDirectory scratch_;
    const fs::path packageManager_ = scratch_ / L"pm";
    const fs::path settings_ = scratch_ / L"settings";
    orvik::testing::RecordingLogger logger_;
    orvik::testing::FakeClock clock_;
    LocalConfiguration configuration_{logger_, clock_};
};

TEST_F(LocalConfigurationTest, NoFilesMeansEverySettingIsAbsent) {
    Load();
    EXPECT_EQ(std::nullopt, configuration_.GetBool(L"disablelogging"));
    EXPECT_EQ(std::nullopt, configuration_.GetString(L"logs-directory"));
    EXPECT_EQ(std::nullopt, configuration_.GetNumber(L"anything"));
    EXPECT_EQ((packageManager_ / L"orvikpkg.ini").wstring(), configuration_.PackageManagerFile());
    EXPECT_EQ((settings_ / L"orvik-package-manager-defaults.ini").wstring(),
              configuration_.DefaultsFile());
}

TEST_F(LocalConfigurationTest, PackageManagerFileWinsOverTheDefaults) {
    WriteDefaults(settings_, "disablelogging=true\r\nlogs-directory=C:\\Defaults\r\nretries=3\r\n");
    WritePackageManager("logs-directory=D:\\Mine\r\n");
    Load();
    EXPECT_EQ(L"D:\\Mine", configuration_.GetString(L"logs-directory"));
    EXPECT_EQ(true, configuration_.GetBool(L"DisableLogging"));
    EXPECT_EQ(3, configuration_.GetNumber(L"retries"));
}

TEST_F(LocalConfigurationTest, SettingsDirectoryMovesTheDefaultsFromOrvikpkgIniOnly) {
    const fs::path moved = scratch_ / L"moved";
    fs::create_directories(moved);
    WriteDefaults(settings_, "logs-directory=C:\\Usual\r\nsettingsdir=" +
                                 (scratch_ / L"ignored").string() + "\r\n");
    WriteDefaults(moved, "logs-directory=C:\\Moved\r\n");
    Load();
    EXPECT_EQ(L"C:\\Usual", configuration_.GetString(L"logs-directory"));
    EXPECT_EQ(std::nullopt, configuration_.GetString(L"settingsdir"));

    WritePackageManager("settingsdir=" + moved.string() + "\r\n");
    Load();
    EXPECT_EQ(L"C:\\Moved", configuration_.GetString(L"logs-directory"));
    EXPECT_EQ(moved.wstring(), configuration_.GetString(L"settingsdir"));
}

TEST_F(LocalConfigurationTest, WithoutThePackageManagerOnlyDefaultsCount) {
    WriteDefaults(settings_, "disablelogging=no\r\n");
    configuration_.Load(L"", settings_.wstring());
    EXPECT_EQ(false, configuration_.GetBool(L"disablelogging"));
    EXPECT_EQ(L"", configuration_.PackageManagerFile());
    EXPECT_EQ(-125227, CodeOf([this] { configuration_.SetString(L"x", L"y"); }));
}

TEST_F(LocalConfigurationTest, LoadFailures) {
    const std::wstring deep = (scratch_.Path() / std::wstring(240, L'd')).wstring();
    EXPECT_EQ(-125126, CodeOf([&] { configuration_.Load(deep, settings_.wstring()); }));

    WritePackageManager("a=b\r\n");
    const UniqueHandle lock = orvik::testing::HoldWithoutSharing(packageManager_ / L"orvikpkg.ini");
    ASSERT_TRUE(lock);
    EXPECT_EQ(-125235, CodeOf([this] { Load(); }));
}

TEST_F(LocalConfigurationTest, MalformedTypedValuesRaise) {
    WritePackageManager("disablelogging=sometimes\r\nretries=lots\r\n");
    Load();
    EXPECT_EQ(-125035, CodeOf([this] { configuration_.GetBool(L"disablelogging"); }));
    EXPECT_EQ(-125036, CodeOf([this] { configuration_.GetNumber(L"retries"); }));
}

TEST_F(LocalConfigurationTest, SetWritesOrvikpkgIniOrRaisesWhenItCannot) {
    WritePackageManager("kept=1\r\n");
    Load();
    configuration_.SetBool(L"disablelogging", true);
    EXPECT_EQ(true, configuration_.GetBool(L"disablelogging"));
    EXPECT_EQ("[Settings]\r\nkept=1\r\ndisablelogging=true\r\n",
              ReadBytes(packageManager_ / L"orvikpkg.ini"));
    EXPECT_EQ(-125069, CodeOf([this] { configuration_.SetString(L"SettingsDir", L"C:\\x"); }));
    EXPECT_TRUE(clock_.sleeps.empty());
    const UniqueHandle lock = orvik::testing::HoldWithoutSharing(packageManager_ / L"orvikpkg.ini");
    EXPECT_EQ(-125227, CodeOf([this] { configuration_.SetString(L"x", L"y"); }));
    EXPECT_FALSE(clock_.sleeps.empty());
}

}  // namespace
}  // namespace orvik::pkgshared
