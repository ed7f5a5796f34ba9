#include <gtest/gtest.h>

#include "pack/PayloadCeiling.h"

namespace orvik::tools::pack {
namespace {

TEST(PayloadCeilingTest, UpToOneAndAHalfGibibytesIsCarried) {
    EXPECT_EQ(1610612736u, kMaxPayloadBytes);
    EXPECT_FALSE(PayloadTooLarge(0));
    EXPECT_FALSE(PayloadTooLarge(kMaxPayloadBytes));
    const auto reason = PayloadTooLarge(kMaxPayloadBytes + 1);
    ASSERT_TRUE(reason);
    EXPECT_EQ(
        L"the payload archive is 1610612737 bytes; an installer can carry at most 1610612736 "
        L"bytes (1.5 GiB), because a larger one cannot be loaded as a 32-bit program",
        *reason);
    // Sizes past 4 GiB are not cut to 32 bits on the way.
    EXPECT_TRUE(PayloadTooLarge((std::uint64_t{1} << 32) + 1));
}

}  // namespace
}  // namespace orvik::tools::pack
