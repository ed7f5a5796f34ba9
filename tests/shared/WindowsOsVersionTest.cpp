#include <gtest/gtest.h>

#include <windows.h>

#include "shared/WindowsOsVersion.h"

namespace orvik::pkgshared {
namespace {

constexpr wchar_t kCurrentVersionKey[] = L"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion";

// Replaces the system's CurrentBuildNumber for the life of the object, then
// puts the original text back. Only ever used inside the test prefix.
class ScopedBuildNumber {
public:
    explicit ScopedBuildNumber(const std::wstring& build) {
        RegistryKeyValueReader reader(HKEY_LOCAL_MACHINE, kCurrentVersionKey);
        original_ = reader.ReadString(L"CurrentBuildNumber");
        Write(build);
    }
    ~ScopedBuildNumber() {
        if (original_) {
            Write(*original_);
        }
    }

private:
    static void Write(const std::wstring& value) {
        UniqueHkey key;
        ASSERT_EQ(ERROR_SUCCESS, ::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kCurrentVersionKey, 0,
                                                 KEY_SET_VALUE, key.put()));
        ASSERT_EQ(ERROR_SUCCESS,
                  ::RegSetValueExW(key.get(), L"CurrentBuildNumber", 0, REG_SZ,
                                   reinterpret_cast<const BYTE*>(value.c_str()),
                                   static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))));
    }
    std::optional<std::wstring> original_;
};

TEST(WindowsOsVersionTest, ReadsTheRunningSystemFromTheRegistry) {
    const SystemVersion version = ReadRunningSystemVersion();
    ASSERT_TRUE(version.known);  // the test prefix reports Windows 10
    EXPECT_EQ(10u, version.major);
    EXPECT_EQ(0u, version.minor);
    EXPECT_GE(version.build, 10240u);
    EXPECT_TRUE(MakeRunningSystemEvaluator().Evaluate(kVersionGreaterOrEqual, 10, 0, 10240));
}

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

TEST(WindowsOsVersionTest, SystemVersionTestAnswersLikeTheRegistry) {
    WindowsVersionVerifier verifier;
    const auto atLeast = verifier.Verify(IVersionVerifier::kGreaterEqual, 6, 1, std::nullopt);
    EXPECT_TRUE(atLeast.matched);
    const auto future = verifier.Verify(IVersionVerifier::kGreaterEqual, 99, 0, std::nullopt);
    EXPECT_FALSE(future.matched);
    EXPECT_EQ(static_cast<std::uint32_t>(ERROR_OLD_WIN_VERSION), future.error);

    const OsVersionEvaluator unknown(SystemVersion{}, verifier);
    EXPECT_TRUE(unknown.Evaluate(kVersionGreaterOrEqual, 6, 1, -1));
    EXPECT_TRUE(unknown.Evaluate(kVersionNotEqual, 99, -1, -1));
    EXPECT_FALSE(unknown.Evaluate(kVersionEqual, 99, -1, -1));
}

// Values of a throwaway key under HKEY_CURRENT_USER, removed afterwards.
class RegistryKeyValueReaderTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(ERROR_SUCCESS, ::RegCreateKeyExW(HKEY_CURRENT_USER, kKey, 0, nullptr, 0,
                                                   KEY_ALL_ACCESS, nullptr, key_.put(), nullptr));
        const DWORD number = 42;
        ::RegSetValueExW(key_.get(), L"Number", 0, REG_DWORD,
                         reinterpret_cast<const BYTE*>(&number), sizeof(number));
        SetString(L"Text", std::wstring(300, L'v'));
    }
    void TearDown() override {
        key_.reset();
        ::RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
    }
    void SetString(const wchar_t* name, const std::wstring& value) {
        ::RegSetValueExW(key_.get(), name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                         static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    }
    static constexpr wchar_t kKey[] = L"Software\\OrvikPkgTests\\RegistryKeyValueReader";
    UniqueHkey key_;
};

TEST_F(RegistryKeyValueReaderTest, ReadsValuesOfTheRightTypeOnlyAndNothingOfAMissingKey) {
    RegistryKeyValueReader reader(HKEY_CURRENT_USER, kKey);
    ASSERT_TRUE(reader.IsOpen());
    EXPECT_EQ(42u, reader.ReadDword(L"Number"));
    EXPECT_EQ(std::wstring(300, L'v'), reader.ReadString(L"Text"));  // longer than the first buffer
    EXPECT_EQ(std::nullopt, reader.ReadString(L"Number"));
    EXPECT_EQ(std::nullopt, reader.ReadDword(L"Text"));
    EXPECT_EQ(std::nullopt, reader.ReadDword(L"Missing"));
    RegistryKeyValueReader missing(HKEY_CURRENT_USER, L"Software\\OrvikPkgTests\\NoSuchKey");
    EXPECT_FALSE(missing.IsOpen());
    EXPECT_EQ(std::nullopt, missing.ReadDword(L"Number"));
    EXPECT_EQ(std::nullopt, missing.ReadString(L"Text"));
}

}  // namespace
}  // namespace orvik::pkgshared
