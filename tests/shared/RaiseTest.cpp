#include <gtest/gtest.h>

#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"

namespace orvik::pkgshared {
namespace {

TEST(RaiseTest, SourceNameIsThePathBelowTheCheckoutWithoutExtension) {
    EXPECT_EQ(L"source\\shared\\PathGuide",
              SourceNameFromPath("/work/main/source/shared/PathGuide.cpp"));
    EXPECT_EQ(L"source\\preinstall\\Main", SourceNameFromPath("source/preinstall/Main.cpp"));
    EXPECT_EQ(L"source\\shared\\utils\\FilePath",
              SourceNameFromPath("C:\\build\\source\\repo\\source\\shared\\utils\\FilePath.h"));
    EXPECT_EQ(L"tests\\shared\\RaiseTest", SourceNameFromPath("tests/shared/RaiseTest.cpp"));
    EXPECT_EQ(L"\\x\\resource\\y", SourceNameFromPath("/x/resource/y.cpp"));
    EXPECT_EQ(L"source\\a.b\\Name", SourceNameFromPath("source/a.b/Name"));
}

TEST(RaiseTest, ThrowRecordsFileAndLineOfTheRaisingStatement) {
    int line = 0;
    try {
        line = __LINE__ + 1;
        ORVIK_THROW(WindowsFunctionErrorException, 5, "RegOpenKeyExW");
    } catch (const Exception& e) {
        EXPECT_EQ(-125553, e.GetErrorCode());
        EXPECT_EQ(line, e.GetLineNumber());
        EXPECT_STREQ(L"tests\\shared\\RaiseTest", e.GetSourceFile());
        EXPECT_EQ(L"RegOpenKeyExW", e.GetMessageArgument1());
        return;
    }
    FAIL() << "nothing was thrown";
}

}  // namespace
}  // namespace orvik::pkgshared
