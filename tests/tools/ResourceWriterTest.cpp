#include "pack/ResourceWriter.h"

#include <windows.h>

#include <gtest/gtest.h>
#include <imagehlp.h>

#include <stdexcept>

#include "ImageBytes.h"
#include "pack/TemplateCheck.h"
#include "support/ChildProcess.h"

namespace orvik::tools::pack {
namespace {
using orvik::testing::ReadBytes;

// Written either way from the 32-bit probe (the resource section rebuilt, or, when the section
// after it is not discardable, through the system's update functions), an installer leaves out
// the certificate table of a signed template, says so, passes the template check and carries the
// CheckSum that Windows computes for it. An exception from the commit question leaves no file.
TEST(ResourceWriterTest, SignaturesAreDroppedAndChecksumsMatchWindows) {
    const orvik::testing::ScratchDirectory scratch;
    const std::string probe = ReadBytes(orvik::testing::BinDirectory() + L"\\payload_probe.exe");
    std::string fixed = probe;
    fixed[SectionHeader(probe, ".rsrc") + 40 + 36 + 3] &= ~0x02;
    const auto templatePath = scratch / L"template.exe", output = scratch / L"out.exe";
    // Of odd length, so that the checksum carries a byte from one piece to the next.
    const std::vector<ResourceInput> added{
        {L"ORVIKPKG_PAYLOAD", {}, orvik::testing::RandomBytes(100001, 5)}};
    const std::string templates[] = {probe, Signed(probe), fixed, Signed(fixed)};
    for (const std::string& image : templates) {
        SCOPED_TRACE(&image - templates);
        orvik::testing::WriteBytes(templatePath, image);
        std::wstring error;
        bool dropped = false;
        ASSERT_TRUE(WriteResources(
            templatePath.wstring(), output.wstring(), added, [] { return true; }, error, &dropped))
            << orvik::pkgshared::WideToUtf8(error);
        const std::string written = ReadBytes(output);
        EXPECT_EQ(image.size() > probe.size(), dropped);
        const TemplateCheck check = CheckTemplate(Span(written));
        EXPECT_EQ(L"1.2.3.4", check.version);
        EXPECT_FALSE(check.hasCertificate);
        EXPECT_EQ(std::string::npos, written.find(kCertificate));
        DWORD header = 0, computed = 0;
        EXPECT_EQ(CHECKSUM_SUCCESS, ::MapFileAndCheckSumW(output.c_str(), &header, &computed));
        EXPECT_EQ(computed, header);
    }
    const auto refuse = []() -> bool { throw std::runtime_error("the payload check failed"); };
    std::wstring error;
    boost::filesystem::remove(output);
    EXPECT_THROW(WriteResources(templatePath.wstring(), output.wstring(), added, refuse, error),
                 std::runtime_error);
    EXPECT_FALSE(boost::filesystem::exists(scratch / L"out.exe.partial"));
    EXPECT_FALSE(boost::filesystem::exists(output));
}

}  // namespace
}  // namespace orvik::tools::pack
