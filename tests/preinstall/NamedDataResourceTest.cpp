#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>

#include "preinstall/NamedDataResource.h"
#include "support/Thrown.h"

namespace orvik::pkgui::preinstall {
namespace {

// The test program carries "ORVIKPKG_TEST_DATA" ("0123456789") and an empty
// "ORVIKPKG_TEST_EMPTY" as RT_RCDATA resources.
TEST(NamedDataResourceTest, MissingIsAbsentPresentIsUsedInPlaceEmptyIsAnError) {
    const NamedDataResource missing(L"ORVIKPKG_PAYLOAD");
    EXPECT_FALSE(missing.Exists());
    EXPECT_EQ(nullptr, missing.GetData());
    EXPECT_EQ(0u, missing.GetSize());

    const NamedDataResource first(L"ORVIKPKG_TEST_DATA");
    ASSERT_TRUE(first.Exists());
    ASSERT_EQ(10u, first.GetSize());
    EXPECT_EQ(0, std::memcmp("0123456789", first.GetData(), 10));
    EXPECT_EQ(first.GetData(), NamedDataResource(L"orvikpkg_test_data").GetData());  // any case

    // Finding an empty resource leaves the thread's last error as it was.
    const auto empty = [] {
        ::SetLastError(0x80070057);
        NamedDataResource(L"ORVIKPKG_TEST_EMPTY");
    };
    orvik::testing::ExpectThrows(empty, {-126315,
                                         {L"2147942487", L"ORVIKPKG_TEST_EMPTY"},
                                         L"source\\preinstall\\NamedDataResource",
                                         72});
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
