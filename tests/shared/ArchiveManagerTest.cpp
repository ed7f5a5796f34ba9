#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include <boost/filesystem/operations.hpp>

#include "shared/ArchiveManager.h"
#include "shared/ExceptionFamily.h"
#include "support/ArchiveBuilder.h"
#ifdef _WIN32
#include "support/FileLock.h"
#endif
#include "support/ScratchDirectory.h"
#include "support/TestData.h"
#include "support/WinePath.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;
using orvik::testing::ArchiveItem;
using orvik::testing::Filter;
using orvik::testing::Format;
using orvik::testing::ReadBytes;
using orvik::testing::WriteArchive;

class RecordingCallback : public NotificationCallbackInterface {
public:
    bool IsCancelRequested() override {
        ++cancelQueries;
        return cancel;
    }
    void Notify(std::int32_t, std::int32_t) override { ++otherCalls; }
    void NotifyProgress(std::int32_t kind, double percent, const std::wstring& target,
                        const std::wstring& source) override {
        kinds.push_back(kind);
        percents.push_back(percent);
        targets.push_back(target);
        sources.push_back(source);
    }
    bool Query(std::int32_t, std::int32_t, std::int32_t) override {
        ++otherCalls;
        return false;
    }
    bool cancel = false;
    int cancelQueries = 0;
    int otherCalls = 0;
    std::vector<std::int32_t> kinds;
    std::vector<double> percents;
    std::vector<std::wstring> targets;
    std::vector<std::wstring> sources;
};

using orvik::testing::CodeOf;
using orvik::testing::RandomBytes;

class ArchiveManagerTest : public ::testing::Test {
protected:
    fs::path Make(const wchar_t* name, Format format, Filter filter,
                  const std::vector<ArchiveItem>& items) {
        const fs::path file = scratch_ / name;
        EXPECT_TRUE(WriteArchive(file, format, filter, items));
        return file;
    }
    void Unpack(const fs::path& source, ArchiveType type, CompressionType compression,
                const std::vector<std::wstring>& entries = {}, bool readOnly = false) {
        ArchiveManager::Unarchive(&callback_, source.wstring(), destination_.wstring(), entries,
                                  type, compression, readOnly);
    }
    orvik::testing::ScratchDirectory scratch_;
    const fs::path destination_ = scratch_ / L"out";
    RecordingCallback callback_;
    const std::vector<ArchiveItem> tree_ = {
        {"bin/", "", 0755},
        {"bin/Install.exe", RandomBytes(100000, 1), 0755},
        {"suite.dat", "suite", 0644},
        {"deep/a/b/c.txt", "deep", 0644},
        {"\xE6\x97\xA5\xE6\x9C\xAC.txt", "non-ascii", 0644},
        {"empty.txt", "", 0644},
    };
};

TEST_F(ArchiveManagerTest, TarInEveryCompressionUnpacksByteForByte) {
    const std::pair<Filter, CompressionType> kinds[] = {{Filter::None, kCompressionNone},
                                                        {Filter::Gzip, kCompressionGzip},
                                                        {Filter::Zstd, kCompressionZstd}};
    for (const auto& [filter, compression] : kinds) {
        const fs::path archive = Make(L"p.tar", Format::Tar, filter, tree_);
        Unpack(archive, kArchiveTar, compression);
        EXPECT_EQ(tree_[1].data, ReadBytes(destination_ / L"bin" / L"Install.exe"));
        EXPECT_EQ("deep", ReadBytes(destination_ / L"deep/a/b/c.txt"));
        EXPECT_EQ("non-ascii", ReadBytes(destination_ / L"\u65E5\u672C.txt"));
        EXPECT_TRUE(fs::exists(destination_ / L"empty.txt"));
        EXPECT_EQ(0u, fs::file_size(destination_ / L"empty.txt"));
        fs::remove_all(destination_);
    }
}

TEST_F(ArchiveManagerTest, ArArchives) {
    const fs::path archive =
        Make(L"p.a", Format::Ar, Filter::Gzip, {{"one.txt", "1", 0644}, {"two.bin", "22", 0644}});
    Unpack(archive, kArchiveAr, kCompressionGzip);
    EXPECT_EQ("1", ReadBytes(destination_ / L"one.txt"));
    EXPECT_EQ("22", ReadBytes(destination_ / L"two.bin"));
}

TEST_F(ArchiveManagerTest, RawStreamIsNamedAfterTheSource) {
    const std::string text = RandomBytes(50000, 2);
    const fs::path archive = Make(L"notes.txt.gz", Format::Raw, Filter::Gzip, {{"x", text, 0644}});
    Unpack(archive, kArchiveRaw, kCompressionGzip);
    EXPECT_EQ(text, ReadBytes(destination_ / L"notes.txt"));
    EXPECT_FALSE(fs::exists(destination_ / L"data"));
}

