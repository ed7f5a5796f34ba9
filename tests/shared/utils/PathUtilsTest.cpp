#include <gtest/gtest.h>

#include <windows.h>

#include <utility>
#include <vector>

#include "shared/utils/PathUtils.h"
#include "shared/utils/WinResources.h"
#include "support/ScratchDirectory.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;
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

}  // namespace
}  // namespace orvik::pkgshared
