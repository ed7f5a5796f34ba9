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
struct RecordingReporter : IPathReporter {
    void Report(ReportMode mode, const std::wstring& text) override {
        reports.emplace_back(mode, text);
    }
    std::vector<std::pair<ReportMode, std::wstring>> reports;
};
class PathUtilsTest : public ::testing::Test {
protected:
    void WriteReadOnly(const fs::path& file) {
        WriteBytes(file, "x");
        ASSERT_TRUE(::SetFileAttributesW(file.c_str(), FILE_ATTRIBUTE_READONLY));
    }
    orvik::testing::ScratchDirectory scratch_;
    RecordingReporter reporter_;
};
// Clears read-only silently; a failure is reported in the mode given.
TEST_F(PathUtilsTest, MakeWriteableClearsReadOnlyOrReportsInTheGivenMode) {
    WriteReadOnly(scratch_ / L"readonly.txt");
    pathutils::MakeWriteable(scratch_ / L"readonly.txt", reporter_);
    EXPECT_EQ(0u,
              ::GetFileAttributesW((scratch_ / L"readonly.txt").c_str()) & FILE_ATTRIBUTE_READONLY);
    EXPECT_TRUE(reporter_.reports.empty());
    pathutils::MakeWriteable(scratch_ / L"missing.txt", reporter_, ReportMode::Show);
    ASSERT_EQ(1u, reporter_.reports.size());
    EXPECT_EQ(ReportMode::Show, reporter_.reports[0].first);
    EXPECT_EQ(0u, reporter_.reports[0].second.find(
                      L"pathutils::MakeWriteable: Boost file system function 'permissions' "
                      L"returned error code '2' for path '" +
                      (scratch_ / L"missing.txt").wstring() + L"'. Error message: "));
}
// Read-only entries go, silently, and so do missing and empty paths.
TEST_F(PathUtilsTest, DeletesTreesAndFilesWithReadOnlyEntries) {
    const fs::path root = scratch_ / L"tree";
    fs::create_directories(root / L"a\\b");
    for (const fs::path& file :
         {root / L"top.txt", root / L"a\\b\\deep.txt", scratch_ / L"one.txt"}) {
        WriteReadOnly(file);
    }
    ASSERT_TRUE(::SetFileAttributesW((root / L"a").c_str(), FILE_ATTRIBUTE_READONLY));
    for (const fs::path& path : {root, scratch_ / L"one.txt", scratch_ / L"missing", fs::path()}) {
        pathutils::DeleteEntirePath(path, reporter_);
        EXPECT_FALSE(fs::exists(path)) << path;
    }
    EXPECT_TRUE(reporter_.reports.empty());
}

// A file held open stays and is reported; the rest of the tree still goes.
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
    EXPECT_EQ(0u, reporter_.reports[0].second.find(L"pathutils::DeleteEntirePath: Boost file "
                                                   L"system function 'remove_all' returned"));
    EXPECT_TRUE(fs::exists(root / L"held.txt"));
    EXPECT_FALSE(fs::exists(root / L"free.txt"));
}

TEST_F(PathUtilsTest, DirectoryCreateAndFileCopyOrRaiseWithThePaths) {
    const DirectoryPath nested(scratch_ / L"a\\b\\c");
    nested.Create();
    nested.Create();
    EXPECT_TRUE(nested.Exists());
    const FilePath source(scratch_ / L"source.bin"), target(scratch_ / L"target.bin");
    WriteBytes(source.Path(), std::string("\0\x01payload", 9));
    WriteBytes(target.Path(), "old");
    source.CopyTo(target);
    EXPECT_EQ(std::string("\0\x01payload", 9), ReadBytes(target.Path()));
    EXPECT_FALSE(FilePath(scratch_.Path()).Exists());  // a directory is not a file
    const DirectoryPath blocked(source.Path() / L"sub");
    const FilePath missing(scratch_ / L"missing.bin");
    const std::tuple<std::optional<Exception>, std::int32_t, std::wstring> rows[] = {
        {orvik::testing::Thrown<CouldNotCreateDirectoryException>([&] { blocked.Create(); }),
         -125098, blocked.ToString()},
        {orvik::testing::Thrown<CouldNotCopyFileException>([&] { missing.CopyTo(target); }),
         -125099, missing.ToString()}};
    for (const auto& [e, code, path] : rows) {
        ASSERT_TRUE(e);
        EXPECT_EQ(code, e->GetErrorCode());
        EXPECT_NE(L"0", e->GetMessageArgument0());
        EXPECT_EQ(path, e->GetMessageArgument1());
    }
}
TEST(FileVersionTest, ReadsTheFixedFileVersionOrKeepsTheCallersVersion) {
    wchar_t path[MAX_PATH * 4] = {};
    ::GetModuleFileNameW(nullptr, path, MAX_PATH * 4);
    Version version(L"1.2.3");
    orvik::testing::ScratchDirectory scratch;
    WriteBytes(scratch / L"plain.txt", "no version here");
    EXPECT_FALSE(ReadFileVersion(FilePath(scratch / L"plain.txt"), version));
    EXPECT_FALSE(ReadFileVersion(FilePath(scratch / L"missing.exe"), version));
    EXPECT_EQ(L"1.2.3", version.ToString());
    ASSERT_TRUE(ReadFileVersion(FilePath(path), version));
    EXPECT_EQ(L"26.5.0.49297", version.ToString());
}

