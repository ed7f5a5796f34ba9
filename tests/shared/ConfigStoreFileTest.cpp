#include <gtest/gtest.h>

#include <windows.h>

#include "shared/ConfigSettings.h"
#include "shared/ConfigStore.h"
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

// A save into a fresh folder holding `before` (null: no file) at the target
// and `taken` numbered temporaries; afterwards the target holds `after` and
// nothing but the taken temporaries is left beside it.
TEST(ConfigStoreFileTest, SavesWholeFilesOrLeaveTheOriginal) {
    const std::string original = "[Settings]\r\noriginal=1\r\n";
    const std::string saved = "[Settings]\r\ndisablelogging=true\r\nlogs-directory=C:\\Logs\r\n";
    constexpr unsigned kSafe = ConfigStore::kSafeSave;
    constexpr unsigned kNumbered = ConfigStore::kSafeSave | ConfigStore::kNumberedTemporary;
    const struct {
        const wchar_t* target;  // "": no path; ".": the folder itself
        const char* before;
        unsigned save;
        int taken;
        bool locked;
        size_t lineLimit;  // a second entry that cannot be split under it
        int result;
        const char* after;
    } rows[] = {{L"orvikpkg.ini", original.c_str(), 0, 0, false, 0, 0, saved.c_str()},
                {L"orvikpkg.ini", original.c_str(), kSafe, 0, false, 0, 0, saved.c_str()},
                {L"orvikpkg.ini", original.c_str(), kNumbered, 0, false, 0, 0, saved.c_str()},
                {L"new.ini", nullptr, kSafe, 0, false, 0, 0, saved.c_str()},
                {L"a.TMP", original.c_str(), kSafe, 0, false, 0, 0, saved.c_str()},
                {L"s.ini", nullptr, kNumbered, 3, false, 0, 0, saved.c_str()},
                {L"s.ini", original.c_str(), kNumbered, 1000, false, 0, -5003, original.c_str()},
                {L"locked.ini", original.c_str(), kSafe, 0, true, 0, -13, original.c_str()},
                {L"locked.ini", original.c_str(), kNumbered, 0, true, 0, -13, original.c_str()},
                {L"orvikpkg.ini", original.c_str(), kSafe, 0, false, 20, -2, original.c_str()},
                {L"orvikpkg.ini", original.c_str(), kNumbered, 0, false, 20, -2, original.c_str()},
                {L"", nullptr, 0, 0, false, 0, -22, nullptr},
                {L"", nullptr, kSafe, 0, false, 0, -22, nullptr},
                {L".", nullptr, 0, 0, false, 0, -5004, nullptr},
                {L"no\\such\\dir.ini", nullptr, kSafe, 0, false, 0, -13, nullptr}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.target << " options " << row.save << " limit "
                                          << row.lineLimit << " taken " << row.taken);
        const orvik::testing::ScratchDirectory scratch;
        const fs::path target = *row.target == L'.' ? scratch.Path() : scratch / row.target;
        if (row.before != nullptr) {
            WriteBytes(target, row.before);
        }
        for (int n = 0; n < row.taken; ++n) {
            WriteBytes(scratch / (L"ini$$" + std::to_wstring(n) + L".TMP").c_str(), "taken");
        }
        UniqueHandle lock(row.locked ? HoldWithoutSharing(target) : UniqueHandle());
        ConfigStore::Options options;
        options.save = row.save;
        options.maxLineLength = row.lineLimit;
        ConfigStore store(options);
        store.LoadText(row.lineLimit == 0
                           ? "[Settings]\ndisablelogging=true\nlogs-directory=C:\\Logs\n"
                           : "[s]\nk=v\nan-overly-long-key=" + std::string(40, 'v') + "\n");
        const std::wstring path = *row.target == L'\0' ? L"" : target.wstring();
        EXPECT_EQ(row.result, store.Save(path));
        lock.reset();
        EXPECT_EQ(row.result == 0 ? path : L"", store.LastSavedPath());
        if (row.after != nullptr) {
            EXPECT_EQ(row.after, ReadBytes(target));
        }
        size_t others = 0;
        for (fs::directory_iterator it(scratch.Path()), end; it != end; ++it) {
            others += it->path() != target ? 1 : 0;
        }
        EXPECT_EQ(static_cast<size_t>(row.taken), others);
    }
}

