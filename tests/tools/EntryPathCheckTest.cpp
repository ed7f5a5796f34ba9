#include <gtest/gtest.h>

#include <cstdint>

#include "pack/EntryPathCheck.h"
#include "pack/PayloadCeiling.h"

namespace orvik::tools::pack {
namespace {
using pkgshared::ArchiveEntryInfo, pkgshared::kFolderType, pkgshared::kRegularFileType;

constexpr std::uint32_t kLink = 0120000;

// An entry of `type`; a symbolic link's target, or a hard link's (type kRegularFileType).
ArchiveEntryInfo Entry(std::wstring name, std::uint32_t type = kRegularFileType,
                       std::wstring target = {}, std::uint32_t mode = 0644,
                       std::uint64_t flags = 0) {
    const bool symlink = type == kLink;
    return {name, symlink ? target : L"", symlink ? L"" : target, type, mode, flags, -1, {}};
}

// Entries in archive order and every problem of the last one named, in order: where entries
// land (link targets resolve from the link's own folder, hard links name entries), then Windows'
// rules for names (not Wine's: Wine maps only NUL to a device) and for what an entry does to
// earlier ones.
TEST(EntryPathCheckTest, EveryProblemIsNamedInArchiveOrder) {
    std::wstring moreThan255Units;
    for (int i = 0; i < 128; ++i) {
        moreThan255Units += L"\U0001F389";  // two UTF-16 units each
    }
    const std::wstring climbs = L"a \"..\" that climbs out", absolute = L"an absolute path",
                       control = L"a control character", empty = L"an empty name", none,
                       refused = L"a character that Windows does not allow in names",
                       oddEnd = L"a name part that ends in a space or a dot",
                       device = L"a reserved device name on Windows",
                       caseOf = L"differs only in case from ",
                       both = L"; Windows takes both for one name",
                       readOnly = L"replaces ro, which is read-only",
                       noFile = L", which is no earlier file",
                       fileOnFolder = L"a file where an earlier entry has a folder",
                       folderOnFile = L"a folder where an earlier entry has a file";
    const struct {
        std::vector<ArchiveEntryInfo> entries;
        std::vector<std::wstring> problems;
    } rows[] = {
        {{Entry(L"a\\..\\b"), Entry(L"..a/b"), Entry(L"a/b/../../c")}, {}},
        {{Entry(L"a/b/link", kLink, L"../../c")}, {}},
        {{Entry(L"bin/link", kLink, L"C:\\Windows")}, {L"a link to the absolute path C:\\Windows"}},
        {{Entry(L"bin/link", kLink, L"../../x")}, {L"a link that points out, to ../../x"}},
        {{Entry(L"d/b", kRegularFileType, L"../a")},
         {L"a hard link to ../a, " + climbs, L"a hard link to ../a" + noFile}},
        {{Entry(std::wstring(255, L'a'))}, {}},
        {{Entry(L"d/" + moreThan255Units)}, {L"a name part longer than 255 characters"}},
        {{Entry(L"./", kFolderType), Entry(L"."), Entry(L"./a b/c.d.txt"), Entry(L"x/ж 日")}, {}},
        {{Entry(L"Ёлка"), Entry(L"ёЛКА")}, {caseOf + L"Ёлка" + both}},
        {{Entry(L"Étéÿź"), Entry(L"éTÉŸŹ")}, {caseOf + L"Étéÿź" + both}},
        {{Entry(L"Ωμέγα"), Entry(L"ωΜΈΓΑ")}, {caseOf + L"Ωμέγα" + both}},
        {{Entry(L"ａＢ"), Entry(L"Ａｂ")}, {caseOf + L"ａＢ" + both}},
        {{Entry(L"Dir/", kFolderType), Entry(L"dir", kFolderType)}, {caseOf + L"Dir/" + both}},
        {{Entry(L"ß"), Entry(L"SS"), Entry(L"i"), Entry(L"İ"), Entry(L"a"), Entry(L"./a")}, {}},
        {{Entry(L"ro", kRegularFileType, {}, 0444), Entry(L"./ro")}, {readOnly}},
        {{Entry(L"ro", kRegularFileType, {}, 0644, 1), Entry(L"ro")}, {readOnly}},
        {{Entry(L"ro/", kFolderType, {}, 0555), Entry(L"ro", kFolderType)}, {}},
        {{Entry(L"a"), Entry(L"a/b")}, {folderOnFile}},
        {{Entry(L"a/b"), Entry(L"A")}, {fileOnFolder}},
        {{Entry(L"a/", kFolderType), Entry(L"a")}, {fileOnFolder}},
        {{Entry(L"a"), Entry(L"a/", kFolderType)}, {folderOnFile}},
        {{Entry(L"./bin/x"), Entry(L"l", kRegularFileType, L"bin/X")}, {}},
        {{Entry(L"d/", kFolderType), Entry(L"l", kRegularFileType, L"d")},
         {L"a hard link to d" + noFile}},
        {{Entry(L"tty", 0020000)}, {L"a character device, which Windows cannot create"}},
        {{Entry(L"sda", 0060000)}, {L"a block device, which Windows cannot create"}},
        {{Entry(L"fifo", 0010000)}, {L"a named pipe, which Windows cannot create"}},
        {{Entry(L"sock", 0140000)}, {L"a socket, which Windows cannot create"}},
    };
    // Names of one entry each, by the reason each has (or none).
    const std::pair<std::wstring, std::vector<const wchar_t*>> names[] = {
        {climbs, {L"./..", L"a/../../x"}},
        {absolute, {L"\\Windows\\x.dll", L"C:"}},
        {empty, {L""}},
        {control, {L"a\x01.txt", L"del\x7F"}},
        {refused, {L"what?.txt", L"notes.txt:stream"}},
        {oddEnd, {L"dir /f.txt", L"name."}},
        {device,
         {L"NUL", L"nul.txt", L"sub/Nul.tar.gz", L"Aux  .txt", L"COM¹.log", L"lpt0", L"conin$",
          L"CONOUT$.x", L"con/x.txt"}},
        {none, {L"nullx.txt", L"COM10", L"a.nul", L"con-1"}}};
    for (const auto& [reason, group] : names) {
        for (const std::wstring name : group) {
            EXPECT_EQ(reason.empty() ? std::vector<std::wstring>{}
                                     : std::vector<std::wstring>{name + L": " + reason},
                      EntryProblems({Entry(name)}));
        }
    }
    for (const auto& row : rows) {
        std::vector<std::wstring> expected;
        for (const std::wstring& problem : row.problems) {
            expected.push_back(row.entries.back().name + L": " + problem);
        }
        EXPECT_EQ(expected, EntryProblems(row.entries));
    }
}

TEST(PayloadCeilingTest, TheCeilingItselfIsCarriedOneByteMoreIsNot) {
    EXPECT_FALSE(PayloadTooLarge(kMaxPayloadBytes));
    EXPECT_TRUE(PayloadTooLarge(kMaxPayloadBytes + 1));
    EXPECT_TRUE(PayloadTooLarge((std::uint64_t{1} << 32) + 1));  // not cut to 32 bits
}
}  // namespace
}  // namespace orvik::tools::pack
