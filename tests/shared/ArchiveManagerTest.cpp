#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <thread>

#include <boost/filesystem/operations.hpp>

#include "shared/ArchiveManager.h"
#include "shared/ArchiveReadAhead.h"
#include "shared/DirectFileWriter.h"
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
namespace t = orvik::testing;
using t::ArchiveItem, t::ExpectedError, t::Format, t::RandomBytes, t::ReadBytes, t::WriteBytes;
using Files = std::map<std::wstring, std::string>;
constexpr ArchiveType Raw = kArchiveRaw, Ar = kArchiveAr, Tar = kArchiveTar;
constexpr CompressionType Plain = kCompressionNone, Gz = kCompressionGzip, Zst = kCompressionZstd;

// Records progress notifications, all of the unpacking kind (10); never cancels.
struct RecordingCallback : NotificationCallbackInterface {
    bool IsCancelRequested() override { return false; }
    void Notify(std::int32_t, std::int32_t) override {}
    void NotifyProgress(std::int32_t kind, double percent, const std::wstring& target,
                        const std::wstring&) override {
        EXPECT_EQ(10, kind);
        percents.push_back(percent);
        targets.push_back(target);
    }
    bool Query(std::int32_t, std::int32_t, std::int32_t) override { return false; }
    std::vector<double> percents;
    std::vector<std::wstring> targets;
};

// `path` as Windows takes it literally, device names too ("\\?\" and the absolute path).
fs::path Literal(const fs::path& path) {
#ifdef _WIN32
    return L"\\\\?\\" + fs::absolute(path).make_preferred().wstring();
#else
    return path;
#endif
}

// Everything below `root` by its '/'-separated path: a file's bytes and modification time (a
// folder's time is the unpacking's own), whether it is read-only.
std::map<std::wstring, std::tuple<std::string, std::time_t, bool>> Tree(const fs::path& root) {
    std::map<std::wstring, std::tuple<std::string, std::time_t, bool>> tree;
    for (fs::recursive_directory_iterator it(Literal(root)), end; it != end; ++it) {
        const bool file = fs::is_regular_file(it->path());
        tree[it->path().lexically_relative(Literal(root)).generic_wstring()] = {
            file ? ReadBytes(it->path()) : "", file ? fs::last_write_time(it->path()) : 0,
            (fs::status(it->path()).permissions() & fs::owner_write) == 0};
    }
    return tree;
}

// The direct writer switched on or off for the guard's lifetime.
struct DirectWriting {
    explicit DirectWriting(bool on) : previous(DirectFileWriter::SetEnabledForTesting(on)) {}
    ~DirectWriting() { DirectFileWriter::SetEnabledForTesting(previous); }
    const bool previous;
};

class ArchiveManagerTest : public ::testing::Test {
protected:
    // Filter and CompressionType share their order; Format runs the other way.
    fs::path Make(const wchar_t* name, ArchiveType type, CompressionType compression,
                  const std::vector<ArchiveItem>& items) {
        const fs::path file = scratch_ / name;
        EXPECT_TRUE(t::WriteArchive(file, t::Format(2 - type), t::Filter(compression), items));
        return file;
    }
    void Unpack(const fs::path& source, ArchiveType type, CompressionType compression,
                const std::vector<std::wstring>& entries = {}, bool readOnly = false) {
        ArchiveManager::Unarchive(&callback_, source.wstring(), destination_.wstring(), entries,
                                  type, compression, readOnly);
    }
    Files Unpacked() const { return t::FilesBelow(destination_); }
    t::ScratchDirectory scratch_;
    const fs::path destination_ = scratch_ / L"out";
    RecordingCallback callback_;
};