TEST_F(ArchiveManagerTest, ZeroLengthArchivesAreEmptyNotErrors) {
    const fs::path empty = scratch_ / L"empty.bin";
    orvik::testing::WriteBytes(empty, "");
    Unpack(empty, kArchiveTar, kCompressionGzip);
    EXPECT_TRUE(callback_.targets.empty());
    // A raw stream of nothing is an empty file named after the source.
    Unpack(empty, kArchiveRaw, kCompressionNone);
    EXPECT_TRUE(fs::exists(destination_ / L"empty"));
    EXPECT_EQ(0u, fs::file_size(destination_ / L"empty"));
}

TEST_F(ArchiveManagerTest, LeadingDotSlashIsStrippedOnce) {
    const fs::path archive = Make(L"p.tar.gz", Format::Tar, Filter::Gzip,
                                  {{"./bin/tool.exe", "tool", 0755}, {"./a/./b.txt", "b", 0644}});
    Unpack(archive, kArchiveTar, kCompressionGzip);
    EXPECT_EQ("tool", ReadBytes(destination_ / L"bin/tool.exe"));
    EXPECT_EQ("b", ReadBytes(destination_ / L"a/b.txt"));
    ASSERT_FALSE(callback_.targets.empty());
    EXPECT_EQ((destination_ / L"bin/tool.exe").make_preferred().wstring(), callback_.targets[0]);
}

TEST_F(ArchiveManagerTest, ReadOnlyEntriesStayWriteableUnlessAsked) {
    const std::vector<ArchiveItem> items = {{"ro.txt", "r", 0444}, {"rw.txt", "w", 0644}};
    const fs::path archive = Make(L"p.tar", Format::Tar, Filter::None, items);
    auto readOnly = [](const fs::path& file) {
        return (fs::status(file).permissions() & fs::owner_write) == 0;
    };
    Unpack(archive, kArchiveTar, kCompressionNone, {}, true);
    EXPECT_TRUE(readOnly(destination_ / L"ro.txt"));
    EXPECT_FALSE(readOnly(destination_ / L"rw.txt"));
}

TEST_F(ArchiveManagerTest, EntryListStopsOnceEveryListedEntryIsWritten) {
    const fs::path archive =
        Make(L"p.tar", Format::Tar, Filter::None,
             {{"a.txt", "a", 0644}, {"b/c.txt", "c", 0644}, {"d.txt", "d", 0644}});
    // Garbage after the archive would fail the next header read if it were reached.
    orvik::testing::WriteBytes(archive,
                               ReadBytes(archive).substr(0, 3 * 1024) + RandomBytes(4096, 3));
    Unpack(archive, kArchiveTar, kCompressionNone, {L"b/c.txt"});
    EXPECT_EQ("c", ReadBytes(destination_ / L"b/c.txt"));
    EXPECT_FALSE(fs::exists(destination_ / L"a.txt"));
    EXPECT_EQ(1u, callback_.targets.size());
}

TEST_F(ArchiveManagerTest, CancellingStillWalksTheWholeArchive) {
    const fs::path archive = Make(L"p.tar.gz", Format::Tar, Filter::Gzip, tree_);
    callback_.cancel = true;
    ProgressTracker tracker;
    ArchiveManager::Unarchive(&callback_, archive.wstring(), destination_.wstring(), {},
                              kArchiveTar, kCompressionGzip, &tracker, false, false);
    EXPECT_EQ(tree_.size(), callback_.targets.size());  // every header written
    // No data was copied: files have their declared size but hold zeros.
    for (const char* name : {"bin/Install.exe", "suite.dat", "deep/a/b/c.txt"}) {
        const std::string bytes = ReadBytes(destination_ / name);
        EXPECT_EQ(std::string::npos, bytes.find_first_not_of('\0')) << name;
    }
    EXPECT_EQ(static_cast<int>(tree_.size()), callback_.cancelQueries);
    EXPECT_EQ(0, callback_.otherCalls);
}

TEST_F(ArchiveManagerTest, ProgressOfThePublicFormIsAlwaysZero) {
    std::vector<ArchiveItem> many;
    for (int i = 0; i < 300; ++i) {
        many.push_back({"f" + std::to_string(i), "x", 0644});
    }
    const fs::path archive = Make(L"p.tar", Format::Tar, Filter::None, many);
    Unpack(archive, kArchiveTar, kCompressionNone);
    ASSERT_FALSE(callback_.targets.empty());
    EXPECT_LT(callback_.targets.size(), many.size());  // throttled to one per 16 ms
    for (size_t i = 0; i < callback_.kinds.size(); ++i) {
        EXPECT_EQ(10, callback_.kinds[i]);
        EXPECT_EQ(0.0, callback_.percents[i]);
        EXPECT_EQ(archive.wstring(), callback_.sources[i]);
    }
    EXPECT_EQ((destination_ / L"f0").wstring(), callback_.targets[0]);
}

