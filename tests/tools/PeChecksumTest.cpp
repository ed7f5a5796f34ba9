#include "pack/PeChecksum.h"

#include <gtest/gtest.h>

#include "ImageBytes.h"
#include "support/TestData.h"

namespace orvik::tools::pack {
namespace {

// Cut anywhere, at odd places and across the CheckSum field too, a file's bytes give the checksum
// they give whole (which ResourceWriterTest holds against Windows' own).
TEST(PeChecksumTest, PiecesCutAnywhereGiveTheChecksumOfTheWhole) {
    const std::string bytes = orvik::testing::RandomBytes(4099, 9);
    PeChecksum whole(71);
    whole.Add(Span(bytes));
    for (const std::size_t cut : {0, 1, 2, 3, 70, 71, 72, 73, 74, 75, 76, 1001, 4098}) {
        SCOPED_TRACE(cut);
        PeChecksum checksum(71);
        for (const std::string& piece :
             {bytes.substr(0, cut), bytes.substr(cut, 1), bytes.substr(cut + 1)}) {
            checksum.Add(Span(piece));
        }
        EXPECT_EQ(whole.Value(), checksum.Value());
    }
}

}  // namespace
}  // namespace orvik::tools::pack