// Each kind unpacks to exactly its files ("./" stripped once, raw data named after its source, a
// hard link a second name of its entry's data, found in the destination, not in the current
// directory); the first entry is always told, at 0 % (no total is known).
TEST_F(ArchiveManagerTest, UnpacksEveryKindByteForByte) {
    const std::string big = RandomBytes(100000, 1), text = RandomBytes(50000, 2);
    const ArchiveItem link = {"l", "", 0644, "", "./bin/Install.exe"};
    const std::vector<ArchiveItem> tree = {
        {"./a/./b", "b"}, {"bin/", "", 0755}, {"bin/Install.exe", big, 0755}, {"e.txt", ""}, link};
    const Files treeFiles = {{L"bin/Install.exe", big}, {L"a/b", "b"}, {L"e.txt", ""}, {L"l", big}};
    // Source file, kind, items (none: a file of zero bytes), files expected.
    const std::tuple<const wchar_t*, ArchiveType, CompressionType, std::vector<ArchiveItem>, Files>
        rows[] = {{L"p.a", Ar, Gz, {{"a", "1"}, {"b", "22"}}, {{L"a", "1"}, {L"b", "22"}}},
                  {L"notes.txt.gz", Raw, Gz, {{"x", text}}, {{L"notes.txt", text}}},
                  {L"empty.bin", Tar, Gz, {}, {}},
                  {L"empty.bin", Raw, Plain, {}, {{L"empty", ""}}},
                  {L"p.tar", Tar, Plain, tree, treeFiles},
                  {L"p.tar.gz", Tar, Gz, tree, treeFiles},
                  {L"p.tar.zst", Tar, Zst, tree, treeFiles}};
    for (const auto& [name, type, compression, items, expected] : rows) {
        SCOPED_TRACE(name);
        fs::remove_all(destination_);
        fs::create_directories(destination_);
        const fs::path source = scratch_ / name;
        items.empty() ? WriteBytes(source, "") : (void)Make(name, type, compression, items);
        callback_ = RecordingCallback();
        Unpack(source, type, compression);
        EXPECT_EQ(expected, Unpacked());
        EXPECT_EQ(items.empty(), callback_.targets.empty());
        EXPECT_EQ(std::vector<double>(callback_.targets.size(), 0.0), callback_.percents);
    }
    EXPECT_EQ((destination_ / L"a/./b").make_preferred().wstring(), callback_.targets.at(0));
    EXPECT_TRUE(fs::equivalent(destination_ / L"l", destination_ / L"bin/Install.exe"));
    for (const wchar_t* file : {L"a/b", L"e.txt", L"bin/Install.exe"}) {  // the entries' time
        EXPECT_EQ(1700000000, fs::last_write_time(destination_ / file)) << file;
    }
}

// Only listed entries are written, stopping after the last; entries without write bits
// are made read-only when asked (always on POSIX, whose writer restores modes).
TEST_F(ArchiveManagerTest, EntryListStopsOnceEveryListedEntryIsWritten) {
    const fs::path archive =
        Make(L"p.tar", Tar, Plain, {{"ro", "r", 0444}, {"x", "x"}, {"b/c", "c"}, {"d", "d"}});
    // Garbage after the last listed entry would fail the next header read if it were reached.
    WriteBytes(archive, ReadBytes(archive).substr(0, 3 * 1024) + RandomBytes(4096, 3));
    for (const bool asked : {true, false}) {
        fs::remove_all(destination_);
        Unpack(archive, Tar, Plain, {L"ro", L"b/c"}, asked);
        EXPECT_EQ((Files{{L"ro", "r"}, {L"b/c", "c"}}), Unpacked());
        EXPECT_EQ(asked || fs::path::preferred_separator == '/',
                  (fs::status(destination_ / L"ro").permissions() & fs::owner_write) == 0);
        EXPECT_TRUE(fs::status(destination_ / L"b/c").permissions() & fs::owner_write);
    }
}

// A cancel request ends the copying of the entry's data at the next block, not the walk: each
// later entry's header is written and its data again subject to the query (the writers give every
// file its stored size). Nothing is raised; the caller discards the output.
TEST_F(ArchiveManagerTest, CancellingStopsTheEntrysDataAtTheNextBlock) {
    struct Cancelling : RecordingCallback {
        bool IsCancelRequested() override { return ++asked > 2; }  // after two blocks
        int asked = 0;
    } cancelling;
    const std::string big = RandomBytes(1 << 20, 8);
    const fs::path source = Make(L"c.tar", Tar, Plain, {{"big", big}, {"after", "x"}});
    ArchiveManager::Unarchive(&cancelling, source.wstring(), destination_.wstring(), {}, Tar, Plain,
                              false);
    const std::string written = ReadBytes(destination_ / L"big");
    ASSERT_EQ(big.size(), written.size());
    const size_t copied =
        std::mismatch(big.begin(), big.end(), written.begin()).first - big.begin();
    EXPECT_TRUE(copied > 0 && copied < big.size() / 2) << copied;  // two blocks of the reader's
    EXPECT_EQ(std::string(big.size() - copied, '\0'), written.substr(copied));
    EXPECT_EQ(std::string(1, '\0'), ReadBytes(destination_ / L"after"));
    EXPECT_EQ(4, cancelling.asked);  // no, no, yes in "big"; yes in "after"
}

