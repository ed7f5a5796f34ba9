#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "shared/Exception.h"
#include "shared/ExceptionFamily.h"

namespace orvik::pkgshared {
namespace {

TEST(ExceptionTest, StandardTextQueryIsUnknownForEveryClass) {
    const std::unique_ptr<std::exception> family[] = {
        std::make_unique<Exception>(-125202, L"f", 1),
        std::make_unique<WindowsFunctionErrorException>(5, "CreateFileW", L"f", 1),
        std::make_unique<CouldNotCreateDirectoryException>(5, L"d", L"m", L"f", 1),
        std::make_unique<CouldNotCopyFileException>(5, L"a", L"b", L"m", L"f", 1),
        std::make_unique<NullArgumentException>(L"p", L"m", L"f", 1),
        std::make_unique<BadArgumentException>(L"a", L"v", L"fn", L"f", 1),
        std::make_unique<FailedToOpenCRuntimeFileException>(L"x", 2, L"f", 1),
        std::make_unique<InvalidArchiveException>(L"bad", L"f", 1),
    };
    for (const auto& e : family) {
        EXPECT_STREQ("Unknown exception", e->what());
    }
}

TEST(ExceptionTest, SourceFileIsCutAt259Characters) {
    const std::wstring longPath(300, L'x');
    const Exception e(-125202, longPath.c_str(), 7);
    EXPECT_EQ(std::wstring(259, L'x'), e.GetSourceFile());

    const std::wstring exact(259, L'y');
    EXPECT_EQ(exact, Exception(-125202, exact.c_str(), 7).GetSourceFile());
    EXPECT_STREQ(L"", Exception(-125202, nullptr, 7).GetSourceFile());
}

TEST(ExceptionTest, ArgumentsPastTheCountAreOneSharedEmptyString) {
    const Exception e(-125553, L"5", L"CreateFileW", L"f", 1);
    EXPECT_EQ(2u, e.GetMessageArgumentCount());
    EXPECT_EQ(L"5", e.GetMessageArgument0());
    EXPECT_EQ(L"CreateFileW", e.GetMessageArgument1());
    EXPECT_EQ(L"", e.GetMessageArgument(7));
    EXPECT_EQ(&e.GetMessageArgument(7), &e.GetMessageArgument3());
    EXPECT_EQ(&e.GetMessageArgument(2), &Exception(1, L"f", 1).GetMessageArgument(0));
}

TEST(ExceptionTest, FirstCodeWins) {
    Exception coded(-125553, L"f", 1);
    coded.SetErrorCodeIfUnset(-125202);
    EXPECT_EQ(-125553, coded.GetErrorCode());

    Exception uncoded(0, L"f", 1);
    uncoded.SetErrorCodeIfUnset(-125202);
    EXPECT_EQ(-125202, uncoded.GetErrorCode());
    EXPECT_EQ(-125202, uncoded.GetErrorInfoRecord().errorCode);
}

TEST(ExceptionTest, AdoptIfUnsetCopiesEverythingOnlyWithoutCode) {
    Exception source(-125098, L"5", L"C:\\dir", L"Access is denied.", L"source\\a", 42);
    source.AddInnerException(Exception(-125553, L"5", L"CreateDirectoryW", L"source\\b", 7));

    Exception uncoded(0, L"source\\c", 1);
    uncoded.AdoptIfUnset(source);
    EXPECT_EQ(-125098, uncoded.GetErrorCode());
    EXPECT_STREQ(L"source\\a", uncoded.GetSourceFile());
    EXPECT_EQ(42, uncoded.GetLineNumber());
    EXPECT_EQ(L"C:\\dir", uncoded.GetMessageArgument1());
    ASSERT_EQ(1u, uncoded.GetInnerExceptions().size());
    EXPECT_EQ(-125553, uncoded.GetErrorInfoRecord().inner[0].errorCode);
    EXPECT_EQ(uncoded.GetSourceFile(), uncoded.GetErrorInfoRecord().sourceFile);

    Exception coded(-125202, L"source\\c", 1);
    coded.AdoptIfUnset(source);
    EXPECT_EQ(-125202, coded.GetErrorCode());
    EXPECT_EQ(0u, coded.GetMessageArgumentCount());
    EXPECT_TRUE(coded.GetInnerExceptions().empty());
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

TEST(ExceptionTest, FlatRecordOfACopyPointsIntoTheCopy) {
    auto original = std::make_unique<Exception>(-125099, L"5", L"a.txt", L"b.txt", L"denied",
                                                L"source\\shared\\FilePath", 12);
    Exception inner(-125553, L"32", L"CopyFileW", L"source\\x", 3);
    inner.AddInnerException(Exception(-125202, L"source\\y", 4));
    original->AddInnerException(inner);
    original->AddInnerExceptions({Exception(-125029, L"source\\z", 5)});

    const Exception copy(*original);
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
}

TEST(ExceptionTest, AssignmentAndGrowthRebuildTheRecord) {
    Exception target(0, L"t", 1);
    {
        const Exception source(-125026, L"truncated", L"source\\shared\\ArchiveManager", 88);
        target = source;
    }
    ExpectRecordPointsInto(target, target.GetErrorInfoRecord());
    for (int i = 0; i < 20; ++i) {  // reallocates the inner list several times
        target.AddInnerException(Exception(-125000 - i, L"inner", L"s", i));
    }
    ExpectRecordPointsInto(target, target.GetErrorInfoRecord());
}

struct FamilyCase {
    Exception exception;
    std::int32_t code;
    std::vector<std::wstring> arguments;
};

TEST(ExceptionFamilyTest, ClassesFixTheirCodeAndArgumentOrder) {
    const FamilyCase cases[] = {
        {WindowsFunctionErrorException(-5, "CreateFileW", L"f", 1),
         -125553,
         {L"-5", L"CreateFileW"}},
        {CouldNotCreateDirectoryException(183, L"C:\\d", L"exists", L"f", 1),
         -125098,
         {L"183", L"C:\\d", L"exists"}},
        {CouldNotCopyFileException(32, L"a", L"b", L"in use", L"f", 1),
         -125099,
         {L"32", L"a", L"b", L"in use"}},
        {NullArgumentException(L"resource", L"Extract", L"f", 1),
         -125200,
         {L"resource", L"NULL", L"Extract"}},
        {BadArgumentException(L"archiveType", L"9", L"GetSourceArchiveForUnarchive", L"f", 1),
         -125201,
         {L"archiveType", L"9", L"GetSourceArchiveForUnarchive"}},
        {InvalidArchiveException(L"Truncated tar archive", L"f", 1),
         -125026,
         {L"Truncated tar archive"}},
    };
    for (const FamilyCase& c : cases) {
        EXPECT_EQ(c.code, c.exception.GetErrorCode());
        ASSERT_EQ(c.arguments.size(), c.exception.GetMessageArgumentCount()) << c.code;
        for (size_t i = 0; i < c.arguments.size(); ++i) {
            EXPECT_EQ(c.arguments[i], c.exception.GetMessageArgument(i)) << c.code;
        }
    }
}

TEST(ExceptionFamilyTest, RuntimeFileErrorCarriesTheRuntimeText) {
    const FailedToOpenCRuntimeFileException e(L"C:\\payload.tar.gz", 2, L"f", 1);
    EXPECT_EQ(-125024, e.GetErrorCode());
    EXPECT_EQ(L"C:\\payload.tar.gz", e.GetMessageArgument0());
    EXPECT_EQ(L"2", e.GetMessageArgument1());
    EXPECT_EQ(RuntimeErrorText(2), e.GetMessageArgument2());
    EXPECT_FALSE(e.GetMessageArgument2().empty());
    EXPECT_NE(RuntimeErrorText(2), RuntimeErrorText(13));
    EXPECT_LE(RuntimeErrorText(2).size(), 1024u);
}

}  // namespace
}  // namespace orvik::pkgshared