int closes = 0;
BOOL WINAPI FailingClose(HANDLE) {
    ++closes;
    ::SetLastError(ERROR_INVALID_HANDLE);
    errno = EBADF;
    return FALSE;
}

// Closing keeps the caller's last error and errno; nothing and
// INVALID_HANDLE_VALUE are never closed; a move hands over without closing.
TEST(UniqueResourceTest, ClosesOnceAndKeepsTheLastError) {
    using Counted = UniqueResource<HANDLE, &FailingClose, HandleValidity>;
    closes = 0;
    {
        Counted none, invalid(INVALID_HANDLE_VALUE), owner(reinterpret_cast<HANDLE>(0x40));
        Counted moved(std::move(owner));
        EXPECT_FALSE(owner);
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        errno = ENOENT;
        moved.reset(reinterpret_cast<HANDLE>(0x50));
        EXPECT_EQ(DWORD{ERROR_FILE_NOT_FOUND}, ::GetLastError());
        EXPECT_EQ(ENOENT, errno);
        EXPECT_EQ(1, closes);
        EXPECT_EQ(reinterpret_cast<HANDLE>(0x50), moved.release());
    }
    EXPECT_EQ(1, closes);
}

// Run again with the linked, non-elevated token of this process's token, the
// test reports what IsElevated says there into ORVIK_ELEVATION_FILE.
TEST(OsUtilsTest, ElevationIsReadFromTheProcessToken) {
    wchar_t file[MAX_PATH] = {};
    if (::GetEnvironmentVariableW(L"ORVIK_ELEVATION_FILE", file, MAX_PATH) != 0) {
        WriteBytes(file, osutils::IsElevated() ? "elevated" : "limited");
        return;
    }
    EXPECT_TRUE(osutils::IsElevated());  // Wine's processes run elevated
    UniqueHandle token;
    ASSERT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.put()));
    TOKEN_LINKED_TOKEN linked{};
    DWORD size = 0;
    ASSERT_TRUE(
        ::GetTokenInformation(token.get(), TokenLinkedToken, &linked, sizeof(linked), &size));
    const UniqueHandle limited(linked.LinkedToken);
    UniqueHandle primary;
    ASSERT_TRUE(::DuplicateTokenEx(limited.get(), TOKEN_ALL_ACCESS, nullptr, SecurityImpersonation,
                                   TokenPrimary, primary.put()));
    orvik::testing::ScratchDirectory scratch;
    const fs::path report = scratch / L"elevation.txt";
    wchar_t self[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, self, MAX_PATH);
    std::wstring commandLine = L"\"" + std::wstring(self) +
                               L"\" --gtest_filter=OsUtilsTest.ElevationIsReadFromTheProcessToken";
    ::SetEnvironmentVariableW(L"ORVIK_ELEVATION_FILE", report.c_str());
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    const BOOL started =
        ::CreateProcessAsUserW(primary.get(), nullptr, commandLine.data(), nullptr, nullptr, FALSE,
                               CREATE_NO_WINDOW, nullptr, nullptr, &startup, &process);
    ::SetEnvironmentVariableW(L"ORVIK_ELEVATION_FILE", nullptr);
    ASSERT_TRUE(started) << ::GetLastError();
    const UniqueHandle processHandle(process.hProcess), threadHandle(process.hThread);
    ASSERT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(process.hProcess, 60000));
    EXPECT_EQ("limited", ReadBytes(report));
}

}  // namespace
}  // namespace orvik::pkgshared
