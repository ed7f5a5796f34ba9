#include <gtest/gtest.h>

#include <windows.h>

#include <cerrno>
#include <utility>
#include <vector>

#include "shared/ExceptionFamily.h"
#include "shared/utils/DirectoryPath.h"
#include "shared/utils/FilePath.h"
#include "shared/utils/FileVersion.h"
#include "shared/utils/OsUtils.h"
#include "shared/utils/PathUtils.h"
#include "shared/utils/WinResources.h"
#include "support/ScratchDirectory.h"
#include "support/Thrown.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;
using orvik::testing::ReadBytes;
using orvik::testing::WriteBytes;

class RecordingReporter : public IPathReporter {
public:
    void Report(ReportMode mode, const std::wstring& text) override {
        reports.emplace_back(mode, text);
    }
    std::vector<std::pair<ReportMode, std::wstring>> reports;
};

bool IsReadOnly(const fs::path& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0;
}

void SetReadOnly(const fs::path& path) {
    ASSERT_TRUE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_READONLY));
}

class PathUtilsTest : public ::testing::Test {
protected:
    orvik::testing::ScratchDirectory scratch_;
    RecordingReporter reporter_;
};

// Clears read-only silently; a failure is reported in the mode given.
TEST_F(PathUtilsTest, MakeWriteableClearsReadOnlyOrReportsInTheGivenMode) {
    const fs::path file = scratch_ / L"readonly.txt";
    WriteBytes(file, "x");
    SetReadOnly(file);
    ASSERT_TRUE(IsReadOnly(file));
    pathutils::MakeWriteable(file, reporter_);
    EXPECT_FALSE(IsReadOnly(file));
    EXPECT_TRUE(reporter_.reports.empty());

    const fs::path missing = scratch_ / L"missing.txt";
    pathutils::MakeWriteable(missing, reporter_, ReportMode::Show);
    ASSERT_EQ(1u, reporter_.reports.size());
    EXPECT_EQ(ReportMode::Show, reporter_.reports[0].first);
    const std::wstring prefix =
        L"pathutils::MakeWriteable: Boost file system function 'permissions' returned error code "
        L"'2' for path '" +
        missing.wstring() + L"'. Error message: ";
    EXPECT_EQ(prefix, reporter_.reports[0].second.substr(0, prefix.size()));
    EXPECT_GT(reporter_.reports[0].second.size(), prefix.size());
}

// A tree with read-only entries, a single read-only file, a missing and an
// empty path: all end up absent, silently, and nothing else goes.
TEST_F(PathUtilsTest, DeletesTreesAndFilesWithReadOnlyEntries) {
    const fs::path root = scratch_ / L"tree";
    fs::create_directories(root / L"a" / L"b");
    for (const fs::path& file :
         {root / L"top.txt", root / L"a\\b\\deep.txt", scratch_ / L"one.txt"}) {
        WriteBytes(file, "1");
        SetReadOnly(file);
    }
    SetReadOnly(root / L"a");
    WriteBytes(scratch_ / L"kept.txt", "k");
    for (const fs::path& path : {root, scratch_ / L"one.txt", scratch_ / L"missing", fs::path()}) {
        pathutils::DeleteEntirePath(path, reporter_);
        EXPECT_FALSE(fs::exists(path)) << path;
    }
    EXPECT_TRUE(reporter_.reports.empty());
    EXPECT_TRUE(fs::exists(scratch_ / L"kept.txt"));
}

TEST_F(PathUtilsTest, FileHeldOpenIsReportedAndTheRestGoesOn) {
    const fs::path root = scratch_ / L"busy";
    fs::create_directories(root);
    WriteBytes(root / L"held.txt", "x");
    WriteBytes(root / L"free.txt", "y");
    {
        const UniqueHandle held(::CreateFileW((root / L"held.txt").c_str(), GENERIC_READ, 0,
                                              nullptr, OPEN_EXISTING, 0, nullptr));
        ASSERT_TRUE(held);
        pathutils::DeleteEntirePath(root, reporter_);
    }
    ASSERT_EQ(1u, reporter_.reports.size());
    const std::wstring prefix =
        L"pathutils::DeleteEntirePath: Boost file system function 'remove_all' returned error code";
    EXPECT_EQ(prefix, reporter_.reports[0].second.substr(0, prefix.size()));
    EXPECT_TRUE(fs::exists(root / L"held.txt"));
    EXPECT_FALSE(fs::exists(root / L"free.txt"));
}

