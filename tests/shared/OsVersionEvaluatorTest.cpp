#include <gtest/gtest.h>

#include <map>

#include "shared/OsVersionEvaluator.h"

namespace orvik::pkgshared {
namespace {

// Answers `answer`; records questions as "condition major.minor.build;" ('-': left out).
struct FakeVerifier : IVersionVerifier {
    Result Verify(Condition condition, std::uint32_t major, std::optional<std::uint32_t> minor,
                  std::optional<std::uint32_t> build) override {
        auto part = [](auto value) { return value ? std::to_string(*value) : std::string("-"); };
        asked += std::to_string(condition) + " " + std::to_string(major) + "." + part(minor) + "." +
                 part(build) + ";";
        return answer;
    }
    Result answer{true, 0};
    std::string asked;
};

constexpr int EQ = kVersionEqual, LT = kVersionLess, LE = kVersionLessOrEqual, GT = kVersionGreater,
              GE = kVersionGreaterOrEqual, NE = kVersionNotEqual, ALL = kVersionAlways;

// Minor -1 leaves minor and build out; minor decides before build; codes
// outside 1..7 are false; a known version never asks the system test.
TEST(OsVersionEvaluatorTest, ComparesAKnownSystemVersion) {
    FakeVerifier verifier;
    const OsVersionEvaluator evaluator(SystemVersion{true, 10, 0, 14393}, verifier);
    const std::tuple<int, std::int32_t, std::int32_t, std::int32_t, bool> rows[] = {
        {GE, 10, 0, 14393, true},  {GE, 10, 0, 14394, false}, {GE, 10, -1, 99999, true},
        {GE, 10, 0, -1, true},     {EQ, 10, 0, 14393, true},  {EQ, 10, 0, 14392, false},
        {LT, 10, 0, 14394, true},  {LE, 10, 0, 14393, true},  {LE, 10, 0, 14392, false},
        {GT, 6, 3, 9600, true},    {GT, 10, 0, 14393, false}, {GT, 10, 1, 0, false},
        {NE, 10, 0, 14393, false}, {NE, 10, 0, 1, true},      {ALL, -5, -1, -1, true},
        {EQ, -1, 0, 0, false},     {8, 10, 0, 14393, false}};
    for (const auto& [comparison, major, minor, build, expected] : rows) {
        EXPECT_EQ(expected, evaluator.Evaluate(comparison, major, minor, build))
            << comparison << " " << major << "." << minor << "." << build;
    }
    const OsVersionEvaluator partial(SystemVersion{true, 10, SystemVersion::kUnknown, 1}, verifier);
    EXPECT_TRUE(partial.Evaluate(EQ, 10, 5, 99999));  // unknown stored parts are not compared
    EXPECT_EQ("", verifier.asked);
}

// An unknown version asks the system test: not equal asks for equality and
// inverts the answer; "older than asked" (1150) is a no, another error false.
TEST(OsVersionEvaluatorTest, UnknownVersionAsksTheSystemTest) {
    FakeVerifier verifier;
    const OsVersionEvaluator evaluator(SystemVersion{}, verifier);
    // Comparison, version, answer (-1: a match, else that error), question asked, result.
    const std::tuple<int, std::int32_t, std::int32_t, std::int32_t, int, const char*, bool> rows[] =
        {{GE, 10, 0, 14393, -1, "3 10.0.14393;", true},
         {LT, 6, -1, -1, -1, "4 6.-.-;", true},
         {LE, 6, 1, -1, -1, "5 6.1.-;", true},
         {GT, 5, 0, 0, 0, "2 5.0.0;", false},
         {NE, 10, 0, 0, -1, "1 10.0.0;", false},
         {NE, 10, 0, 0, 1150, "1 10.0.0;", true},
         {EQ, 10, 0, 0, 1150, "1 10.0.0;", false},
         {NE, 10, 0, 0, 87, "1 10.0.0;", false},
         {ALL, 10, 0, 0, 0, "", true},
         {9, 10, 0, 0, -1, "", false},
         {GT, -1, 0, 0, -1, "", false}};
    for (const auto& [comparison, major, minor, build, answer, asked, expected] : rows) {
        verifier.answer = {answer < 0, static_cast<std::uint32_t>(answer < 0 ? 0 : answer)};
        verifier.asked.clear();
        EXPECT_EQ(expected, evaluator.Evaluate(comparison, major, minor, build)) << asked;
        EXPECT_EQ(asked, verifier.asked);
    }
}

struct FakeRegistry : IRegistryValueReader {
    std::optional<std::uint32_t> ReadDword(const wchar_t* name) override {
        return dwords.count(name) != 0 ? std::optional<std::uint32_t>(dwords[name]) : std::nullopt;
    }
    std::optional<std::wstring> ReadString(const wchar_t* name) override {
        return std::wstring(name) == L"CurrentBuildNumber" ? std::optional(build) : std::nullopt;
    }
    std::map<std::wstring, std::uint32_t> dwords{{L"CurrentMajorVersionNumber", 10},
                                                 {L"CurrentMinorVersionNumber", 3}};
    std::wstring build;
};

// Build texts and the build they give; 0: the version is not known.
TEST(ReadSystemVersionTest, NeedsAllThreeValuesAndANumericBuild) {
    FakeRegistry registry;
    const std::pair<const wchar_t*, std::uint32_t> builds[] = {
        {L"14393", 14393},  {L"4294967295", 4294967295u},
        {L"4294967296", 0}, {L"99999999999", 0},
        {L"", 0},           {L"14393a", 0}};
    for (const auto& [text, build] : builds) {
        registry.build = text;
        const SystemVersion version = ReadSystemVersion(registry);
        EXPECT_EQ(build != 0, version.known) << text;
        EXPECT_EQ(build != 0 ? build : SystemVersion::kUnknown, version.build) << text;
    }
    registry.build = L"14393";
    EXPECT_EQ(10u, ReadSystemVersion(registry).major);
    EXPECT_EQ(3u, ReadSystemVersion(registry).minor);
    registry.dwords.erase(L"CurrentMinorVersionNumber");  // as on Windows 7
    EXPECT_FALSE(ReadSystemVersion(registry).known);
}

}  // namespace
}  // namespace orvik::pkgshared