// The reading thread, stopped early as an unpack that ends early stops it, ends at once: with its
// queue full (256 items ahead of a caller who took none), and while it passes over entries that
// are not wanted (a millisecond each here, so that passing over all of them would take seconds).
TEST_F(ArchiveManagerTest, ReadAheadStopsWithItsQueueFullAndWhilePassingOver) {
    const fs::path tar = Make(L"many.tar", Tar, Plain, std::vector<ArchiveItem>(2000, {"e", ""}));
    for (const bool wanted : {true, false}) {
        SCOPED_TRACE(wanted);
        const ArchiveReader reader =
            ArchiveManager::GetSourceArchiveForUnarchive(tar.wstring(), Tar, Plain);
        std::atomic<int> seen{0};
        auto ahead = std::make_unique<ArchiveReadAhead>(reader.get(), [&](archive_entry*) {
            std::this_thread::sleep_for(std::chrono::milliseconds(wanted ? 0 : 1));
            ++seen;
            return wanted;
        });
        // A header and the end of its data per entry: the 129th header finds the queue full.
        const int full = wanted ? 129 : 1;
        for (int waited = 0; seen < full && waited < 10000; ++waited) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        const auto stopping = std::chrono::steady_clock::now();
        ahead.reset();
        EXPECT_LT(std::chrono::steady_clock::now() - stopping, std::chrono::seconds(5));
        if (wanted) {
            EXPECT_EQ(full, seen);  // no header read while the queue was full
        }
        EXPECT_LT(seen, 2000);  // not the whole archive
    }
}

// The direct writer gives the library writer's tree or leaves the entry to it: each archive
// unpacks alike with it and without it (names Wine or Windows map to devices, read-only files,
// replaced files). Natively both runs take the library's writer.
TEST_F(ArchiveManagerTest, DirectWriterGivesTheLibraryWritersTree) {
    const std::string big = RandomBytes(300000, 6);
    const std::vector<ArchiveItem> rows[] = {
        {{"кир/日本 🎉.txt", "u"}, {"a b/c.d e", "s"}, {"1/2/3/4/5/6/7/deep", big}, {"e", ""}},
        {{"NUL", "n"}, {"nul.txt", "n"}, {"sub/Nul.tar.gz", "n"}, {"CON", "c"}, {"ro", "r", 0444}},
        {{"twice", big}, {"twice", "shorter"}, {"Case.txt", "1"}, {"case.TXT", "2"}}};
    for (const auto& items : rows) {
        SCOPED_TRACE(items.front().name);
        const fs::path source = Make(L"p.tar.gz", Tar, Gz, items),
                       out[] = {scratch_ / L"library", scratch_ / L"direct"};
        for (const bool direct : {true, false}) {
            const DirectWriting writing(direct);
            ArchiveManager::Unarchive(&callback_, source.wstring(), out[direct].wstring(), {}, Tar,
                                      Gz, true);
        }
        const auto tree = Tree(out[0]);
        EXPECT_EQ(tree, Tree(out[1]));
        EXPECT_EQ(1u, tree.count(pkgshared::Utf8ToWide(items.front().name)));
        fs::remove_all(Literal(out[0]));
        fs::remove_all(Literal(out[1]));
    }
}

// Tar names are read as UTF-8 whatever the format (GNU tar's gnu and ustar headers carry bytes,
// pax UTF-8; the bootstrapper's end-to-end test unpacks them), and the entries read bring the
// first bytes of those asked for.
TEST_F(ArchiveManagerTest, TarNamesAreUtf8InEveryFormat) {
    const std::string program = RandomBytes(5000, 7);
    const std::vector<ArchiveItem> items = {
        {"кириллица/", ""}, {"кириллица/日本語.txt", "j"}, {"🎉.exe", program, 0555}};
    for (const Format format : {Format::Gnu, Format::Ustar, Format::Tar}) {
        const fs::path source = scratch_ / L"u.tar";
        ASSERT_TRUE(t::WriteArchive(source, format, t::Filter::None, items));
        const auto entries =
            ArchiveManager::ReadEntries(source.wstring(), Tar, Plain,
                                        [](const std::wstring& name) { return name == L"🎉.exe"; });
        ASSERT_EQ(3u, entries.size());
        EXPECT_EQ(std::make_tuple(0040000u, L"кириллица/日本語.txt", std::string()),
                  std::make_tuple(entries[0].fileType, entries[1].name, entries[1].head));
        EXPECT_EQ(std::make_tuple(0555u, std::int64_t{5000}, program.substr(0, kEntryHeadBytes)),
                  std::make_tuple(entries[2].mode, entries[2].size, entries[2].head));
    }
}

