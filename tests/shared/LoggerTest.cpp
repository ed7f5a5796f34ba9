#include <gtest/gtest.h>
#include <windows.h>
#include <atomic>
#include <boost/filesystem/operations.hpp>
#include <map>
#include <regex>
#include <sstream>
#include <thread>
#include "shared/LocalConfiguration.h"
#include "shared/Logger.h"
#include "shared/utils/WinResources.h"
#include "support/FakeSession.h"
#include "support/FileLock.h"
#include "support/ScratchDirectory.h"
#include "support/Thrown.h"

namespace orvik::pkgshared {
namespace {
namespace fs = boost::filesystem;
using orvik::testing::CodeOf;
using orvik::testing::ReadBytes;
using orvik::testing::WriteBytes;
std::vector<std::string> Lines(const fs::path& file) {
    std::vector<std::string> lines;
    std::istringstream in(ReadBytes(file));
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
    orvik::testing::FakeSession session_;
    Logger logger_;
};
// A second Initialize keeps the first file and settings.
TEST_F(LoggerTest, FileNameHasTheTimeAndProcessAndLinesAreFormatted) {
    logger_.Initialize(session_);
    const fs::path path = logger_.GetLogFilePath();
    EXPECT_EQ(scratch_ / L"OrvikPkgLogs", path.parent_path());
    EXPECT_TRUE(
        std::regex_match(path.filename().wstring(),
                         std::wregex(L"OrvikPkgLog_\\d{4}-\\d{2}-\\d{2}T\\d{2}\\.\\d{2}\\.\\d{2}_" +
                                     std::to_wstring(::GetCurrentProcessId()) + L"\\.txt")));
    session_.configuration.bools[L"disablelogging"] = true;
    logger_.Initialize(session_);
    MakeLogsDirectory();
    logger_.Log(L"PreInstall", 1, L"a\nb");
    logger_.Log(L"", 0, L"c");
    const std::vector<std::string> lines = Lines(path);
    ASSERT_EQ(2u, lines.size());
    EXPECT_EQ("PreInstall: a\\|b", lines[0].substr(16));
    EXPECT_EQ(" : c", lines[1].substr(16));
}
TEST_F(LoggerTest, LinesAreDroppedWhileTheDirectoryIsMissingOrLoggingIsDisabled) {
    for (const bool disabled : {false, true}) {
        Logger logger;
        session_.configuration.bools[L"disablelogging"] = disabled;
        logger.Initialize(session_);
        logger.Log(L"s", 0, L"lost");
        EXPECT_FALSE(fs::exists(scratch_ / L"OrvikPkgLogs"));
        MakeLogsDirectory();
        logger.Log(L"s", 0, L"kept unless disabled");
        EXPECT_EQ(disabled ? 0u : 1u, Lines(logger.GetLogFilePath()).size());
        EXPECT_EQ(disabled, fs::is_empty(scratch_ / L"OrvikPkgLogs"));
        logger.Close();
        fs::remove_all(scratch_ / L"OrvikPkgLogs");
    }
}
// Both writers start only once both are running, so their calls overlap.
TEST_F(LoggerTest, TwoThreadsWriteWholeLinesInTheirOrder) {
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
    std::thread first(writer, L"first"), second(writer, L"second");
    first.join();
    second.join();
    const std::vector<std::string> lines = Lines(logger_.GetLogFilePath());
    ASSERT_EQ(2u * kLines, lines.size());
    const std::regex whole("[0-9:. ]{15} (first|second): line (\\d+) x{60}");
    std::map<std::string, int> next;
    for (const std::string& line : lines) {
        std::smatch match;
        ASSERT_TRUE(std::regex_match(line, match, whole)) << line;
        EXPECT_EQ(next[match[1]]++, std::stoi(match[2])) << line;
    }
}
class LocalConfigurationTest : public ::testing::Test {
protected:
    void SetUp() override { fs::create_directories(settings_); }
    void Load() { configuration_.Load(pm_.wstring(), settings_.wstring()); }
    static void Write(const fs::path& directory, const wchar_t* name, const std::string& body) {
        fs::create_directories(directory);
        WriteBytes(directory / name, "[Settings]\r\n" + body);
    }
    orvik::testing::ScratchDirectory scratch_;
    const fs::path pm_ = scratch_ / L"pm", settings_ = scratch_ / L"settings";
    const wchar_t* const ini_ = L"orvikpkg.ini";
    const wchar_t* const defaults_ = L"orvik-package-manager-defaults.ini";
    orvik::testing::RecordingLogger logger_;
    orvik::testing::FakeClock clock_;
    LocalConfiguration configuration_{logger_, clock_};
};
TEST_F(LocalConfigurationTest, PackageManagerFileWinsOverTheDefaultsItMoves) {
    Write(settings_, defaults_,
          "disablelogging=true\r\nlogs-directory=C:\\Usual\r\nretries=3\r\nsettingsdir=" +
              (scratch_ / L"moved").string() + "\r\n");
    Write(scratch_ / L"moved", defaults_, "logs-directory=C:\\Moved\r\n");
    Load();
    EXPECT_EQ(L"C:\\Usual", configuration_.GetString(L"logs-directory"));
    EXPECT_EQ(true, configuration_.GetBool(L"DisableLogging"));
    EXPECT_EQ(3, configuration_.GetNumber(L"retries"));
    EXPECT_EQ(std::nullopt, configuration_.GetString(L"settingsdir"));  // not from the defaults
    Write(pm_, ini_,
          "logs-directory=D:\\Mine\r\nsettingsdir=" + (scratch_ / L"moved").string() + "\r\n");
    Load();
    EXPECT_EQ(L"D:\\Mine", configuration_.GetString(L"logs-directory"));
    EXPECT_EQ(std::nullopt, configuration_.GetNumber(L"retries"));
}
TEST_F(LocalConfigurationTest, SetWritesOrvikpkgIniAndFailuresRaiseTheirCodes) {
    const std::wstring deep = (scratch_.Path() / std::wstring(240, L'd')).wstring();
    EXPECT_EQ(-125126, CodeOf([&] { configuration_.Load(deep, settings_.wstring()); }));
    configuration_.Load(L"", settings_.wstring());
    EXPECT_EQ(L"", configuration_.PackageManagerFile());
    EXPECT_EQ(-125227, CodeOf([this] { configuration_.SetString(L"x", L"y"); }));
    Write(pm_, ini_, "disablelogging=sometimes\r\nretries=lots\r\n");
    Load();
    EXPECT_EQ(-125035, CodeOf([this] { configuration_.GetBool(L"disablelogging"); }));
    EXPECT_EQ(-125036, CodeOf([this] { configuration_.GetNumber(L"retries"); }));
    configuration_.SetBool(L"disablelogging", false);
    EXPECT_EQ(false, configuration_.GetBool(L"disablelogging"));
    EXPECT_EQ("[Settings]\r\ndisablelogging=false\r\nretries=lots\r\n", ReadBytes(pm_ / ini_));
    EXPECT_EQ(-125069, CodeOf([this] { configuration_.SetString(L"SettingsDir", L"C:\\x"); }));
    EXPECT_TRUE(clock_.sleeps.empty());
    const UniqueHandle lock = orvik::testing::HoldWithoutSharing(pm_ / ini_);
    EXPECT_EQ(-125227, CodeOf([this] { configuration_.SetString(L"x", L"y"); }));
    EXPECT_FALSE(clock_.sleeps.empty());
    EXPECT_EQ(-125235, CodeOf([this] { Load(); }));
}
}  // namespace
}  // namespace orvik::pkgshared