TEST_F(ArchiveManagerTest, FullFormReportsEveryEntryAgainstItsTracker) {
    const fs::path archive = Make(L"p.tar", Format::Tar, Filter::None,
                                  {{"a", std::string(300, 'a'), 0644},
                                   {"b", std::string(100, 'b'), 0644},
                                   {"c", std::string(600, 'c'), 0644}});
    ProgressTracker tracker(800, 0);
    ArchiveManager::Unarchive(&callback_, archive.wstring(), destination_.wstring(), {},
                              kArchiveTar, kCompressionNone, &tracker, false, false);
    EXPECT_EQ((std::vector<double>{37.5, 50.0, 100.0}), callback_.percents);
}

TEST_F(ArchiveManagerTest, ArgumentChecks) {
    const fs::path archive = Make(L"p.tar", Format::Tar, Filter::None, {{"a", "a", 0644}});
    ProgressTracker tracker;
    auto unpack = [&](NotificationCallbackInterface* callback, const std::wstring& source,
                      const std::wstring& destination, ProgressTracker* progress, unsigned type,
                      unsigned compression) {
        ArchiveManager::Unarchive(callback, source, destination, {}, static_cast<ArchiveType>(type),
                                  static_cast<CompressionType>(compression), progress, false, true);
    };
    const std::wstring source = archive.wstring();
    const std::wstring destination = destination_.wstring();
    struct Case {
        std::function<void()> call;
        std::wstring argument;
    };
    const Case nulls[] = {
        {[&] { unpack(nullptr, source, destination, &tracker, 2, 0); }, L"pNotificationCallback"},
        {[&] { unpack(&callback_, L"", destination, &tracker, 2, 0); }, L"sourceFile"},
        {[&] { unpack(&callback_, source, L"", &tracker, 2, 0); }, L"destinationFolder"},
        {[&] { unpack(&callback_, source, destination, nullptr, 2, 0); }, L"progressTracker"},
    };
    for (const Case& c : nulls) {
        try {
            c.call();
            ADD_FAILURE() << "nothing was thrown";
        } catch (const NullArgumentException& e) {
            EXPECT_EQ(c.argument, e.GetMessageArgument0());
            EXPECT_EQ(L"orvik::pkgshared::ArchiveManager::Unarchive", e.GetMessageArgument2());
        }
    }
    try {
        unpack(&callback_, source, destination, &tracker, 3, 0);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const BadArgumentException& e) {
        EXPECT_EQ(L"archiveType", e.GetMessageArgument0());
        EXPECT_EQ(L"3", e.GetMessageArgument1());
        EXPECT_EQ(L"GetSourceArchiveForUnarchive", e.GetMessageArgument2());
    }
    try {
        unpack(&callback_, source, destination, &tracker, 2, 7);
        ADD_FAILURE() << "nothing was thrown";
    } catch (const BadArgumentException& e) {
        EXPECT_EQ(L"compressionType", e.GetMessageArgument0());
    }
    EXPECT_FALSE(fs::exists(destination_));
}

TEST_F(ArchiveManagerTest, SourcesThatCannotBeOpened) {
    const fs::path missing = scratch_ / L"missing.tar.gz";
    try {
        Unpack(missing, kArchiveTar, kCompressionGzip);
        FAIL() << "nothing was thrown";
    } catch (const FailedToOpenCRuntimeFileException& e) {
        EXPECT_EQ(missing.wstring(), e.GetMessageArgument0());
        EXPECT_EQ(L"2", e.GetMessageArgument1());
    }
#ifdef _WIN32
    // A file another process holds without sharing (Windows only).
    const fs::path held = Make(L"held.tar", Format::Tar, Filter::None, {{"a", "a", 0644}});
    const auto lock = orvik::testing::HoldWithoutSharing(held);
    try {
        Unpack(held, kArchiveTar, kCompressionNone);
        FAIL() << "nothing was thrown";
    } catch (const Exception& e) {
        EXPECT_EQ(-125048, e.GetErrorCode());
        EXPECT_EQ(held.wstring(), e.GetMessageArgument0());
    }
#endif
}