class PathTypesTest : public ::testing::Test {
protected:
    orvik::testing::ScratchDirectory scratch_;
};

TEST_F(PathTypesTest, CreateMakesParentsAndAcceptsAnExistingDirectory) {
    const DirectoryPath nested(scratch_ / L"a\\b\\c");
    nested.Create();
    EXPECT_TRUE(nested.Exists());
    EXPECT_NO_THROW(nested.Create());
    EXPECT_NO_THROW(DirectoryPath(scratch_.Path()).Create());
}

TEST_F(PathTypesTest, CreateOverAFileRaisesWithThePath) {
    WriteBytes(scratch_ / L"file", "x");
    const DirectoryPath blocked(scratch_ / L"file\\sub");
    if (const auto e =
            orvik::testing::Thrown<CouldNotCreateDirectoryException>([&] { blocked.Create(); })) {
        EXPECT_EQ(-125098, e->GetErrorCode());
        EXPECT_NE(L"0", e->GetMessageArgument0());
        EXPECT_EQ(blocked.ToString(), e->GetMessageArgument1());
        EXPECT_FALSE(e->GetMessageArgument2().empty());
        EXPECT_STREQ(L"source\\shared\\utils\\DirectoryPath", e->GetSourceFile());
    }
}

TEST_F(PathTypesTest, CopyReplacesTheTarget) {
    const FilePath source(scratch_ / L"source.bin");
    const FilePath target(scratch_ / L"target.bin");
    WriteBytes(source.Path(), std::string("\0\x01payload", 9));
    WriteBytes(target.Path(), "old");
    source.CopyTo(target);
    EXPECT_EQ(std::string("\0\x01payload", 9), ReadBytes(target.Path()));
    EXPECT_TRUE(target.Exists());
    EXPECT_FALSE(FilePath(scratch_.Path()).Exists());  // a directory is not a file
}

TEST_F(PathTypesTest, CopyOfAMissingFileRaisesWithBothPaths) {
    const FilePath source(scratch_ / L"missing.bin");
    const FilePath target(scratch_ / L"target.bin");
    if (const auto e =
            orvik::testing::Thrown<CouldNotCopyFileException>([&] { source.CopyTo(target); })) {
        EXPECT_EQ(-125099, e->GetErrorCode());
        EXPECT_EQ(L"2", e->GetMessageArgument0());  // file not found
        EXPECT_EQ(source.ToString(), e->GetMessageArgument1());
        EXPECT_EQ(target.ToString(), e->GetMessageArgument2());
        EXPECT_FALSE(e->GetMessageArgument3().empty());
    }
}

FilePath ThisProgram() {
    wchar_t path[MAX_PATH * 4] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH * 4);
    return FilePath(path);
}

TEST(FileVersionTest, ReadsTheFixedFileVersion) {
    Version version(L"0.0");
    ASSERT_TRUE(ReadFileVersion(ThisProgram(), version));
    EXPECT_EQ(L"26.5.0.49297", version.ToString());
}

TEST(FileVersionTest, FilesWithoutVersionKeepTheCallersVersion) {
    orvik::testing::ScratchDirectory scratch;
    const FilePath text(scratch / L"plain.txt");
    orvik::testing::WriteBytes(text.Path(), "no version here");
    Version version(L"1.2.3");
    EXPECT_FALSE(ReadFileVersion(text, version));
    EXPECT_EQ(L"1.2.3", version.ToString());
    EXPECT_FALSE(ReadFileVersion(FilePath(scratch / L"missing.exe"), version));
    EXPECT_EQ(L"1.2.3", version.ToString());
}

