#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <map>

#include <boost/filesystem/operations.hpp>

#include "shared/ArchiveManager.h"
#include "shared/ExceptionFamily.h"
#include "support/ArchiveBuilder.h"
#ifdef _WIN32
#include "support/FileLock.h"
#endif
#include "support/ScratchDirectory.h"
#include "support/TestData.h"
#include "support/Thrown.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;
using orvik::testing::ArchiveItem;
using orvik::testing::Filter;
using orvik::testing::Format;
using orvik::testing::ReadBytes;
using orvik::testing::WriteArchive;

// Records every progress notification; answers cancel queries with `cancel`.
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
    bool Query(std::int32_t, std::int32_t, std::int32_t) override { return ++otherCalls < 0; }
    bool cancel = false;
    int cancelQueries = 0, otherCalls = 0;
    std::vector<std::int32_t> kinds;
    std::vector<double> percents;
    std::vector<std::wstring> targets, sources;
};

using orvik::testing::RandomBytes;

// A raise written over two lines records its first line with GCC, its last with clang.
#ifdef __clang__
constexpr std::int32_t kLaterLine = 1;
#else
constexpr std::int32_t kLaterLine = 0;
#endif

class ArchiveManagerTest : public ::testing::Test {
protected:
    fs::path Make(const wchar_t* name, ArchiveType type, CompressionType compression,
                  const std::vector<ArchiveItem>& items) {
        const fs::path file = scratch_ / name;
        EXPECT_TRUE(WriteArchive(file,
                                 type == kArchiveAr    ? Format::Ar
                                 : type == kArchiveRaw ? Format::Raw
                                                       : Format::Tar,
                                 compression == kCompressionGzip   ? Filter::Gzip
                                 : compression == kCompressionZstd ? Filter::Zstd
                                                                   : Filter::None,
                                 items));
        return file;
    }
    void Unpack(const fs::path& source, ArchiveType type, CompressionType compression,
                const std::vector<std::wstring>& entries = {}, bool readOnly = false) {
        ArchiveManager::Unarchive(&callback_, source.wstring(), destination_.wstring(), entries,
                                  type, compression, readOnly);
    }
    // Every regular file below the destination, by its path below it, with its bytes.
    std::map<std::wstring, std::string> Unpacked() const {
        std::map<std::wstring, std::string> files;
        for (fs::recursive_directory_iterator it(destination_), end; it != end; ++it) {
            if (fs::is_regular_file(it->path())) {
                files[it->path().lexically_relative(destination_).generic_wstring()] =
                    ReadBytes(it->path());
            }
        }
        return files;
    }
    orvik::testing::ScratchDirectory scratch_;
    const fs::path destination_ = scratch_ / L"out";
    RecordingCallback callback_;
};

