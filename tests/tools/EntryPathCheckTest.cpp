#include <gtest/gtest.h>

#include "pack/EntryPathCheck.h"

namespace orvik::tools::pack {
namespace {

using pkgshared::ArchiveEntryInfo;

bool Escapes(const std::wstring& name, const std::wstring& symlink = L"",
             const std::wstring& hardlink = L"") {
    return EscapeReason(ArchiveEntryInfo{name, symlink, hardlink}).has_value();
}

TEST(EntryPathCheckTest, NamesInsideTheFolderPass) {
    for (const wchar_t* name : {L"Install.exe", L"./bin/tool.exe", L"a/../b", L"a\\..\\b", L"dir/",
                                L"a/./b", L"..a/b", L"a..", L"a/b/../../c"}) {
        EXPECT_FALSE(Escapes(name)) << name;
    }
}

TEST(EntryPathCheckTest, AbsoluteAndClimbingNamesAreRefused) {
    for (const wchar_t* name :
         {L"../x", L"..\\x", L"a/../../x", L"./..", L"/etc/passwd", L"\\Windows\\x.dll", L"C:x",
          L"C:\\x", L"\\\\server\\share\\x", L"a/b/../../../x"}) {
        EXPECT_TRUE(Escapes(name)) << name;
    }
    EXPECT_EQ(L"../x: a \"..\" that climbs out", *EscapeReason({L"../x", L"", L""}));
    EXPECT_EQ(L"/x: an absolute path", *EscapeReason({L"/x", L"", L""}));
}

TEST(EntryPathCheckTest, SymbolicLinksResolveFromTheirOwnFolder) {
    EXPECT_FALSE(Escapes(L"bin/link", L"../lib/x.dll"));  // bin/.. is the folder itself
    EXPECT_FALSE(Escapes(L"a/b/link", L"../../c"));
    EXPECT_TRUE(Escapes(L"link", L"../x"));
    EXPECT_TRUE(Escapes(L"bin/link", L"../../x"));
    EXPECT_TRUE(Escapes(L"bin/link", L"/etc/passwd"));
    EXPECT_TRUE(Escapes(L"bin/link", L"C:\\Windows"));
    EXPECT_EQ(L"bin/link: a link that points out, to ../../x",
              *EscapeReason({L"bin/link", L"../../x", L""}));
}

TEST(EntryPathCheckTest, HardLinksNameEntriesOfTheArchive) {
    EXPECT_FALSE(Escapes(L"b", L"", L"a"));
    EXPECT_FALSE(Escapes(L"dir/b", L"", L"dir/a"));
    EXPECT_TRUE(Escapes(L"b", L"", L"../a"));
    EXPECT_TRUE(Escapes(L"b", L"", L"/etc/shadow"));
}

}  // namespace
}  // namespace orvik::tools::pack
