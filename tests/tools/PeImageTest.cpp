// The packing tool's reading, checking and writing of PE images, over the probe's bytes.
#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "ImageBytes.h"
#include "pack/PeChecksum.h"
#include "pack/RebuiltImage.h"
#include "pack/ResourceWriter.h"
#include "pack/TemplateCheck.h"
#include "support/ScratchDirectory.h"
#include "support/TestData.h"

namespace orvik::tools::pack {
namespace {
using orvik::testing::BinFile, orvik::testing::ReadBytes;

// The probe stands in for the template (PE32 in one tree, PE32+ in the other): it rebuilds, and
// each layout that would come out broken is refused with its reason, so the Windows tool falls
// back to the system's update functions and the Linux tool refuses the template.
TEST(RebuiltImageTest, ImagesItCannotRebuildSayWhy) {
    const std::string probe = ReadBytes(BinFile(ORVIK_PAYLOAD_PROBE_NAME));
    const std::size_t directories = HeadersOf(probe).directories;
    const std::size_t resources = SectionHeader(probe, ".rsrc");
    ASSERT_NE(0u, resources);
    const auto changed = [&](std::size_t at, std::uint32_t value) {
        std::string image = probe;
        Put32(image, at, value);
        return image;
    };
    const std::string data = "data";
    const AddedResource payload{u"orvikpkg_payload",
                                {reinterpret_cast<const unsigned char*>(data.data()), 4}};
    const struct {
        std::string image;
        std::vector<AddedResource> added;
        std::string why;
    } rows[] = {
        {probe, {payload}, ""},
        {probe.substr(0, 0x200), {payload}, "not a PE image"},
        {changed(0x3c, 0x7fffffff), {payload}, "not a PE image"},
        // A certificate no longer stands in the way: it is left out.
        {Signed(probe), {payload}, ""},
        {changed(resources + 16, Get32(probe, resources + 16) - 1),
         {payload},
         "the resource section's size in the file is not a multiple of the file alignment"},
        {changed(directories + 8 * 2, Get32(probe, directories + 8 * 2) + 8),
         {payload},
         "the resource directory does not start a section"},
        // The section after the resources no longer discardable.
        {changed(resources + 40 + 36, Get32(probe, resources + 40 + 36) & ~0x02000000u),
         {payload},
         "a section after the resources is not a discardable one"},
        {changed(directories + 8 * 1, Get32(probe, resources + 40 + 12)),
         {payload},
         "a data directory points into a section after the resources"},
        // The root directory claims 0xffff entries.
        {changed(Get32(probe, resources + 20) + 12, 0xffffffff),
         {payload},
         "the resource directory is not well formed"},
        {probe,
         {payload, {u"ORVIKPKG_PAYLOAD", payload.bytes}},
         "added resources need distinct ASCII names"},
        {probe, {{u"\u00c9", payload.bytes}}, "added resources need distinct ASCII names"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        std::string why;
        const auto rebuilt = RebuiltImage::Make(Span(row.image), row.added, why);
        EXPECT_EQ(row.why.empty(), rebuilt != nullptr);
        EXPECT_EQ(row.why, why.substr(0, row.why.size()));
    }
}

// Rebuilt around resources of any size, or one that replaces a resource of its own, the image
// keeps every other section's bytes, every data directory's contents and its symbols, and its
// size in memory covers its sections.
TEST(RebuiltImageTest, EverythingButTheResourcesComesOutAsItWent) {
    const std::string probe = ReadBytes(BinFile(ORVIK_PAYLOAD_PROBE_NAME));
    const PeHeaders in = HeadersOf(probe);
    const std::string big = orvik::testing::RandomBytes(5 << 20, 3);
    const std::string x = "x", y = "y", z = "z";
    for (const auto& added : {std::vector<AddedResource>{{u"A", Span(x)}},
                              std::vector<AddedResource>{{u"A", Span(big)}, {u"B", Span(y)}},
                              std::vector<AddedResource>{{u"PROBE_NOTE", Span(z)}}}) {
        SCOPED_TRACE(added.size());
        std::string why;
        const auto rebuilt = RebuiltImage::Make(Span(probe), added, why);
        ASSERT_NE(nullptr, rebuilt) << why;
        std::string image;
        for (const ByteSpan& piece : rebuilt->Pieces()) {
            image.append(reinterpret_cast<const char*>(piece.data), piece.size);
        }
        const PeHeaders out = HeadersOf(image);
        ASSERT_EQ(in.sections.size(), out.sections.size());
        std::uint64_t end = 0;
        for (std::size_t i = 0; i < out.sections.size(); ++i) {
            const PeSection &was = in.sections[i], &is = out.sections[i];
            const std::string name = probe.substr(was.header, 8);
            EXPECT_EQ(name, image.substr(is.header, 8));
            if (name.rfind(".rsrc", 0) != 0) {
                EXPECT_EQ(probe.substr(was.rawOffset, was.rawSize),
                          image.substr(is.rawOffset, is.rawSize))
                    << name;
            }
            end = std::max<std::uint64_t>(end, is.rva + is.virtualSize);
        }
        EXPECT_LE(end, Get32(image, out.optional + 56));
        for (int d = 0; d < 16; ++d) {
            const std::uint32_t size = in.DirectorySize(d);
            const unsigned char *was = in.At(Span(probe), in.DirectoryRva(d), size),
                                *is = out.At(Span(image), out.DirectoryRva(d), size);
            if (d != PeHeaders::kResourceDirectory && size != 0) {
                EXPECT_TRUE(was && is && std::memcmp(was, is, size) == 0) << d;
            }
        }
        EXPECT_EQ(probe.substr(Get32(probe, in.fileHeader + 8)),
                  image.substr(Get32(image, out.fileHeader + 8)));  // the symbols
    }
}

// The 32-bit probe passes as a template, signed too (installers packed from it pass as well, see
// ResourceWriterTest); each patch makes it what its refusal says. Both trees read both probes:
// each tree builds one, and both are built before the tests run.
TEST(TemplateCheckTest, OnlyA32BitGuiProgramWithTheMarkPasses) {
    const std::string probe = ReadBytes(BinFile(L"payload_probe.exe"));
    const std::size_t fileHeader = HeadersOf(probe).fileHeader, optional = fileHeader + 20;
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

// Cut anywhere, at odd places and across the CheckSum field too, a file's bytes give the checksum
// they give whole (which PackToolTest holds against Windows' own).
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

// An exception from the commit question (the payload's check, run beside the writing) passes on
// and leaves neither the installer nor its temporary file.
TEST(ResourceWriterTest, AnExceptionLeavesNothingBehind) {
    const orvik::testing::ScratchDirectory scratch;
    const auto output = scratch / L"out.exe";
    const auto refuse = []() -> bool { throw std::runtime_error("the payload check failed"); };
    std::wstring error;
    EXPECT_THROW(WriteResources(orvik::testing::BinFile(L"payload_probe.exe"), output.wstring(),
                                {{L"ORVIKPKG_PAYLOAD", {}, "x"}}, refuse, error),
                 std::runtime_error);
    EXPECT_FALSE(boost::filesystem::exists(scratch / L"out.exe.partial"));
    EXPECT_FALSE(boost::filesystem::exists(output));
}

}  // namespace
}  // namespace orvik::tools::pack
