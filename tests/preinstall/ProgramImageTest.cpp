#include <gtest/gtest.h>

#include "preinstall/ProgramImage.h"
#include "support/ScratchDirectory.h"
#include "support/TestData.h"

namespace orvik::pkgui::preinstall {
namespace {

// An MS-DOS header naming `offset`, padded to `size`, with `signature` at
// the offset when it fits.
std::string Image(std::uint32_t offset, size_t size, const std::string& signature) {
    std::string bytes(size, '\0');
    bytes[0] = 'M';
    bytes[1] = 'Z';
    for (size_t i = 0; i < 4; ++i) {
        bytes[0x3C + i] = static_cast<char>((offset >> (8 * i)) & 0xFF);
    }
    if (offset + signature.size() <= size) {
        bytes.replace(offset, signature.size(), signature);
    }
    return bytes;
}

TEST(ProgramImageTest, DosHeaderNamesThePeHeader) {
    EXPECT_EQ(0x80, PeHeaderOffset(Image(0x80, 64, "")));
    EXPECT_EQ(0x12345678, PeHeaderOffset(Image(0x12345678, 64, "")));
    EXPECT_EQ(-1, PeHeaderOffset(std::string(64, 'M')));
    EXPECT_EQ(-1, PeHeaderOffset("MZ"));  // shorter than a header
}

TEST(ProgramImageTest, OnlyFilesWithBothSignaturesArePrograms) {
    const orvik::testing::ScratchDirectory scratch;
    const std::pair<std::string, bool> cases[] = {
        {Image(0x80, 512, std::string("PE\0\0", 4)), true},   {Image(0x80, 512, "PX"), false},
        {Image(0x80, 0x82, std::string("PE\0\0", 4)), false},  // cut inside the signature
        {Image(0x10, 512, std::string("PE\0\0", 4)), false},   // inside the MS-DOS header
        {orvik::testing::RandomBytes(4096, 9), false},        {"", false},
    };
    int index = 0;
    for (const auto& [bytes, program] : cases) {
        const auto file = scratch / (L"f" + std::to_wstring(index++) + L".exe").c_str();
        orvik::testing::WriteBytes(file, bytes);
        EXPECT_EQ(program, IsProgramImage(file.wstring())) << index;
    }
    EXPECT_FALSE(IsProgramImage((scratch / L"missing.exe").wstring()));
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