// Each kind of archive unpacks to exactly its files, byte for byte.
TEST_F(ArchiveManagerTest, UnpacksEveryKindByteForByte) {
    const std::string big = RandomBytes(100000, 1);
    const std::vector<ArchiveItem> tree = {{"bin/", "", 0755},
                                           {"bin/Install.exe", big, 0755},
                                           {"deep/a/b/c.txt", "deep", 0644},
                                           {"\xE6\x97\xA5\xE6\x9C\xAC.txt", "non-ascii", 0644},
                                           {"empty.txt", "", 0644}};
    const std::map<std::wstring, std::string> treeFiles = {{L"bin/Install.exe", big},
                                                           {L"deep/a/b/c.txt", "deep"},
                                                           {L"\u65E5\u672C.txt", "non-ascii"},
                                                           {L"empty.txt", ""}};
    const std::string text = RandomBytes(50000, 2);
    const struct {
        const wchar_t* name;  // source file; no items: a file of zero bytes
        ArchiveType type;
        CompressionType compression;
        std::vector<ArchiveItem> items;
        std::map<std::wstring, std::string> expected;
    } rows[] = {
        {L"p.tar", kArchiveTar, kCompressionNone, tree, treeFiles},
        {L"p.tar.gz", kArchiveTar, kCompressionGzip, tree, treeFiles},
        {L"p.tar.zst", kArchiveTar, kCompressionZstd, tree, treeFiles},
        {L"p.a",
         kArchiveAr,
         kCompressionGzip,
         {{"a", "1"}, {"b", "22"}},
         {{L"a", "1"}, {L"b", "22"}}},
        // A raw stream is named after the source, without its extension.
        {L"notes.txt.gz", kArchiveRaw, kCompressionGzip, {{"x", text}}, {{L"notes.txt", text}}},
        {L"empty.bin", kArchiveTar, kCompressionGzip, {}, {}},
        {L"empty.bin", kArchiveRaw, kCompressionNone, {}, {{L"empty", ""}}},
        // A leading "./" is stripped once.
        {L"dots.tar.gz",
         kArchiveTar,
         kCompressionGzip,
         {{"./bin/tool.exe", "t"}, {"./a/./b", "b"}},
         {{L"bin/tool.exe", "t"}, {L"a/b", "b"}}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.name << " type " << row.type);
        fs::remove_all(destination_);
        fs::create_directories(destination_);
        const fs::path source = scratch_ / row.name;
        if (row.items.empty()) {
            orvik::testing::WriteBytes(source, "");
        } else {
            Make(row.name, row.type, row.compression, row.items);
        }
        callback_ = RecordingCallback();
        Unpack(source, row.type, row.compression);
        EXPECT_EQ(row.expected, Unpacked());
        EXPECT_EQ(row.items.empty(), callback_.targets.empty());
        // The public form's tracker has no total: every notification says 0 %.
        EXPECT_EQ(std::vector<std::int32_t>(callback_.targets.size(), 10), callback_.kinds);
        EXPECT_EQ(std::vector<double>(callback_.targets.size(), 0.0), callback_.percents);
        EXPECT_EQ(std::vector<std::wstring>(callback_.targets.size(), source.wstring()),
                  callback_.sources);
    }
    EXPECT_EQ((destination_ / L"bin/tool.exe").make_preferred().wstring(), callback_.targets[0]);
}

// Entries without write bits are made read-only when asked; others stay
// writeable. The POSIX writer restores modes itself, so there they are
// read-only either way.
TEST_F(ArchiveManagerTest, ReadOnlyEntriesStayWriteableUnlessAsked) {
    const fs::path archive = Make(L"p.tar", kArchiveTar, kCompressionNone,
                                  {{"ro.txt", "r", 0444}, {"rw.txt", "w", 0644}});
    for (const bool asked : {true, false}) {
        fs::remove_all(destination_);
        Unpack(archive, kArchiveTar, kCompressionNone, {}, asked);
#ifdef _WIN32
        const fs::perms expected = asked ? fs::perms(0444) : fs::perms(0666);
#else
        const fs::perms expected = fs::perms(0444);
#endif
        EXPECT_EQ(expected, fs::status(destination_ / L"ro.txt").permissions() & 0777) << asked;
        EXPECT_TRUE(fs::status(destination_ / L"rw.txt").permissions() & fs::owner_write) << asked;
    }
}

TEST_F(ArchiveManagerTest, EntryListStopsOnceEveryListedEntryIsWritten) {
    const fs::path archive = Make(L"p.tar", kArchiveTar, kCompressionNone,
                                  {{"a.txt", "a"}, {"b/c.txt", "c"}, {"d.txt", "d"}});
    // Garbage after the archive would fail the next header read if it were reached.
    orvik::testing::WriteBytes(archive,
                               ReadBytes(archive).substr(0, 3 * 1024) + RandomBytes(4096, 3));
    Unpack(archive, kArchiveTar, kCompressionNone, {L"b/c.txt"});
    EXPECT_EQ((std::map<std::wstring, std::string>{{L"b/c.txt", "c"}}), Unpacked());
    EXPECT_EQ(1u, callback_.targets.size());
}

