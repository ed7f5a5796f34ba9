#include <gtest/gtest.h>

#include <windows.h>

#include "shared/ConfigSettings.h"
#include "shared/ConfigStore.h"
#include "shared/utils/WinResources.h"
#include "support/Fakes.h"
#include "support/FileLock.h"
#include "support/ScratchDirectory.h"
#include "support/Thrown.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;
using orvik::testing::ExpectThrows;
using orvik::testing::HoldWithoutSharing;
using orvik::testing::ReadBytes;
using orvik::testing::WriteBytes;

// After a save the target holds the saved text, or on failure what it held before, and
// nothing but the temporaries taken beforehand is left beside it.
TEST(ConfigStoreFileTest, SavesWholeFilesOrLeavesTheOriginal) {
    const char *old = "[s]\r\nold=1\r\n", *saved = "[s]\r\nk=v\r\n";
    constexpr unsigned kSafe = ConfigStore::kSafeSave;
    constexpr unsigned kNumbered = ConfigStore::kSafeSave | ConfigStore::kNumberedTemporary;
    // Target ("": no path; ".": the folder), what it held, options, temporaries taken,
    // whether it is held, a line limit (2: too short to split under), the result.
    const std::tuple<const wchar_t*, const char*, unsigned, int, bool, size_t, int> rows[] = {
        {L"a.ini", old, 0, 0, false, 0, 0},
        {L"a.ini", old, kSafe, 0, false, 0, 0},
        {L"n.ini", nullptr, kSafe, 0, false, 0, 0},
        {L"s.ini", nullptr, kNumbered, 3, false, 0, 0},
        {L"s.ini", old, kNumbered, 1000, false, 0, -5003},
        {L"a.ini", old, kSafe, 0, true, 0, -13},
        {L"a.ini", old, kNumbered, 0, false, 2, -2},
        {L"", nullptr, 0, 0, false, 0, -22},
        {L".", nullptr, 0, 0, false, 0, -5004},
        {L"no\\such\\dir.ini", nullptr, kSafe, 0, false, 0, -13}};
    for (const auto& [name, before, save, taken, locked, lineLimit, result] : rows) {
        SCOPED_TRACE(::testing::Message() << name << " " << save << " " << result);
        const orvik::testing::ScratchDirectory scratch;
        const fs::path target = *name == L'.' ? scratch.Path() : scratch / name;
        if (before != nullptr) {
            WriteBytes(target, before);
        }
        for (int n = 0; n < taken; ++n) {
            WriteBytes(scratch / (L"ini$$" + std::to_wstring(n) + L".TMP").c_str(), "taken");
        }
        UniqueHandle lock(locked ? HoldWithoutSharing(target) : UniqueHandle());
        ConfigStore::Options options;
        options.save = save;
        options.maxLineLength = lineLimit;
        ConfigStore store(options);
        store.LoadText("[s]\nk=v\n");
        const std::wstring path = *name == L'\0' ? L"" : target.wstring();
        EXPECT_EQ(result, store.Save(path));
        lock.reset();
        EXPECT_EQ(result == 0 ? path : L"", store.LastSavedPath());
        if (result == 0 || before != nullptr) {
            EXPECT_EQ(result == 0 ? saved : before, ReadBytes(target));
        }
        size_t others = 0;
        for (fs::directory_iterator it(scratch.Path()), end; it != end; ++it) {
            others += it->path() != target ? 1 : 0;
        }
        EXPECT_EQ(static_cast<size_t>(taken), others);
    }
}

TEST(ConfigSettingsTest, OnlyFileSystemConditionsAreRetried) {
    for (int code : {-2, -3, -5, -6, -12, -13, -22, -24, -28, -5001, -5002, -5003, -5004, -5021,
                     -5022, -5023, -5024}) {
        EXPECT_EQ(code, MapStoreResultForRetry(code));
    }
    for (int code : {0, -1, -4, -5000, -5005, -5020, -5025}) {
        EXPECT_EQ(0, MapStoreResultForRetry(code)) << code;
    }
}

