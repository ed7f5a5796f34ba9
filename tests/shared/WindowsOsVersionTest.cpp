#include <gtest/gtest.h>

#include <windows.h>

#include "shared/WindowsOsVersion.h"
#include "support/RegistryFixture.h"

namespace orvik::pkgshared {
namespace {

constexpr wchar_t kCurrentVersionKey[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";

// Replaces the prefix's CurrentBuildNumber for the life of the object.
class ScopedBuildNumber {
public:
    explicit ScopedBuildNumber(const std::wstring& build)
        : original_(RegistryKeyValueReader(HKEY_LOCAL_MACHINE, kCurrentVersionKey)
                        .ReadString(L"CurrentBuildNumber")
                        .value_or(L"19045")) {
        Write(build);
    }
    ~ScopedBuildNumber() { Write(original_); }

private:
    static void Write(const std::wstring& value) {
        orvik::testing::SetRegistryString(HKEY_LOCAL_MACHINE, kCurrentVersionKey,
                                          L"CurrentBuildNumber", value, 0);
    }
    std::wstring original_;
};

TEST(WindowsOsVersionTest, RequiredBuildIsComparedWithTheRegistryBuild) {
    WindowsVersionVerifier verifier;
    for (const auto& [build, atLeast] :
         {std::pair<const wchar_t*, bool>{L"14392", false}, {L"14393", true}}) {
        const ScopedBuildNumber scoped(build);
        const OsVersionEvaluator evaluator(ReadRunningSystemVersion(), verifier);
        EXPECT_EQ(atLeast, evaluator.Evaluate(kVersionGreaterOrEqual, 10, 0, 14393)) << build;
        EXPECT_EQ(!atLeast, evaluator.Evaluate(kVersionLess, 10, 0, 14393)) << build;
    }
    const ScopedBuildNumber scoped(L"not a number");
    EXPECT_FALSE(ReadRunningSystemVersion().known);
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

TEST(RegistryKeyValueReaderTest, ReadsValuesOfTheRightTypeOnlyAndNothingOfAMissingKey) {
    const std::wstring key = L"Software\\OrvikPkgTests\\RegistryKeyValueReader";
    const DWORD number = 42;
    orvik::testing::SetRegistryValue(HKEY_CURRENT_USER, key, L"Number", REG_DWORD, &number,
                                     sizeof(number), 0);
    orvik::testing::SetRegistryString(HKEY_CURRENT_USER, key, L"Text", std::wstring(300, L'v'), 0);
    RegistryKeyValueReader reader(HKEY_CURRENT_USER, key.c_str());
    ASSERT_TRUE(reader.IsOpen());
    EXPECT_EQ(42u, reader.ReadDword(L"Number"));
    EXPECT_EQ(std::wstring(300, L'v'), reader.ReadString(L"Text"));  // longer than the first buffer
    EXPECT_EQ(std::nullopt, reader.ReadString(L"Number"));
    EXPECT_EQ(std::nullopt, reader.ReadDword(L"Text"));
    RegistryKeyValueReader missing(HKEY_CURRENT_USER, L"Software\\OrvikPkgTests\\NoSuchKey");
    EXPECT_FALSE(missing.IsOpen());
    orvik::testing::DeleteRegistryTree(HKEY_CURRENT_USER, key);
}

}  // namespace
}  // namespace orvik::pkgshared
