#include <gtest/gtest.h>
#include <windows.h>
#include "shared/WindowsOsVersion.h"

namespace orvik::pkgshared {
namespace {
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
