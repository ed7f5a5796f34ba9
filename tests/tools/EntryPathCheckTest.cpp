#include <gtest/gtest.h>

#include "pack/EntryPathCheck.h"

namespace orvik::tools::pack {
namespace {

// An entry (name, symbolic link target, hard link target) and the reason it
// escapes the extraction folder: null when it stays inside, "" when any
// reason will do. Link targets resolve from the link's own folder; hard links
// name entries of the archive.
TEST(EntryPathCheckTest, EntriesThatWouldLandOutsideTheFolderAreNamed) {
    const struct {
        const wchar_t *name, *symlink, *hardlink, *reason;
    } rows[] = {
        // clang-format off
        {L"Install.exe", L"", L"", nullptr},   {L"./bin/tool.exe", L"", L"", nullptr},
        {L"a/../b", L"", L"", nullptr},        {L"a\\..\\b", L"", L"", nullptr},
        {L"dir/", L"", L"", nullptr},          {L"a/./b", L"", L"", nullptr},
        {L"..a/b", L"", L"", nullptr},         {L"a..", L"", L"", nullptr},
        {L"a/b/../../c", L"", L"", nullptr},
        {L"../x", L"", L"", L"../x: a \"..\" that climbs out"},
        {L"/x", L"", L"", L"/x: an absolute path"},
        {L"..\\x", L"", L"", L""},             {L"a/../../x", L"", L"", L""},
        {L"./..", L"", L"", L""},              {L"\\Windows\\x.dll", L"", L"", L""},
        {L"C:x", L"", L"", L""},               {L"C:\\x", L"", L"", L""},
        {L"\\\\server\\share\\x", L"", L"", L""}, {L"a/b/../../../x", L"", L"", L""},
        {L"bin/link", L"../lib/x.dll", L"", nullptr}, {L"a/b/link", L"../../c", L"", nullptr},
        {L"link", L"../x", L"", L""},          {L"bin/link", L"/etc/passwd", L"", L""},
        {L"bin/link", L"C:\\Windows", L"", L""},
        {L"bin/link", L"../../x", L"", L"bin/link: a link that points out, to ../../x"},
        {L"b", L"", L"a", nullptr},            {L"dir/b", L"", L"dir/a", nullptr},
        {L"b", L"", L"../a", L""},             {L"b", L"", L"/etc/shadow", L""},
        // clang-format on
    };
    for (const auto& row : rows) {
        const auto reason = EscapeReason({row.name, row.symlink, row.hardlink});
        ASSERT_EQ(row.reason != nullptr, reason.has_value()) << row.name << " -> " << row.symlink;
        if (reason && *row.reason != L'\0') {
            EXPECT_EQ(row.reason, *reason);
        }
    }
}

}  // namespace
}  // namespace orvik::tools::pack
