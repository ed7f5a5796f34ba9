#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "shared/Exception.h"
#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"
#include "support/Thrown.h"

namespace orvik::pkgshared {
namespace {

using orvik::testing::ExpectError;

TEST(ExceptionFamilyTest, ClassesFixTheirCodeAndArgumentOrder) {
    const struct {
        std::shared_ptr<Exception> exception;
        orvik::testing::ExpectedError expected;
    } rows[] = {
        {std::make_shared<Exception>(-125202, L"f", 1), {-125202, {}, L"f", 1}},
        {std::make_shared<WindowsFunctionErrorException>(-5, "CreateFileW", L"g", 2),
         {-125553, {L"-5", L"CreateFileW"}, L"g", 2}},
        {std::make_shared<CouldNotCreateDirectoryException>(183, L"C:\\d", L"exists", L"h", 3),
         {-125098, {L"183", L"C:\\d", L"exists"}, L"h", 3}},
        {std::make_shared<CouldNotCopyFileException>(32, L"a", L"b", L"in use", L"i", 4),
         {-125099, {L"32", L"a", L"b", L"in use"}, L"i", 4}},
        {std::make_shared<NullArgumentException>(L"resource", L"Extract", L"j", 5),
         {-125200, {L"resource", L"NULL", L"Extract"}, L"j", 5}},
        {std::make_shared<BadArgumentException>(L"archiveType", L"9", L"Get", L"k", 6),
         {-125201, {L"archiveType", L"9", L"Get"}, L"k", 6}},
        {std::make_shared<InvalidArchiveException>(L"Truncated tar archive", L"l", 7),
         {-125026, {L"Truncated tar archive"}, L"l", 7}},
        {std::make_shared<FailedToOpenCRuntimeFileException>(L"C:\\p.tar.gz", 2, L"m", 8),
         {-125024, {L"C:\\p.tar.gz", L"2", RuntimeErrorText(2)}, L"m", 8}}};
    for (const auto& row : rows) {
        ExpectError(*row.exception, row.expected);
        EXPECT_STREQ("Unknown exception", row.exception->what()) << row.expected.code;
    }
    EXPECT_FALSE(RuntimeErrorText(2).empty());
    EXPECT_NE(RuntimeErrorText(2), RuntimeErrorText(13));
    EXPECT_LE(RuntimeErrorText(2).size(), 1024u);
}

TEST(ExceptionTest, SourceFileIsCutAt259CharactersAndMissingArgumentsAreOneEmptyString) {
    EXPECT_EQ(std::wstring(259, L'x'),
              Exception(1, std::wstring(300, L'x').c_str(), 7).GetSourceFile());
    EXPECT_EQ(std::wstring(259, L'y'),
              Exception(1, std::wstring(259, L'y').c_str(), 7).GetSourceFile());
    EXPECT_STREQ(L"", Exception(-125202, nullptr, 7).GetSourceFile());

    const Exception e(-125553, L"5", L"CreateFileW", L"f", 1);
    EXPECT_EQ(2u, e.GetMessageArgumentCount());
    EXPECT_EQ(L"", e.GetMessageArgument(7));
    EXPECT_EQ(&e.GetMessageArgument(7), &e.GetMessageArgument3());
    EXPECT_EQ(&e.GetMessageArgument(2), &Exception(1, L"f", 1).GetMessageArgument(0));
}

TEST(ExceptionTest, OnlyAnUncodedExceptionTakesACodeOrAdoptsAnother) {
    Exception source(-125098, L"5", L"C:\\dir", L"Access is denied.", L"source\\a", 42);
    source.AddInnerException(Exception(-125553, L"5", L"CreateDirectoryW", L"source\\b", 7));

    Exception coded(-125553, L"f", 1);
    coded.SetErrorCodeIfUnset(-125202);
    coded.AdoptIfUnset(source);
    ExpectError(coded, {-125553, {}, L"f", 1});
    EXPECT_TRUE(coded.GetInnerExceptions().empty());

    Exception uncoded(0, L"f", 1);
    uncoded.SetErrorCodeIfUnset(-125202);
    EXPECT_EQ(-125202, uncoded.GetErrorInfoRecord().errorCode);

    Exception adopting(0, L"source\\c", 1);
    adopting.AdoptIfUnset(source);
    ExpectError(adopting, {-125098, {L"5", L"C:\\dir", L"Access is denied."}, L"source\\a", 42});
    ASSERT_EQ(1u, adopting.GetInnerExceptions().size());
    EXPECT_EQ(-125553, adopting.GetErrorInfoRecord().inner[0].errorCode);
    EXPECT_EQ(adopting.GetSourceFile(), adopting.GetErrorInfoRecord().sourceFile);
}

// Checks that every pointer of `record` refers into `e` and its inner list.
void ExpectRecordPointsInto(const Exception& e, const ErrorInfoRecord& record) {
    EXPECT_EQ(e.GetErrorCode(), record.errorCode);
    EXPECT_EQ(e.GetLineNumber(), record.lineNumber);
    EXPECT_EQ(e.GetSourceFile(), record.sourceFile);
    ASSERT_EQ(e.GetMessageArgumentCount(), record.argumentCount);
    for (uint32_t i = 0; i < record.argumentCount; ++i) {
        EXPECT_EQ(e.GetMessageArgument(i).c_str(), record.arguments[i]);
    }
    ASSERT_EQ(e.GetInnerExceptions().size(), record.innerCount);
    for (uint32_t i = 0; i < record.innerCount; ++i) {
        ExpectRecordPointsInto(e.GetInnerExceptions()[i], record.inner[i]);
    }
}

TEST(ExceptionTest, CopyAssignmentAndGrowthRebuildTheFlatRecord) {
    auto original = std::make_unique<Exception>(-125099, L"5", L"a.txt", L"b.txt", L"denied",
                                                L"source\\shared\\FilePath", 12);
    Exception inner(-125553, L"32", L"CopyFileW", L"source\\x", 3);
    inner.AddInnerException(Exception(-125202, L"source\\y", 4));
    original->AddInnerException(inner);
    original->AddInnerExceptions({Exception(-125029, L"source\\z", 5)});

    Exception copy(*original);
    const ErrorInfoRecord& record = copy.GetErrorInfoRecord();
    EXPECT_NE(original->GetErrorInfoRecord().sourceFile, record.sourceFile);
    EXPECT_NE(original->GetErrorInfoRecord().arguments, record.arguments);
    EXPECT_NE(original->GetErrorInfoRecord().inner, record.inner);
    original.reset();  // the copy's record must not depend on the original
    ExpectRecordPointsInto(copy, record);
    EXPECT_STREQ(L"denied", record.arguments[3]);
    ASSERT_EQ(2u, record.innerCount);
    EXPECT_EQ(-125202, record.inner[0].inner[0].errorCode);
    EXPECT_STREQ(L"source\\y", record.inner[0].inner[0].sourceFile);
    EXPECT_EQ(-125029, record.inner[1].errorCode);

    {
        const Exception source(-125026, L"truncated", L"source\\shared\\ArchiveManager", 88);
        copy = source;
    }
    ExpectRecordPointsInto(copy, copy.GetErrorInfoRecord());
    EXPECT_EQ(0u, copy.GetErrorInfoRecord().innerCount);
    for (int i = 0; i < 20; ++i) {  // reallocates the inner list several times
        copy.AddInnerException(Exception(-125000 - i, L"inner", L"s", i));
    }
    ExpectRecordPointsInto(copy, copy.GetErrorInfoRecord());
}

TEST(RaiseTest, RecordsThePathBelowTheCheckoutWithoutExtensionAndTheLine) {
    const std::pair<const char*, const wchar_t*> rows[] = {
        {"/work/main/source/shared/PathGuide.cpp", L"source\\shared\\PathGuide"},
        {"source/preinstall/Main.cpp", L"source\\preinstall\\Main"},
        {"C:\\build\\source\\repo\\source\\shared\\utils\\FilePath.h",
         L"source\\shared\\utils\\FilePath"},
        {"tests/shared/RaiseTest.cpp", L"tests\\shared\\RaiseTest"},
        {"/x/resource/y.cpp", L"\\x\\resource\\y"},
        {"source/a.b/Name", L"source\\a.b\\Name"}};
    for (const auto& [path, expected] : rows) {
        EXPECT_EQ(expected, SourceNameFromPath(path)) << path;
    }
    const int line = __LINE__ + 1;
    const auto raise = [] { ORVIK_THROW(WindowsFunctionErrorException, 5, "RegOpenKeyExW"); };
    orvik::testing::ExpectThrows(
        raise, {-125553, {L"5", L"RegOpenKeyExW"}, L"tests\\shared\\ExceptionTest", line});
}

}  // namespace
}  // namespace orvik::pkgshared
