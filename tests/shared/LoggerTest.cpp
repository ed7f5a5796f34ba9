#include <gtest/gtest.h>

#include <windows.h>

#include <atomic>
#include <map>
#include <regex>
#include <sstream>
#include <thread>

#include <boost/filesystem/operations.hpp>

#include "shared/Exception.h"
#include "shared/LocalConfiguration.h"
#include "shared/Logger.h"
#include "shared/PathGuide.h"
#include "shared/utils/WinResources.h"
#include "support/FakeSession.h"
#include "support/Fakes.h"
#include "support/FileLock.h"
#include "support/ScratchDirectory.h"
#include "support/TestData.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;
using orvik::testing::ReadBytes;

using orvik::testing::FakeSession;

std::vector<std::string> Lines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        lines.push_back(line);
    }
    return lines;
}

class LoggerTest : public ::testing::Test {
protected:
    void SetUp() override { session_.guide.logs = scratch_.Path().wstring(); }
    void MakeLogsDirectory() { fs::create_directories(scratch_ / L"OrvikPkgLogs"); }
    orvik::testing::ScratchDirectory scratch_;
    FakeSession session_;
    Logger logger_;
};

// The name holds the local time and the process; a second Initialize keeps
// the first file and its settings.
TEST_F(LoggerTest, FileNameHasTheLocalTimeAndTheProcessAndIsSetOnce) {
    EXPECT_EQ(L"", logger_.GetLogFilePath());
    logger_.Initialize(session_);
    const fs::path path = logger_.GetLogFilePath();
    EXPECT_EQ(scratch_ / L"OrvikPkgLogs", path.parent_path());
    const std::wregex pattern(L"OrvikPkgLog_\\d{4}-\\d{2}-\\d{2}T\\d{2}\\.\\d{2}\\.\\d{2}_" +
                              std::to_wstring(::GetCurrentProcessId()) + L"\\.txt");
    EXPECT_TRUE(std::regex_match(path.filename().wstring(), pattern));
    session_.guide.logs = (scratch_ / L"elsewhere").wstring();
    session_.configuration.bools[L"disablelogging"] = true;
    logger_.Initialize(session_);
    EXPECT_EQ(path, logger_.GetLogFilePath());
    MakeLogsDirectory();
    logger_.Log(L"s", 0, L"still logging");
    EXPECT_TRUE(fs::exists(path));
}

TEST_F(LoggerTest, WritesFlushedUtf8LinesAndAppendsAfterClose) {
    logger_.Initialize(session_);
    MakeLogsDirectory();
    logger_.Log(L"PreInstall", 1, L"a\nb");
    logger_.Log(L"", 0, L"\u65E5\u672C");
    // Flushed per line: readable while the logger holds the file.
    std::vector<std::string> lines = Lines(ReadBytes(logger_.GetLogFilePath()));
    ASSERT_EQ(2u, lines.size());
    const std::regex time("\\d{2}:\\d{2}:\\d{2}(\\.\\d{6}| {7}) ");
    EXPECT_TRUE(std::regex_match(lines[0].substr(0, 16), time)) << lines[0];
    EXPECT_EQ("PreInstall: a\\|b", lines[0].substr(16));
    EXPECT_EQ(" : \xE6\x97\xA5\xE6\x9C\xAC", lines[1].substr(16));  // empty source: one blank

    logger_.Close();
    logger_.Log(L"s", 0, L"after close");
    lines = Lines(ReadBytes(logger_.GetLogFilePath()));
    ASSERT_EQ(3u, lines.size());
    EXPECT_EQ("s: after close", lines[2].substr(16));
}

// Lines are dropped while the directory is missing; disabled logging makes
// no file at all.
TEST_F(LoggerTest, LinesAreDroppedWhileTheDirectoryIsMissingOrLoggingIsDisabled) {
    for (const bool disabled : {false, true}) {
        Logger logger;
        session_.configuration.bools[L"disablelogging"] = disabled;
        logger.Initialize(session_);
        logger.Log(L"s", 0, L"lost");
        EXPECT_FALSE(fs::exists(scratch_ / L"OrvikPkgLogs"));
        MakeLogsDirectory();
        logger.Log(L"s", 0, L"kept unless disabled");
        EXPECT_EQ(disabled ? 0u : 1u, Lines(ReadBytes(logger.GetLogFilePath())).size());
        EXPECT_EQ(disabled, fs::is_empty(scratch_ / L"OrvikPkgLogs"));
        logger.Close();
        fs::remove_all(scratch_ / L"OrvikPkgLogs");
    }
}

// Both writers start only once both are running, so their calls overlap;
// every line comes out whole and each writer's lines in their order.
TEST_F(LoggerTest, TwoThreadsWriteWholeLines) {
    logger_.Initialize(session_);
    MakeLogsDirectory();
    constexpr int kLines = 1000;
    std::atomic<int> arrived{0};
    auto writer = [&](const wchar_t* source) {
        ++arrived;
        while (arrived.load() < 2) {
            std::this_thread::yield();
        }
        for (int i = 0; i < kLines; ++i) {
            logger_.Log(source, 0, L"line " + std::to_wstring(i) + L" " + std::wstring(60, L'x'));
        }
    };
    std::thread first(writer, L"first");
    std::thread second(writer, L"second");
    first.join();
    second.join();
    const std::vector<std::string> lines = Lines(ReadBytes(logger_.GetLogFilePath()));
    ASSERT_EQ(2u * kLines, lines.size());
    const std::regex whole("[0-9:. ]{15} (first|second): line (\\d+) x{60}");
    std::map<std::string, int> next;
    for (const std::string& line : lines) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(line, match, whole)) << line;
        EXPECT_EQ(next[match[1]]++, std::stoi(match[2])) << line;
    }
}

using orvik::testing::CodeOf;
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
