#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "shared/OsVersionEvaluator.h"

namespace orvik::pkgshared {
namespace {

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

constexpr int GE = kVersionGreaterOrEqual, EQ = kVersionEqual, NE = kVersionNotEqual,
              LT = kVersionLess, LE = kVersionLessOrEqual, GT = kVersionGreater,
              ALL = kVersionAlways;

// Minor -1 leaves minor and build out; minor decides before build; codes
// outside 1..6 are false.
TEST(OsVersionEvaluatorTest, ComparesAKnownSystemVersion) {
    StrictMock<MockVerifier> verifier;  // never asked while the version is known
    const OsVersionEvaluator evaluator(Windows10(14393), verifier);
    const std::tuple<int, std::int32_t, std::int32_t, std::int32_t, bool> rows[] = {
        {GE, 10, 0, 14393, true}, {GE, 10, 0, 14394, false}, {GE, 10, -1, 99999, true},
        {GE, 10, 0, -1, true},    {EQ, 10, 0, 14393, true},  {EQ, 10, 0, 14392, false},
        {LT, 10, 0, 14394, true}, {LT, 11, 0, 0, true},      {LT, 6, 3, 99999, false},
        {LE, 10, 0, 14393, true}, {GT, 6, 3, 9600, true},    {GT, 10, 0, 14393, false},
        {GT, 10, 1, 0, false},    {NE, 10, 0, 14393, false}, {NE, 10, 0, 1, true},
        {ALL, -5, -1, -1, true},  {EQ, -1, 0, 0, false},     {8, 10, 0, 14393, false},
        {0, 10, 0, 14393, false}};
    for (const auto& [comparison, major, minor, build, expected] : rows) {
        EXPECT_EQ(expected, evaluator.Evaluate(comparison, major, minor, build))
            << comparison << " " << major << "." << minor << "." << build;
    }
    // Unknown stored parts are not compared.
    const OsVersionEvaluator partial(SystemVersion{true, 10, SystemVersion::kUnknown, 1}, verifier);
    EXPECT_TRUE(partial.Evaluate(EQ, 10, 5, 99999));
}

// An unknown version asks the system test (not equal asks for equality and
// inverts the answer; an error is false); codes outside 1..6 never ask.
TEST(OsVersionEvaluatorTest, UnknownVersionAsksTheSystemTest) {
    StrictMock<MockVerifier> verifier;
    const OsVersionEvaluator evaluator(SystemVersion{}, verifier);
    using C = IVersionVerifier;
    using Part = std::optional<std::uint32_t>;
    constexpr std::uint32_t kOld = 1150;  // the system is older than Windows 10
    const struct {
        int comparison;
        std::int32_t major, minor, build;
        C::Condition condition;
        Part minorAsked, buildAsked;
        C::Result answer;
        bool expected;
    } rows[] = {{GE, 10, 0, 14393, C::kGreaterEqual, 0, 14393, {true, 0}, true},
                {LT, 6, -1, -1, C::kLess, {}, {}, {true, 0}, true},
                {LE, 6, 1, -1, C::kLessEqual, 1, {}, {true, 0}, true},
                {GT, 5, 0, 0, C::kGreater, 0, 0, {true, 0}, true},
                {GT, 5, 0, 0, C::kGreater, 0, 0, {false, 0}, false},
                {NE, 10, 0, 0, C::kEqual, 0, 0, {true, 0}, false},
                {NE, 10, 0, 0, C::kEqual, 0, 0, {false, kOld}, true},
                {EQ, 10, 0, 0, C::kEqual, 0, 0, {false, kOld}, false},
                {NE, 10, 0, 0, C::kEqual, 0, 0, {false, 87}, false},
                {EQ, 10, 0, 0, C::kEqual, 0, 0, {false, 87}, false}};
    for (const auto& row : rows) {
        SCOPED_TRACE(::testing::Message() << row.comparison << " " << row.answer.error);
        EXPECT_CALL(verifier, Verify(row.condition, static_cast<std::uint32_t>(row.major),
                                     Eq(row.minorAsked), Eq(row.buildAsked)))
            .WillOnce(Return(row.answer));
        EXPECT_EQ(row.expected,
                  evaluator.Evaluate(row.comparison, row.major, row.minor, row.build));
        ::testing::Mock::VerifyAndClearExpectations(&verifier);
    }
    EXPECT_TRUE(evaluator.Evaluate(ALL, 10, 0, 0));
    EXPECT_FALSE(evaluator.Evaluate(9, 10, 0, 0));
    EXPECT_FALSE(evaluator.Evaluate(GT, -1, 0, 0));
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
    // Build texts and the build they give; 0: the version is not known.
    const std::pair<const wchar_t*, std::uint32_t> builds[] = {
        {L"14393", 14393}, {L"4294967295", 4294967295u}, {L"", 0},      {L"14393a", 0},
        {L"-1", 0},        {L"99999999999", 0},          {L" 14393", 0}};
    for (const auto& [text, build] : builds) {
        registry.strings[L"CurrentBuildNumber"] = text;
        const SystemVersion version = ReadSystemVersion(registry);
        EXPECT_EQ(build != 0, version.known) << ::testing::PrintToString(text);
        if (build != 0) {
            EXPECT_EQ(10u, version.major);
            EXPECT_EQ(0u, version.minor);
            EXPECT_EQ(build, version.build);
        }
    }
    registry.strings[L"CurrentBuildNumber"] = L"14393";
    registry.dwords.erase(L"CurrentMinorVersionNumber");  // as on Windows 7
    EXPECT_FALSE(ReadSystemVersion(registry).known);
}

}  // namespace
}  // namespace orvik::pkgshared
