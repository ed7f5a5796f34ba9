#include "pack/RebuiltImage.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ImageBytes.h"
#include "support/ScratchDirectory.h"
#include "support/TestData.h"

namespace orvik::tools::pack {
namespace {

// The probe stands in for the template (PE32 in one tree, PE32+ in the other): it rebuilds, and
// each layout that would come out broken is refused with its reason, so the Windows tool falls
// back to the system's update functions and the Linux tool refuses the template.
TEST(RebuiltImageTest, ImagesItCannotRebuildSayWhy) {
    const std::string probe =
        orvik::testing::ReadBytes(orvik::testing::BinFile(ORVIK_PAYLOAD_PROBE_NAME));
    const std::size_t optional = Get32(probe, 0x3c) + 24;
    const std::size_t directories =
        optional + (probe[optional] == 0x0b && probe[optional + 1] == 1 ? 96 : 112);
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

struct Pe {
    std::string bytes;
    std::size_t optional, directories, table;
    std::uint32_t count;
    explicit Pe(std::string image) : bytes(std::move(image)) {
        optional = Get32(bytes, 0x3c) + 24;
        directories = optional + (Get32(bytes, optional) % 0x10000 == 0x10b ? 96 : 112);
        table = optional + Get32(bytes, optional - 4) % 0x10000;
        count = Get32(bytes, optional - 18) % 0x10000;
    }
    std::string Name(std::uint32_t i) const { return bytes.substr(table + 40 * i, 8); }
    std::uint32_t Field(std::uint32_t i, std::size_t at) const {
        return Get32(bytes, table + 40 * i + at);
    }
    std::string Raw(std::uint32_t i) const { return bytes.substr(Field(i, 20), Field(i, 16)); }
    // The file bytes at image address `rva`.
    std::string At(std::uint32_t rva, std::uint32_t size) const {
        for (std::uint32_t i = 0; i < count; ++i) {
            if (rva >= Field(i, 12) && rva - Field(i, 12) < Field(i, 16)) {
                return bytes.substr(Field(i, 20) + rva - Field(i, 12), size);
            }
        }
        return {};
    }
};

// Rebuilt around resources of any size, or one that replaces a resource of its own, the image
// keeps every other section's bytes, every data directory's contents and its symbols, and its
// size in memory covers its sections.
TEST(RebuiltImageTest, EverythingButTheResourcesComesOutAsItWent) {
    const Pe probe(orvik::testing::ReadBytes(orvik::testing::BinFile(ORVIK_PAYLOAD_PROBE_NAME)));
    const std::string big = orvik::testing::RandomBytes(5 << 20, 3);
    const std::string x = "x", y = "y", z = "z";
    for (const auto& added : {std::vector<AddedResource>{{u"A", Span(x)}},
                              std::vector<AddedResource>{{u"A", Span(big)}, {u"B", Span(y)}},
                              std::vector<AddedResource>{{u"PROBE_NOTE", Span(z)}}}) {
        SCOPED_TRACE(added.size());
        std::string why;
        const auto rebuilt = RebuiltImage::Make(Span(probe.bytes), added, why);
        ASSERT_NE(nullptr, rebuilt) << why;
        std::string image;
        for (const ByteSpan& piece : rebuilt->Pieces()) {
            image.append(reinterpret_cast<const char*>(piece.data), piece.size);
        }
        const Pe out(image);
        ASSERT_EQ(probe.count, out.count);
        std::uint64_t end = 0;
        for (std::uint32_t i = 0; i < out.count; ++i) {
            EXPECT_EQ(probe.Name(i), out.Name(i));
            if (probe.Name(i).rfind(".rsrc", 0) != 0) {
                EXPECT_EQ(probe.Raw(i), out.Raw(i)) << probe.Name(i);
            }
            end = std::max<std::uint64_t>(end, out.Field(i, 12) + out.Field(i, 8));
        }
        EXPECT_LE(end, Get32(out.bytes, out.optional + 56));
        for (std::uint32_t d = 0; d < 16; ++d) {
            const std::uint32_t rva = Get32(probe.bytes, probe.directories + 8 * d),
                                size = Get32(probe.bytes, probe.directories + 8 * d + 4);
            if (d != 2 && size != 0) {
                EXPECT_EQ(probe.At(rva, size),
                          out.At(Get32(out.bytes, out.directories + 8 * d), size))
                    << d;
            }
        }
        const std::uint32_t symbols = Get32(probe.bytes, probe.optional - 12);
        EXPECT_EQ(probe.bytes.substr(symbols),
                  out.bytes.substr(Get32(out.bytes, out.optional - 12)));
    }
}

}  // namespace
}  // namespace orvik::tools::pack