// Whatever this process's token says, read here on its own.
TEST(OsUtilsTest, ElevationIsWhatTheProcessTokenReports) {
    HANDLE token = nullptr;
    ASSERT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token));
    const UniqueHandle owned(token);
    TOKEN_ELEVATION elevation{};
    DWORD size = 0;
    ASSERT_TRUE(::GetTokenInformation(token, TokenElevation, &elevation, sizeof(elevation), &size));
    EXPECT_EQ(elevation.TokenIsElevated != 0, osutils::IsElevated());
}

int g_closed = 0;
HANDLE g_lastClosed = nullptr;

// Fails like a close function that overwrites the caller's error state.
BOOL WINAPI NoisyClose(HANDLE handle) {
    ++g_closed;
    g_lastClosed = handle;
    ::SetLastError(ERROR_INVALID_HANDLE);
    errno = EBADF;
    return FALSE;
}

using NoisyHandle = UniqueResource<HANDLE, &NoisyClose, HandleValidity>;

class UniqueResourceTest : public ::testing::Test {
protected:
    void SetUp() override {
        g_closed = 0;
        g_lastClosed = nullptr;
    }
    static HANDLE Fake(uintptr_t value) { return reinterpret_cast<HANDLE>(value); }
};

// Closing keeps the caller's last error and errno; null and invalid handles
// are never closed; release gives up without closing; put closes first.
TEST_F(UniqueResourceTest, ResetReleaseAndPut) {
    { NoisyHandle empty, invalid(INVALID_HANDLE_VALUE), null(nullptr); }
    EXPECT_EQ(0, g_closed);
    NoisyHandle handle(Fake(0x10));
    ::SetLastError(ERROR_ACCESS_DENIED);
    errno = ENOSPC;
    handle.reset();
    EXPECT_EQ(static_cast<DWORD>(ERROR_ACCESS_DENIED), ::GetLastError());
    EXPECT_EQ(ENOSPC, errno);
    EXPECT_EQ(Fake(0x10), g_lastClosed);
    EXPECT_FALSE(handle);

    handle.reset(Fake(0x40));
    EXPECT_EQ(Fake(0x40), handle.release());
    EXPECT_EQ(1, g_closed);
    handle.reset(Fake(0x50));
    HANDLE* slot = handle.put();
    EXPECT_EQ(Fake(0x50), g_lastClosed);
    EXPECT_EQ(nullptr, *slot);
    *slot = Fake(0x60);
    EXPECT_EQ(Fake(0x60), handle.get());
}

TEST_F(UniqueResourceTest, OwnershipMovesAndClosesExactlyOnce) {
    {
        NoisyHandle first(Fake(0x20));
        NoisyHandle second(std::move(first));
        EXPECT_FALSE(first);
        NoisyHandle third(Fake(0x30));
        third = std::move(second);  // closes 0x30
        EXPECT_EQ(1, g_closed);
        EXPECT_EQ(Fake(0x30), g_lastClosed);
        EXPECT_EQ(Fake(0x20), third.get());
    }
    EXPECT_EQ(2, g_closed);
    EXPECT_EQ(Fake(0x20), g_lastClosed);
}

TEST_F(UniqueResourceTest, RealHandleIsClosed) {
    UniqueHandle event(::CreateEventW(nullptr, TRUE, FALSE, nullptr));
    ASSERT_TRUE(event);
    HANDLE duplicate = nullptr;
    ASSERT_TRUE(::DuplicateHandle(::GetCurrentProcess(), event.get(), ::GetCurrentProcess(),
                                  &duplicate, 0, FALSE, DUPLICATE_SAME_ACCESS));
    UniqueHandle second(duplicate);
    second.reset();
    DWORD flags = 0;
    EXPECT_FALSE(::GetHandleInformation(duplicate, &flags));
    EXPECT_TRUE(::GetHandleInformation(event.get(), &flags));
}

}  // namespace
}  // namespace orvik::pkgshared