TEST_F(ArchiveManagerTest, DamagedArchives) {
    // Not gzip at all, and gzip that holds no tar.
    const fs::path noise = scratch_ / L"noise.tar.gz";
    orvik::testing::WriteBytes(noise, RandomBytes(5000, 4));
    EXPECT_EQ(-125026, CodeOf([&] { Unpack(noise, kArchiveTar, kCompressionGzip); }));
    const fs::path notTar =
        Make(L"text.gz", Format::Raw, Filter::Gzip, {{"x", std::string(5000, 'z'), 0644}});
    EXPECT_EQ(-125026, CodeOf([&] { Unpack(notTar, kArchiveTar, kCompressionGzip); }));

    // Cut inside the data of a large entry: the header reads, the data fails.
    const fs::path whole = Make(L"whole.tar.gz", Format::Tar, Filter::Gzip,
                                {{"big.bin", RandomBytes(400000, 5), 0644}});
    const std::string bytes = ReadBytes(whole);
    const fs::path cut = scratch_ / L"cut.tar.gz";
    orvik::testing::WriteBytes(cut, bytes.substr(0, bytes.size() / 2));
    try {
        Unpack(cut, kArchiveTar, kCompressionGzip);
        FAIL() << "nothing was thrown";
    } catch (const Exception& e) {
        EXPECT_EQ(-125213, e.GetErrorCode());
        EXPECT_FALSE(e.GetMessageArgument0().empty());
        EXPECT_STREQ(L"source\\shared\\ArchiveManager", e.GetSourceFile());
        EXPECT_GT(e.GetLineNumber(), 0);
    }
}

TEST_F(ArchiveManagerTest, ReadingEveryBlockFindsDamageInTheData) {
    const fs::path whole =
        Make(L"whole.tar.gz", Format::Tar, Filter::Gzip,
             {{"./Install.exe", RandomBytes(300000, 7), 0755}, {"b", "b", 0644}});
    const auto entries =
        ArchiveManager::ReadEntries(whole.wstring(), kArchiveTar, kCompressionGzip);
    ASSERT_EQ(2u, entries.size());
    EXPECT_EQ(L"./Install.exe", entries[0].name);
    EXPECT_EQ(L"b", entries[1].name);
    EXPECT_FALSE(fs::exists(destination_));
    const std::string bytes = ReadBytes(whole);
    const fs::path cut = scratch_ / L"cut.tar.gz";
    orvik::testing::WriteBytes(cut, bytes.substr(0, bytes.size() * 2 / 3));
    EXPECT_EQ(-125213, CodeOf([&] {
        ArchiveManager::ReadEntries(cut.wstring(), kArchiveTar, kCompressionGzip);
    }));
}

TEST_F(ArchiveManagerTest, EntriesCarryTheirLinkTargets) {
    const fs::path archive =
        Make(L"links.tar", Format::Tar, Filter::None,
             {{"a", "a", 0644}, {"s", "", 0777, "../outside"}, {"h", "", 0644, "", "a"}});
    const auto entries =
        ArchiveManager::ReadEntries(archive.wstring(), kArchiveTar, kCompressionNone);
    ASSERT_EQ(3u, entries.size());
    EXPECT_EQ(L"", entries[0].symlinkTarget);
    EXPECT_EQ(L"../outside", entries[1].symlinkTarget);
    EXPECT_EQ(L"", entries[1].hardlinkTarget);
    EXPECT_EQ(L"a", entries[2].hardlinkTarget);
}

// The test run mounts a small file system and names it in ORVIK_TINY_FS.
TEST_F(ArchiveManagerTest, FullDiskIsReportedAsSuch) {
    const char* tiny = std::getenv("ORVIK_TINY_FS");
    if (tiny == nullptr || *tiny == '\0') {
        GTEST_SKIP() << "no small file system was mounted for this run (needs root)";
    }
#ifdef _WIN32
    const std::wstring windowsPath = orvik::testing::WinePath(tiny);
#else
    const std::string windowsPath = tiny;
#endif
    const fs::path archive = Make(L"big.tar", Format::Tar, Filter::None,
                                  {{"big.bin", RandomBytes(2 * 1024 * 1024, 6), 0644}});
    const fs::path destination = fs::path(windowsPath) / fs::unique_path(L"full-%%%%%%%%");
    EXPECT_EQ(-125121, CodeOf([&] {
        ArchiveManager::Unarchive(&callback_, archive.wstring(), destination.wstring(), {},
                                  kArchiveTar, kCompressionNone, false);
    }));
    // Nothing of the failed entry stays open: what was written can go.
    boost::system::error_code error;
    fs::remove_all(destination, error);
    EXPECT_FALSE(error) << error.message();
}

}  // namespace
}  // namespace orvik::pkgshared
