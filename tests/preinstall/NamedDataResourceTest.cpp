#include <gtest/gtest.h>

#include <cstring>

#include "preinstall/NamedDataResource.h"

namespace orvik::pkgui::preinstall {
namespace {

// The test program carries "ORVIKPKG_TEST_DATA" ("0123456789") and an empty
// "ORVIKPKG_TEST_EMPTY" as RT_RCDATA resources.

TEST(NamedDataResourceTest, MissingResourceIsAbsentWithoutError) {
    const NamedDataResource payload(L"ORVIKPKG_PAYLOAD");
    EXPECT_FALSE(payload.Exists());
    EXPECT_EQ(nullptr, payload.GetData());
    EXPECT_EQ(0u, payload.GetSize());
}

TEST(NamedDataResourceTest, PresentResourceIsUsedInPlace) {
    const NamedDataResource first(L"ORVIKPKG_TEST_DATA");
    ASSERT_TRUE(first.Exists());
    ASSERT_EQ(10u, first.GetSize());
    EXPECT_EQ(0, std::memcmp("0123456789", first.GetData(), 10));
    const NamedDataResource second(L"orvikpkg_test_data");  // names ignore case
    EXPECT_EQ(first.GetData(), second.GetData());
}

TEST(NamedDataResourceTest, EmptyResourceIsAnError) {
    try {
        NamedDataResource empty(L"ORVIKPKG_TEST_EMPTY");
        FAIL() << "nothing was thrown";
    } catch (const PreInstallDataResourceError& e) {
        EXPECT_EQ(-126315, e.GetErrorCode());
        EXPECT_EQ(L"ORVIKPKG_TEST_EMPTY", e.GetMessageArgument1());
        EXPECT_NE(std::wstring::npos, e.GetMessageArgument0().find_first_of(L"0123456789"));
        EXPECT_EQ(std::wstring::npos, e.GetMessageArgument0().find(L'-'));  // unsigned
        EXPECT_STREQ(L"source\\preinstall\\NamedDataResource", e.GetSourceFile());
        EXPECT_EQ(72, e.GetLineNumber());
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
