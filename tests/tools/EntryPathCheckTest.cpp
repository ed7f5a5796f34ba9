#include <gtest/gtest.h>

#include "pack/EntryPathCheck.h"
#include "pack/PayloadCeiling.h"

namespace orvik::tools::pack {
namespace {
// An entry (name, symbolic link target, hard link target) and the reason it escapes the
// extraction folder: null when it stays inside, "" when any reason will do. Link targets resolve
// from the link's own folder; hard links name entries of the archive.
TEST(EntryPathCheckTest, EntriesThatWouldLandOutsideTheFolderAreNamed) {
    const struct {
        const wchar_t *name, *symlink, *hardlink, *reason;
    } rows[] = {
        {L"./..", L"", L"", L""},
        {L"a\\..\\b", L"", L"", nullptr},
        {L"..a/b", L"", L"", nullptr},
        {L"a/b/../../c", L"", L"", nullptr},
        {L"../x", L"", L"", L"../x: a \"..\" that climbs out"},
        {L"/x", L"", L"", L"/x: an absolute path"},
        {L"a/../../x", L"", L"", L""},
        {L"\\Windows\\x.dll", L"", L"", L""},
        {L"C:", L"", L"", L""},
        {L"a/b/link", L"../../c", L"", nullptr},
        {L"bin/link", L"C:\\Windows", L"", L""},
        {L"bin/link", L"../../x", L"", L"bin/link: a link that points out, to ../../x"},
        {L"dir/b", L"", L"dir/a", nullptr},
        {L"d/b", L"", L"../a", L"d/b: a hard link to ../a, a \"..\" that climbs out"},
    };
    for (const auto& row : rows) {
        const auto reason = EscapeReason({row.name, row.symlink, row.hardlink});
        ASSERT_EQ(row.reason != nullptr, reason.has_value()) << row.name << " -> " << row.symlink;
        if (reason && *row.reason != L'\0') {
            EXPECT_EQ(row.reason, *reason);
        }
    }
}

TEST(PayloadCeilingTest, TheCeilingItselfIsCarriedOneByteMoreIsNot) {
    EXPECT_FALSE(PayloadTooLarge(kMaxPayloadBytes));
    EXPECT_TRUE(PayloadTooLarge(kMaxPayloadBytes + 1));
    EXPECT_TRUE(PayloadTooLarge((std::uint64_t{1} << 32) + 1));  // not cut to 32 bits
}
}  // namespace
}  // namespace orvik::tools::pack
