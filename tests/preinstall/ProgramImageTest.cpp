#include <gtest/gtest.h>

#include "preinstall/ProgramImage.h"
#include "support/ScratchDirectory.h"
#include "support/TestData.h"

namespace orvik::pkgui::preinstall {
namespace {

// An MS-DOS header naming `offset`, padded to `size`, with "PE\0\0" at the
// offset when it fits.
std::string Image(std::uint32_t offset, size_t size, std::string signature = {"PE\0\0", 4}) {
    std::string bytes(size, '\0');
    bytes.replace(0, 2, "MZ");
    for (size_t i = 0; i < 4; ++i) {
        bytes[0x3C + i] = static_cast<char>((offset >> (8 * i)) & 0xFF);
    }
    if (offset + signature.size() <= size) {
        bytes.replace(offset, signature.size(), signature);
    }
    return bytes;
}

TEST(ProgramImageTest, OnlyFilesWithBothSignaturesArePrograms) {
    EXPECT_EQ(0x12345678, PeHeaderOffset(Image(0x12345678, 64)));
    EXPECT_EQ(-1, PeHeaderOffset(std::string(64, 'M')));
    EXPECT_EQ(-1, PeHeaderOffset("MZ"));  // shorter than a header
    const orvik::testing::ScratchDirectory scratch;
    const std::pair<std::string, bool> cases[] = {
        {Image(0x80, 512), true},
        {Image(0x80, 512, "PX"), false},
        {Image(0x80, 0x82), false},  // cut inside the signature
        {Image(0x10, 512), false},   // inside the MS-DOS header
        {orvik::testing::RandomBytes(4096, 9), false},
        {"", false},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        const auto file = scratch / (L"f" + std::to_wstring(i) + L".exe").c_str();
        orvik::testing::WriteBytes(file, cases[i].first);
        EXPECT_EQ(cases[i].second, IsProgramImage(file.wstring())) << i;
    }
    EXPECT_FALSE(IsProgramImage((scratch / L"missing.exe").wstring()));
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