class ConfigSettingsFileTest : public ::testing::Test {
protected:
    void SetUp() override { WriteBytes(file_, "\xEF\xBB\xBF[Settings]\r\nkept=1\r\n"); }
    orvik::testing::ScratchDirectory scratch_;
    const fs::path file_ = scratch_ / L"orvikpkg.ini";
    ConfigSettings settings_{file_.wstring()};
    orvik::testing::RecordingLogger logger_;
    orvik::testing::FakeClock clock_;
};

// Attempts every 100 ms for half a second (six attempts, five retries), each
// logged; a held file is released after `release` sleeps (0: never).
TEST_F(ConfigSettingsFileTest, RetriesEvery100MillisecondsForHalfASecond) {
    ASSERT_EQ(0, settings_.Load());
    const std::wstring retry = L"ConfigStore::Save : Retry " + file_.wstring();
    for (const size_t release : {0, 2}) {
        settings_.SetAttribute(L"k", L"v");
        UniqueHandle lock = HoldWithoutSharing(file_);
        ASSERT_TRUE(lock);
        clock_.sleeps.clear();
        logger_.lines.clear();
        clock_.onSleep = [&](size_t count) { count == release ? lock.reset() : void(); };
        EXPECT_EQ(release == 0 ? -13 : 0, settings_.Save(logger_, clock_)) << release;
        EXPECT_EQ(release == 0, settings_.HasUnsavedChanges());
        EXPECT_EQ(release == 0 ? 6u : 2u, clock_.sleeps.size());
        EXPECT_EQ(std::chrono::milliseconds(100), clock_.sleeps.back());
        const std::vector<std::wstring> messages = logger_.Messages();
        EXPECT_EQ(release == 0 ? 11u : 4u, messages.size());
        EXPECT_EQ(retry, messages.front());
        EXPECT_EQ(release == 0 ? retry : L"ConfigStore::Save: Retry success!", messages.back());
        EXPECT_EQ(L"ConfigStore::Save: Retry failed with ConfigStore::ResultCode -13", messages[1]);
        for (const auto& line : logger_.lines) {
            EXPECT_TRUE(line.source == L"CLILIB" && line.level == 1);
        }
    }
    EXPECT_EQ("\xEF\xBB\xBF[Settings]\r\nkept=1\r\nk=v\r\n", ReadBytes(file_));
}

// An unreadable file is never overwritten, a missing one is created, no change no write; a
// value that would read back as two lines is refused.
TEST_F(ConfigSettingsFileTest, SavesOnlyChangesToFilesItCouldRead) {
    {
        const UniqueHandle lock = HoldWithoutSharing(file_);
        EXPECT_EQ(-13, settings_.Load());
    }
    settings_.SetAttribute(L"k", L"v");
    EXPECT_EQ(-13, settings_.Save(logger_, clock_));
    EXPECT_EQ("\xEF\xBB\xBF[Settings]\r\nkept=1\r\n", ReadBytes(file_));
    const fs::path created = scratch_ / L"new.ini";
    ConfigSettings fresh(created.wstring());
    EXPECT_EQ(-2, fresh.Load());
    fresh.SetAttribute(L"logs-directory", L"C:\\\u65E5");
    ExpectThrows([&] { fresh.SetAttribute(L"k", L"a\nb"); },
                 {-125201, {L"k", L"a\nb", L"SetAttribute"}, L"source\\shared\\ConfigSettings"});
    EXPECT_EQ(0, fresh.Save(logger_, clock_));
    EXPECT_FALSE(fresh.HasUnsavedChanges());
    EXPECT_EQ("[Settings]\r\nlogs-directory=C:\\\xE6\x97\xA5\r\n", ReadBytes(created));
    WriteBytes(created, "changed");
    EXPECT_EQ(0, fresh.Save(logger_, clock_));
    EXPECT_EQ("changed", ReadBytes(created));
    EXPECT_EQ(L"C:\\\u65E5", fresh.GetAttribute(L"LOGS-DIRECTORY"));
    EXPECT_EQ(std::vector<std::wstring>{L"logs-directory"}, fresh.ListAttributes());
    EXPECT_TRUE(logger_.lines.empty() && clock_.sleeps.empty());
}

}  // namespace
}  // namespace orvik::pkgshared
