#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "shared/OsVersionEvaluator.h"

namespace orvik::pkgshared {
namespace {

using testing::_;
using testing::Eq;
using testing::Return;
using testing::StrictMock;

class MockVerifier : public IVersionVerifier {
public:
    MOCK_METHOD(Result, Verify,
                (Condition, std::uint32_t, std::optional<std::uint32_t>,
                 std::optional<std::uint32_t>),
                (override));
};

SystemVersion Windows10(std::uint32_t build) {
    return SystemVersion{true, 10, 0, build};
}

struct KnownCase {
    int comparison;
    std::int32_t major, minor, build;
    bool expected;
};

TEST(OsVersionEvaluatorTest, ComparesAKnownSystemVersion) {
    StrictMock<MockVerifier> verifier;  // never asked while the version is known
    const OsVersionEvaluator evaluator(Windows10(14393), verifier);
    const KnownCase cases[] = {
        {kVersionGreaterOrEqual, 10, 0, 14393, true},
        {kVersionGreaterOrEqual, 10, 0, 14394, false},
        {kVersionGreaterOrEqual, 10, -1, 99999, true},  // minor -1: build not compared either
        {kVersionGreaterOrEqual, 10, 0, -1, true},
        {kVersionEqual, 10, 0, 14393, true},
        {kVersionEqual, 10, 0, 14392, false},
        {kVersionLess, 10, 0, 14394, true},
        {kVersionLess, 11, 0, 0, true},
        {kVersionLess, 6, 3, 99999, false},
        {kVersionLessOrEqual, 10, 0, 14393, true},
        {kVersionGreater, 6, 3, 9600, true},
        {kVersionGreater, 10, 0, 14393, false},
        {kVersionGreater, 10, 1, 0, false},  // minor decides before build
        {kVersionNotEqual, 10, 0, 14393, false},
        {kVersionNotEqual, 10, 0, 1, true},
        {kVersionAlways, -5, -1, -1, true},
        {kVersionEqual, -1, 0, 0, false},
        {8, 10, 0, 14393, false},
        {0, 10, 0, 14393, false},
    };
    for (const KnownCase& c : cases) {
        EXPECT_EQ(c.expected, evaluator.Evaluate(c.comparison, c.major, c.minor, c.build))
            << c.comparison << " " << c.major << "." << c.minor << "." << c.build;
    }
}

TEST(OsVersionEvaluatorTest, UnknownStoredPartsAreNotCompared) {
    StrictMock<MockVerifier> verifier;
    const OsVersionEvaluator evaluator(SystemVersion{true, 10, SystemVersion::kUnknown, 1},
                                       verifier);
    EXPECT_TRUE(evaluator.Evaluate(kVersionEqual, 10, 5, 99999));
}

TEST(OsVersionEvaluatorTest, UnknownVersionAsksTheSystemTest) {
    StrictMock<MockVerifier> verifier;
    const OsVersionEvaluator evaluator(SystemVersion{}, verifier);
    using C = IVersionVerifier;
    EXPECT_CALL(verifier, Verify(C::kGreaterEqual, 10u, Eq(std::optional<std::uint32_t>(0)),
                                 Eq(std::optional<std::uint32_t>(14393))))
        .WillOnce(Return(C::Result{true, 0}));
    EXPECT_TRUE(evaluator.Evaluate(kVersionGreaterOrEqual, 10, 0, 14393));

    EXPECT_CALL(verifier, Verify(C::kLess, 6u, Eq(std::nullopt), Eq(std::nullopt)))
        .WillOnce(Return(C::Result{true, 0}));
    EXPECT_TRUE(evaluator.Evaluate(kVersionLess, 6, -1, -1));

    EXPECT_CALL(verifier,
                Verify(C::kLessEqual, 6u, Eq(std::optional<std::uint32_t>(1)), Eq(std::nullopt)))
        .WillOnce(Return(C::Result{true, 0}));
    EXPECT_TRUE(evaluator.Evaluate(kVersionLessOrEqual, 6, 1, -1));

    EXPECT_CALL(verifier, Verify(C::kGreater, 5u, _, _)).WillOnce(Return(C::Result{true, 0}));
    EXPECT_TRUE(evaluator.Evaluate(kVersionGreater, 5, 0, 0));
}

TEST(OsVersionEvaluatorTest, SystemTestResultsAndErrors) {
    StrictMock<MockVerifier> verifier;
    const OsVersionEvaluator evaluator(SystemVersion{}, verifier);
    using C = IVersionVerifier;
    constexpr std::uint32_t kOldWinVersion = 1150;

    // Not equal asks for equality and inverts the answer.
    EXPECT_CALL(verifier, Verify(C::kEqual, 10u, _, _))
        .WillOnce(Return(C::Result{true, 0}))
        .WillOnce(Return(C::Result{false, kOldWinVersion}))
        .WillOnce(Return(C::Result{false, kOldWinVersion}))
        .WillOnce(Return(C::Result{false, 87}))
        .WillOnce(Return(C::Result{false, 87}));
    EXPECT_FALSE(evaluator.Evaluate(kVersionNotEqual, 10, 0, 0));
    EXPECT_TRUE(evaluator.Evaluate(kVersionNotEqual, 10, 0, 0));
    EXPECT_FALSE(evaluator.Evaluate(kVersionEqual, 10, 0, 0));
    EXPECT_FALSE(evaluator.Evaluate(kVersionNotEqual, 10, 0, 0));
    EXPECT_FALSE(evaluator.Evaluate(kVersionEqual, 10, 0, 0));

    // Codes outside 1..6 never reach the system test.
    EXPECT_TRUE(evaluator.Evaluate(kVersionAlways, 10, 0, 0));
    EXPECT_FALSE(evaluator.Evaluate(9, 10, 0, 0));
    EXPECT_FALSE(evaluator.Evaluate(kVersionGreater, -1, 0, 0));
}

class FakeRegistry : public IRegistryValueReader {
public:
    std::map<std::wstring, std::uint32_t> dwords;
    std::map<std::wstring, std::wstring> strings;
    std::optional<std::uint32_t> ReadDword(const wchar_t* name) override {
        const auto it = dwords.find(name);
        return it == dwords.end() ? std::nullopt : std::optional<std::uint32_t>(it->second);
    }
    std::optional<std::wstring> ReadString(const wchar_t* name) override {
        const auto it = strings.find(name);
        return it == strings.end() ? std::nullopt : std::optional<std::wstring>(it->second);
    }
};

TEST(ReadSystemVersionTest, NeedsAllThreeValuesAndANumericBuild) {
    FakeRegistry registry;
    registry.dwords = {{L"CurrentMajorVersionNumber", 10}, {L"CurrentMinorVersionNumber", 0}};
    registry.strings = {{L"CurrentBuildNumber", L"14393"}};
    SystemVersion version = ReadSystemVersion(registry);
    EXPECT_TRUE(version.known);
    EXPECT_EQ(10u, version.major);
    EXPECT_EQ(0u, version.minor);
    EXPECT_EQ(14393u, version.build);

    for (const wchar_t* badBuild : {L"", L"14393a", L"-1", L"99999999999", L" 14393"}) {
        registry.strings[L"CurrentBuildNumber"] = badBuild;
        EXPECT_FALSE(ReadSystemVersion(registry).known) << testing::PrintToString(badBuild);
    }
    registry.strings[L"CurrentBuildNumber"] = L"4294967295";
    EXPECT_TRUE(ReadSystemVersion(registry).known);

    registry.dwords.erase(L"CurrentMinorVersionNumber");  // as on Windows 7
    EXPECT_FALSE(ReadSystemVersion(registry).known);
}

}  // namespace
}  // namespace orvik::pkgshared
