#include <gtest/gtest.h>
#include <windows.h>
#include "shared/WindowsOsVersion.h"
#include "support/RegistryFixture.h"

namespace orvik::pkgshared {
namespace {
constexpr wchar_t kCurrentVersionKey[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";
// Each row writes the prefix's CurrentBuildNumber; the original goes back after.
TEST(WindowsOsVersionTest, RequiredBuildIsComparedWithTheRegistryBuild) {
    const auto original = RegistryKeyValueReader(HKEY_LOCAL_MACHINE, kCurrentVersionKey)
                              .ReadString(L"CurrentBuildNumber");
    ASSERT_TRUE(original);
    WindowsVersionVerifier verifier;
    for (const auto& [build, known, atLeast] :
         {std::tuple<const wchar_t*, bool, bool>{L"14392", true, false},
          {L"14393", true, true},
          {L"x", false, false},
          {original->c_str(), true, true}}) {
        orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, kCurrentVersionKey,
                                          L"CurrentBuildNumber", build, 0);
        EXPECT_EQ(known, ReadRunningSystemVersion().known) << build;
        const OsVersionEvaluator evaluator(ReadRunningSystemVersion(), verifier);
        EXPECT_EQ(atLeast, known && evaluator.Evaluate(kVersionGreaterOrEqual, 10, 0, 14393))
            << build;
        EXPECT_EQ(known && !atLeast, known && evaluator.Evaluate(kVersionLess, 10, 0, 14393))
            << build;
    }
}
// Without a known version the system's own version test answers.
TEST(WindowsOsVersionTest, SystemVersionTestAnswersForAnUnknownVersion) {
    WindowsVersionVerifier verifier;
    const auto future = verifier.Verify(IVersionVerifier::kGreaterEqual, 99, 0, std::nullopt);
    EXPECT_FALSE(future.matched);
    EXPECT_EQ(static_cast<std::uint32_t>(ERROR_OLD_WIN_VERSION), future.error);
    const OsVersionEvaluator unknown(SystemVersion{}, verifier);
    EXPECT_TRUE(unknown.Evaluate(kVersionGreaterOrEqual, 6, 1, -1));
    EXPECT_TRUE(unknown.Evaluate(kVersionNotEqual, 99, -1, -1));
    EXPECT_FALSE(unknown.Evaluate(kVersionEqual, 99, -1, -1));
}
}  // namespace
}  // namespace orvik::pkgshared
