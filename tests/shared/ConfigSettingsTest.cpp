#include <gtest/gtest.h>

#include <windows.h>

#include "shared/ConfigSettings.h"
#include "shared/utils/WinResources.h"
#include "support/Fakes.h"
#include "support/FileLock.h"
#include "support/ScratchDirectory.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;
using orvik::testing::HoldWithoutSharing;
using orvik::testing::ReadBytes;
using orvik::testing::WriteBytes;

class ConfigSettingsTest : public ::testing::Test {
protected:
    void SetUp() override { WriteBytes(file_, "[Settings]\r\nkept=1\r\n"); }
    orvik::testing::ScratchDirectory scratch_;
    const fs::path file_ = scratch_ / L"orvikpkg.ini";
    ConfigSettings settings_{file_.wstring()};
    orvik::testing::RecordingLogger logger_;
    orvik::testing::FakeClock clock_;
};

TEST(ConfigSettingsRetryTableTest, OnlyFileSystemConditionsAreRetried) {
    for (int code : {-2, -3, -5, -6, -12, -13, -22, -24, -28, -5001, -5002, -5003, -5004, -5021,
                     -5022, -5023, -5024}) {
        EXPECT_EQ(code, MapStoreResultForRetry(code));
    }
    for (int code : {0, -1, -4, -9, -14, -5000, -5005, -5020, -5025, -125227}) {
        EXPECT_EQ(0, MapStoreResultForRetry(code)) << code;
    }
}

TEST_F(ConfigSettingsTest, SavesChangesOnceWithoutLogging) {
    ASSERT_EQ(0, settings_.Load());
    EXPECT_EQ(0, settings_.Save(logger_, clock_));  // nothing changed: no write
    settings_.SetAttribute(L"disablelogging", L"true");
    EXPECT_TRUE(settings_.HasUnsavedChanges());
    EXPECT_EQ(0, settings_.Save(logger_, clock_));
    EXPECT_FALSE(settings_.HasUnsavedChanges());
    EXPECT_EQ("[Settings]\r\nkept=1\r\ndisablelogging=true\r\n", ReadBytes(file_));
    EXPECT_TRUE(logger_.lines.empty());
    EXPECT_TRUE(clock_.sleeps.empty());
}

TEST_F(ConfigSettingsTest, RetriesEvery100MillisecondsForHalfASecond) {
    ASSERT_EQ(0, settings_.Load());
    settings_.SetAttribute(L"k", L"v");
    const UniqueHandle lock = HoldWithoutSharing(file_);
    ASSERT_TRUE(lock);
    EXPECT_EQ(-13, settings_.Save(logger_, clock_));
    EXPECT_TRUE(settings_.HasUnsavedChanges());
    // Attempts at 0, 100, ..., 500 ms: six attempts, five of them retries.
    EXPECT_EQ(6u, clock_.sleeps.size());
    for (const auto sleep : clock_.sleeps) {
        EXPECT_EQ(std::chrono::milliseconds(100), sleep);
    }
    const std::wstring retry = L"ConfigStore::Save : Retry " + file_.wstring();
    const std::wstring failed = L"ConfigStore::Save: Retry failed with ConfigStore::ResultCode -13";
    std::vector<std::wstring> expected = {retry};
    for (int i = 0; i < 5; ++i) {
        expected.push_back(failed);
        expected.push_back(retry);
    }
    EXPECT_EQ(expected, logger_.Messages());
    for (const auto& line : logger_.lines) {
        EXPECT_EQ(L"CLILIB", line.source);
        EXPECT_EQ(1, line.level);
    }
}

TEST_F(ConfigSettingsTest, RetryThatSucceedsIsLogged) {
    ASSERT_EQ(0, settings_.Load());
    settings_.SetAttribute(L"k", L"v");
    UniqueHandle lock = HoldWithoutSharing(file_);
    clock_.onSleep = [&lock](size_t count) {
        if (count == 2) {
            lock.reset();
        }
    };
    EXPECT_EQ(0, settings_.Save(logger_, clock_));
    EXPECT_FALSE(settings_.HasUnsavedChanges());
    EXPECT_EQ(
        (std::vector<std::wstring>{
            L"ConfigStore::Save : Retry " + file_.wstring(),
            L"ConfigStore::Save: Retry failed with ConfigStore::ResultCode -13",
            L"ConfigStore::Save : Retry " + file_.wstring(), L"ConfigStore::Save: Retry success!"}),
        logger_.Messages());
    EXPECT_EQ("[Settings]\r\nkept=1\r\nk=v\r\n", ReadBytes(file_));
}

TEST_F(ConfigSettingsTest, FileThatCouldNotBeReadIsNeverOverwritten) {
    {
        const UniqueHandle lock = HoldWithoutSharing(file_);
        EXPECT_EQ(-13, settings_.Load());
    }
    settings_.SetAttribute(L"k", L"v");
    EXPECT_EQ(-13, settings_.Save(logger_, clock_));
    EXPECT_EQ("[Settings]\r\nkept=1\r\n", ReadBytes(file_));
    EXPECT_TRUE(clock_.sleeps.empty());
}

TEST_F(ConfigSettingsTest, MissingFileIsCreatedOnSave) {
    ConfigSettings fresh((scratch_ / L"new.ini").wstring());
    EXPECT_EQ(-2, fresh.Load());
    EXPECT_TRUE(fresh.ListAttributes().empty());
    fresh.SetAttribute(L"logs-directory", L"C:\\\u65E5");
    EXPECT_EQ(0, fresh.Save(logger_, clock_));
    EXPECT_EQ("[Settings]\r\nlogs-directory=C:\\\xE6\x97\xA5\r\n",
              ReadBytes(scratch_ / L"new.ini"));
    ConfigSettings reread((scratch_ / L"new.ini").wstring());
    EXPECT_EQ(0, reread.Load());
    EXPECT_EQ(L"C:\\\u65E5", reread.GetAttribute(L"LOGS-DIRECTORY"));
    EXPECT_EQ(std::vector<std::wstring>{L"logs-directory"}, reread.ListAttributes());
}

}  // namespace
}  // namespace orvik::pkgshared