TEST_F(ArchiveManagerTest, CancellingStillWalksTheWholeArchive) {
    const std::vector<ArchiveItem> items = {
        {"bin/Install.exe", RandomBytes(100000, 1), 0755}, {"suite.dat", "suite"}, {"c.txt", "c"}};
    const fs::path archive = Make(L"p.tar.gz", kArchiveTar, kCompressionGzip, items);
    callback_.cancel = true;
    ProgressTracker tracker;
    ArchiveManager::Unarchive(&callback_, archive.wstring(), destination_.wstring(), {},
                              kArchiveTar, kCompressionGzip, &tracker, false, false);
    EXPECT_EQ(items.size(), callback_.targets.size());  // every header written
    // No data was copied: files have their declared size but hold zeros.
    for (const ArchiveItem& item : items) {
        EXPECT_EQ(std::string(item.data.size(), '\0'), ReadBytes(destination_ / item.name));
    }
    EXPECT_EQ(static_cast<int>(items.size()), callback_.cancelQueries);
    EXPECT_EQ(0, callback_.otherCalls);
}

TEST_F(ArchiveManagerTest, PublicFormThrottlesNotificationsButAlwaysTellsTheFirst) {
    std::vector<ArchiveItem> many;
    for (int i = 0; i < 300; ++i) {
        many.push_back({"f" + std::to_string(i), "x"});
    }
    Unpack(Make(L"p.tar", kArchiveTar, kCompressionNone, many), kArchiveTar, kCompressionNone);
    ASSERT_FALSE(callback_.targets.empty());
    EXPECT_LT(callback_.targets.size(), many.size());  // at most one per 16 ms
    EXPECT_EQ((destination_ / L"f0").wstring(), callback_.targets[0]);
}

TEST_F(ArchiveManagerTest, FullFormReportsEveryEntryAgainstItsTracker) {
    const fs::path archive = Make(
        L"p.tar", kArchiveTar, kCompressionNone,
        {{"a", std::string(300, 'a')}, {"b", std::string(100, 'b')}, {"c", std::string(600, 'c')}});
    ProgressTracker tracker(800, 0);
    ArchiveManager::Unarchive(&callback_, archive.wstring(), destination_.wstring(), {},
                              kArchiveTar, kCompressionNone, &tracker, false, false);
    EXPECT_EQ((std::vector<double>{37.5, 50.0, 100.0}), callback_.percents);
}

// A failing call -> its exception; `fromLibrary` leading arguments are the
// library's own texts, only checked to be present.
TEST_F(ArchiveManagerTest, FailuresRaiseTheirCodeArgumentsAndLine) {
    const std::wstring source =
        Make(L"p.tar", kArchiveTar, kCompressionNone, {{"a", "a"}}).wstring();
    const std::wstring out = destination_.wstring();
    ProgressTracker tracker;
    auto unpack = [&](NotificationCallbackInterface* callback, const std::wstring& from,
                      const std::wstring& to, ProgressTracker* progress, unsigned type,
                      unsigned compression) {
        ArchiveManager::Unarchive(callback, from, to, {}, static_cast<ArchiveType>(type),
                                  static_cast<CompressionType>(compression), progress, false, true);
    };
    const std::wstring missing = (scratch_ / L"missing.tar.gz").wstring();
    const fs::path noise = scratch_ / L"noise.tar.gz";
    orvik::testing::WriteBytes(noise, RandomBytes(5000, 4));
    const fs::path notTar =
        Make(L"text.gz", kArchiveRaw, kCompressionGzip, {{"x", std::string(5000, 'z')}});
    // Cut inside the data of a large entry: the header reads, the data fails.
    const std::string whole = ReadBytes(Make(L"whole.tar.gz", kArchiveTar, kCompressionGzip,
                                             {{"big.bin", RandomBytes(400000, 5)}}));
    const fs::path cut = scratch_ / L"cut.tar.gz";
    orvik::testing::WriteBytes(cut, whole.substr(0, whole.size() / 2));
    const std::wstring name = L"orvik::pkgshared::ArchiveManager::Unarchive";
    const std::wstring file = L"source\\shared\\ArchiveManager";
    const std::wstring get = L"GetSourceArchiveForUnarchive";
    const struct {
        std::function<void()> call;
        orvik::testing::ExpectedError expected;
        size_t fromLibrary = 0;
    } rows[] = {
        {[&] { unpack(nullptr, source, out, &tracker, 2, 0); },
         {-125200, {L"pNotificationCallback", L"NULL", name}, file, 247}},
        {[&] { unpack(&callback_, L"", out, &tracker, 2, 0); },
         {-125200, {L"sourceFile", L"NULL", name}, file, 250}},
        {[&] { unpack(&callback_, source, L"", &tracker, 2, 0); },
         {-125200, {L"destinationFolder", L"NULL", name}, file, 253}},
        {[&] { unpack(&callback_, source, out, nullptr, 2, 0); },
         {-125200, {L"progressTracker", L"NULL", name}, file, 256}},
        {[&] { unpack(&callback_, source, out, &tracker, 3, 0); },
         {-125201, {L"archiveType", L"3", get}, file, 165 + kLaterLine}},
        {[&] { unpack(&callback_, source, out, &tracker, 2, 7); },
         {-125201, {L"compressionType", L"7", get}, file, 180 + kLaterLine}},
        {[&] { unpack(&callback_, missing, out, &tracker, 2, 1); },
         {-125024, {missing, L"2", RuntimeErrorText(2)}, file, 140}},
        {[&] { Unpack(noise, kArchiveTar, kCompressionGzip); }, {-125026, {L""}, file, 191}, 1},
        {[&] { Unpack(notTar, kArchiveTar, kCompressionGzip); }, {-125026, {L""}, file, 191}, 1},
        {[&] { ArchiveManager::ReadEntries(cut.wstring(), kArchiveTar, kCompressionGzip); },
         {-125213, {L"", L""}, file, 224},
         2},
        {[&] { Unpack(cut, kArchiveTar, kCompressionGzip); }, {-125213, {L"", L""}, file, 95}, 2}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << "line " << row.expected.line);
        if (const auto e = orvik::testing::Thrown(row.call)) {
            orvik::testing::ExpectedError expected = row.expected;
            for (size_t i = 0; i < row.fromLibrary; ++i) {
                EXPECT_FALSE(e->GetMessageArgument(i).empty()) << i;
                expected.arguments[i] = e->GetMessageArgument(i);
            }
            orvik::testing::ExpectError(*e, expected);
        }
        EXPECT_EQ(row.expected.line == 95, fs::exists(destination_));
    }