// A failing call -> its exception; `fromLibrary` leading arguments are library texts.
TEST_F(ArchiveManagerTest, FailuresRaiseTheirCodeArgumentsAndSource) {
    const fs::path source = Make(L"p.tar", Tar, Plain, {{"a", "a"}});
    const std::wstring file = L"source\\shared\\ArchiveManager", src = source.wstring(),
                       out = destination_.wstring(), get = L"GetSourceArchiveForUnarchive",
                       name = L"orvik::pkgshared::ArchiveManager::Unarchive";
    ProgressTracker tracker;
    auto full = [&](NotificationCallbackInterface* callback, const std::wstring& from,
                    const std::wstring& to, ProgressTracker* progress) {
        ArchiveManager::Unarchive(callback, from, to, {}, Tar, Plain, progress, false, true);
    };
    const fs::path missing = scratch_ / L"missing.tar.gz", noise = scratch_ / L"noise.tar.gz",
                   cut = scratch_ / L"cut.tar.gz", stub = scratch_ / L"stub.tar.gz";
    WriteBytes(noise, RandomBytes(5000, 4));
    // Cut inside the data of a large entry: the header reads, the data fails. The stub holds the
    // gzip header alone: a damaged stream, found while opening.
    const std::string whole =
        ReadBytes(Make(L"whole.tar.gz", Tar, Gz, {{"big.bin", RandomBytes(400000, 5)}}));
    WriteBytes(cut, whole.substr(0, whole.size() / 2));
    WriteBytes(stub, whole.substr(0, 10));
    // A name that is not UTF-8 is named when reading entries and fails the unpacking loudly.
    const fs::path latin1 = scratch_ / L"latin1.tar";
    t::WriteArchive(latin1, Format::Gnu, t::Filter::None, {{"ok", "1"}, {"\xE9t\xE9.txt", "2"}});
    // The line of each raise is the raising statement's: the file and a line are checked.
    const struct {
        std::function<void()> call;
        ExpectedError error;
        size_t fromLibrary = 0;
        bool wrote = false;  // the destination was made
    } rows[] = {{[&] { full(nullptr, src, out, &tracker); },
                 {-125200, {L"pNotificationCallback", L"NULL", name}, file}},
                {[&] { full(&callback_, L"", out, &tracker); },
                 {-125200, {L"sourceFile", L"NULL", name}, file}},
                {[&] { full(&callback_, src, L"", &tracker); },
                 {-125200, {L"destinationFolder", L"NULL", name}, file}},
                {[&] { full(&callback_, src, out, nullptr); },
                 {-125200, {L"progressTracker", L"NULL", name}, file}},
                {[&] { Unpack(source, ArchiveType(3), Plain); },
                 {-125201, {L"archiveType", L"3", get}, file}},
                {[&] { Unpack(source, Tar, CompressionType(7)); },
                 {-125201, {L"compressionType", L"7", get}, file}},
                {[&] { Unpack(missing, Tar, Gz); },
                 {-125024, {missing.wstring(), L"2", RuntimeErrorText(2)}, file}},
                {[&] { Unpack(noise, Tar, Gz); }, {-125026, {L""}, file}, 1},
                {[&] { Unpack(stub, Tar, Gz); }, {-125026, {L""}, file}, 1},
                {[&] { ArchiveManager::ReadEntries(latin1.wstring(), Tar, Plain); },
                 {-125026, {L"\\xE9t\\xE9.txt: a name that is not valid UTF-8"}, file}},
                {[&] { Unpack(latin1, Tar, Plain, {L"none"}); }, {-125026, {L""}, file}, 1},
                {[&] { ArchiveManager::ReadEntries(cut.wstring(), Tar, Gz); },
                 {-125213, {L"", L""}, file},
                 2},
                {[&] { Unpack(cut, Tar, Gz); }, {-125213, {L"", L""}, file}, 2, true}};
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        const auto& [call, error, fromLibrary, wrote] = row;
        if (const auto e = t::Thrown(call)) {
            ExpectedError expected = error;
            for (size_t i = 0; i < fromLibrary; ++i) {
                EXPECT_FALSE(e->GetMessageArgument(i).empty()) << i;
                expected.arguments[i] = e->GetMessageArgument(i);
            }
            t::ExpectError(*e, expected);
        }
        EXPECT_EQ(wrote, fs::exists(destination_));
    }
#ifdef _WIN32
    // A source held without sharing is denied.
    const auto held = t::HoldWithoutSharing(source);
    t::ExpectThrows([&] { Unpack(source, Tar, Plain); }, {-125048, {src}, file});
#endif
}

}  // namespace
}  // namespace orvik::pkgshared
