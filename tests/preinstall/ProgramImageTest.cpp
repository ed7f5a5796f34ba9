#include <gtest/gtest.h>

#include "preinstall/ProgramImage.h"
#include "support/ScratchDirectory.h"
#include "support/TestData.h"

namespace orvik::pkgui::preinstall {
namespace {

// `size` bytes: "MZ", `offset` at 0x3C, and "PE\0\0" at the offset when it fits.
std::string Image(std::uint32_t offset, size_t size, std::string signature = {"PE\0\0", 4}) {
    std::string bytes(std::max<size_t>(size, 64), '\0');
    bytes.replace(0, 2, "MZ");
    for (size_t i = 0; i < 4; ++i) {
        bytes[0x3C + i] = static_cast<char>((offset >> (8 * i)) & 0xFF);
    }
    bytes.replace(std::min<size_t>(offset, size), signature.size(), signature);
    return bytes.substr(0, size);
}

TEST(ProgramImageTest, OnlyFilesWithBothSignaturesArePrograms) {
    EXPECT_EQ(0x12345678, PeHeaderOffset(Image(0x12345678, 64)));
    EXPECT_EQ(-1, PeHeaderOffset(std::string(64, 'M')));
    EXPECT_EQ(-1, PeHeaderOffset(Image(0x40, 63)));
    const orvik::testing::ScratchDirectory scratch;
    const std::pair<std::string, bool> cases[] = {{Image(0x40, 512), true},
                                                  {Image(0x80, 512, "PX"), false},
                                                  {Image(0x80, 0x83), false},
                                                  {Image(0x38, 512), false},
                                                  {"", false}};
    for (size_t i = 0; i < std::size(cases); ++i) {
        const auto file = scratch / (L"f" + std::to_wstring(i) + L".exe").c_str();
        orvik::testing::WriteBytes(file, cases[i].first);
        EXPECT_EQ(cases[i].second, IsProgramImage(file.wstring())) << i;
    }
    EXPECT_FALSE(IsProgramImage((scratch / L"missing.exe").wstring()));
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