#ifdef _WIN32
    // A source another process holds without sharing is denied to the C
    // runtime's probe; a target held so is denied to the library's writer.
    {
        const auto held = orvik::testing::HoldWithoutSharing(source);
        orvik::testing::ExpectThrows([&] { Unpack(source, kArchiveTar, kCompressionNone); },
                                     {-125048, {source}, file, 138});
    }
    Unpack(source, kArchiveTar, kCompressionNone);
    const auto held = orvik::testing::HoldWithoutSharing(destination_ / L"a");
    ASSERT_TRUE(held);
    if (const auto e =
            orvik::testing::Thrown([&] { Unpack(source, kArchiveTar, kCompressionNone); })) {
        orvik::testing::ExpectError(*e, {-125213, {e->GetMessageArgument0(), L"13"}, file, 292});
    }
#endif
}

TEST_F(ArchiveManagerTest, ReadingEntriesListsNamesAndLinkTargetsWithoutWriting) {
    const fs::path archive = Make(L"links.tar.gz", kArchiveTar, kCompressionGzip,
                                  {{"./Install.exe", RandomBytes(300000, 7), 0755},
                                   {"s", "", 0777, "../outside"},
                                   {"h", "", 0644, "", "./Install.exe"}});
    std::vector<std::wstring> listed;
    for (const ArchiveEntryInfo& entry :
         ArchiveManager::ReadEntries(archive.wstring(), kArchiveTar, kCompressionGzip)) {
        listed.push_back(entry.name + L"|" + entry.symlinkTarget + L"|" + entry.hardlinkTarget);
    }
    EXPECT_EQ(
        (std::vector<std::wstring>{L"./Install.exe||", L"s|../outside|", L"h||./Install.exe"}),
        listed);
    EXPECT_FALSE(fs::exists(destination_));
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
    const fs::path archive = Make(L"big.tar", kArchiveTar, kCompressionNone,
                                  {{"big.bin", RandomBytes(2 * 1024 * 1024, 6), 0644}});
    const fs::path destination = fs::path(windowsPath) / fs::unique_path(L"full-%%%%%%%%");
    EXPECT_EQ(-125121, orvik::testing::CodeOf([&] {
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
