#include <gtest/gtest.h>

#include "pack/PayloadCeiling.h"

namespace orvik::tools::pack {
namespace {

// The boundaries of the ceiling; its message is checked through the tool.
TEST(PayloadCeilingTest, TheCeilingItselfIsCarriedOneByteMoreIsNot) {
    EXPECT_FALSE(PayloadTooLarge(0));
    EXPECT_FALSE(PayloadTooLarge(kMaxPayloadBytes));
    EXPECT_TRUE(PayloadTooLarge(kMaxPayloadBytes + 1));
    EXPECT_TRUE(PayloadTooLarge((std::uint64_t{1} << 32) + 1));  // not cut to 32 bits
}

}  // namespace
}  // namespace orvik::tools::pack