TEST(ConfigStoreFileTest, LoadReplacesTheContents) {
    const orvik::testing::ScratchDirectory scratch;
    WriteBytes(scratch / L"load.ini", "[Settings]\r\ndisablelogging = false\r\n");
    ConfigStore store;
    store.LoadText("[Settings]\nlogs-directory=C:\\Logs\n");
    EXPECT_EQ(0, store.LoadFile((scratch / L"load.ini").wstring()));
    EXPECT_EQ("false", store.GetValue("Settings", "disablelogging"));
    EXPECT_EQ(std::nullopt, store.GetValue("Settings", "logs-directory"));
    EXPECT_EQ(-2, store.LoadFile((scratch / L"missing.ini").wstring()));
    EXPECT_EQ(std::nullopt, store.GetValue("Settings", "disablelogging"));
}

TEST(ConfigSettingsTest, OnlyFileSystemConditionsAreRetried) {
    for (int code : {-2, -3, -5, -6, -12, -13, -22, -24, -28, -5001, -5002, -5003, -5004, -5021,
                     -5022, -5023, -5024}) {
        EXPECT_EQ(code, MapStoreResultForRetry(code));
    }
    for (int code : {0, -1, -4, -9, -14, -5000, -5005, -5020, -5025, -125227}) {
        EXPECT_EQ(0, MapStoreResultForRetry(code)) << code;
    }
}

class ConfigSettingsFileTest : public ::testing::Test {
protected:
    void SetUp() override { WriteBytes(file_, "[Settings]\r\nkept=1\r\n"); }
    orvik::testing::ScratchDirectory scratch_;
    const fs::path file_ = scratch_ / L"orvikpkg.ini";
    ConfigSettings settings_{file_.wstring()};
    orvik::testing::RecordingLogger logger_;
    orvik::testing::FakeClock clock_;
};

TEST_F(ConfigSettingsFileTest, SavesChangesOnceWithoutLogging) {
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

// Attempts every 100 ms for half a second (six attempts, five retries), each
// logged; a held file is released after `release` sleeps (0: never).
TEST_F(ConfigSettingsFileTest, RetriesEvery100MillisecondsForHalfASecond) {
    ASSERT_EQ(0, settings_.Load());
    const std::wstring retry = L"ConfigStore::Save : Retry " + file_.wstring();
    const std::wstring failed = L"ConfigStore::Save: Retry failed with ConfigStore::ResultCode -13";
    for (const size_t release : {0, 2}) {
        settings_.SetAttribute(L"k", L"v");
        UniqueHandle lock = HoldWithoutSharing(file_);
        ASSERT_TRUE(lock);
        clock_.sleeps.clear();
        clock_.onSleep = [&lock, release](size_t count) {
            if (count == release) {
                lock.reset();
            }
        };
        logger_.lines.clear();
        EXPECT_EQ(release == 0 ? -13 : 0, settings_.Save(logger_, clock_)) << release;
        EXPECT_EQ(release == 0, settings_.HasUnsavedChanges());
        EXPECT_EQ(std::vector<std::chrono::milliseconds>(release == 0 ? 6 : 2,
                                                         std::chrono::milliseconds(100)),
                  clock_.sleeps);
        std::vector<std::wstring> expected = {retry};
        for (size_t i = 0; i < (release == 0 ? 5 : 1); ++i) {
            expected.insert(expected.end(), {failed, retry});
        }
        if (release != 0) {
            expected.push_back(L"ConfigStore::Save: Retry success!");
        }
        EXPECT_EQ(expected, logger_.Messages());
        for (const auto& line : logger_.lines) {
            EXPECT_EQ(L"CLILIB", line.source);
            EXPECT_EQ(1, line.level);
        }
    }
    EXPECT_EQ("[Settings]\r\nkept=1\r\nk=v\r\n", ReadBytes(file_));
}

TEST_F(ConfigSettingsFileTest, FileThatCouldNotBeReadIsNeverOverwrittenAndMissingIsCreated) {
    {
        const UniqueHandle lock = HoldWithoutSharing(file_);
        EXPECT_EQ(-13, settings_.Load());
    }
    settings_.SetAttribute(L"k", L"v");
    EXPECT_EQ(-13, settings_.Save(logger_, clock_));
    EXPECT_EQ("[Settings]\r\nkept=1\r\n", ReadBytes(file_));
    EXPECT_TRUE(clock_.sleeps.empty());

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
