#include "pack/TemplateCheck.h"

#include <gtest/gtest.h>

#include "ImageBytes.h"
#include "support/ScratchDirectory.h"
#include "support/TestData.h"

namespace orvik::tools::pack {
namespace {

// The 32-bit probe passes as a template, signed too (installers packed from it pass as well, see
// ResourceWriterTest); each patch makes it what its refusal says. Both trees read both probes:
// each tree builds one, and both are built before the tests run.
TEST(TemplateCheckTest, OnlyA32BitGuiProgramWithTheMarkPasses) {
    using orvik::testing::BinFile, orvik::testing::ReadBytes;
    const std::string probe = ReadBytes(BinFile(L"payload_probe.exe"));
    const std::size_t fileHeader = Get32(probe, 0x3c) + 4, optional = fileHeader + 20;
    const auto patched = [&](std::size_t at, char byte) {
        std::string image = probe;
        image[at] = byte;
        return image;
    };
    const std::u16string mark = u"ORVIKPKG_TEMPLATE";
    const std::size_t name =
        probe.find(std::string(reinterpret_cast<const char*>(mark.data()), 2 * mark.size()));
    ASSERT_NE(std::string::npos, name);
    const std::wstring other = L"a Windows program but not an installer template";
    const struct {
        std::string image;
        std::wstring found;
        bool certificate;
    } rows[] = {
        {probe, L"", false},
        {Signed(probe), L"", true},
        {ReadBytes(BinFile(L"payload_probe64.exe")), L"a 64-bit program", false},
        {patched(fileHeader, '\x64'), L"a 64-bit program", false},  // machine 0x8664: x64
        {patched(optional + 1, 2), L"a 64-bit program", false},     // magic 0x20b: PE32+
        {patched(optional + 68, 3), other, false},                  // the console subsystem
        {patched(fileHeader + 19, probe[fileHeader + 19] | 0x20), other, false},  // a DLL
        {patched(name + 2 * mark.size() - 2, 'X'), other, false},  // ORVIKPKG_TEMPLATX
        {patched(0, 'X'), L"not a Windows program", false},
        {"", L"not a Windows program", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        const TemplateCheck check = CheckTemplate(Span(row.image));
        EXPECT_EQ(row.found, check.found);
        EXPECT_EQ(row.found.empty() ? L"1.2.3.4" : L"", check.version);
        EXPECT_EQ(row.certificate, check.hasCertificate);
    }
}

}  // namespace
}  // namespace orvik::tools::pack
