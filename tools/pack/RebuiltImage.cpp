#include "RebuiltImage.h"

#include <algorithm>
#include <optional>
#include <set>

#include "LittleEndian.h"
#include "PeChecksum.h"
#include "PeHeaders.h"
#include "ResourceTree.h"

namespace orvik::tools::pack {
namespace {

constexpr std::uint16_t kRcData = 10;
constexpr std::uint16_t kLanguageNeutral = 0;
constexpr std::uint32_t kDiscardable = 0x02000000;
constexpr int kResourceDirectory = PeHeaders::kResourceDirectory;
constexpr int kRelocationDirectory = PeHeaders::kRelocationDirectory;
constexpr std::uint64_t kMostAddress = 0xffffffffu;

std::uint64_t AlignUp(std::uint64_t value, std::uint64_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

// The index of the section that the resource directory starts, when the
// image can be rebuilt around it; otherwise `why` says what stands in the way.
std::optional<std::size_t> ResourceSection(ByteSpan image, const PeHeaders& h, std::string& why) {
    const std::uint32_t rva = h.DirectoryRva(kResourceDirectory);
    const auto found = std::find_if(h.sections.begin(), h.sections.end(),
                                    [rva](const PeSection& s) { return rva != 0 && s.rva == rva; });
    if (found == h.sections.end()) {
        why = "the resource directory does not start a section";
        return std::nullopt;
    }
    const PeSection& resources = *found;
    const std::uint64_t rawEnd = std::uint64_t{resources.rawOffset} + resources.rawSize;
    if (rawEnd > image.size || resources.rawOffset < h.sectionTableEnd) {
        why = "the resource section lies outside the file";
        return std::nullopt;
    }
    if (resources.rawSize % h.fileAlignment != 0) {
        why = "the resource section's size in the file is not a multiple of the file alignment";
        return std::nullopt;
    }
    for (auto s = h.sections.begin(); s != h.sections.end(); ++s) {
        const bool later = s > found, raw = s->rawSize != 0;
        if (s < found && raw && std::uint64_t{s->rawOffset} + s->rawSize > resources.rawOffset) {
            why = "a section before the resources lies after them in the file";
            return std::nullopt;
        }
        if (later && ((s->flags & kDiscardable) == 0 || s->rva < resources.rva ||
                      (raw && s->rawOffset < rawEnd))) {
            why = "a section after the resources is not a discardable one that follows them";
            return std::nullopt;
        }
    }
    const std::size_t index = static_cast<std::size_t>(found - h.sections.begin());
    if (index + 1 < h.sections.size()) {
        const std::uint32_t moved = h.sections[index + 1].rva;
        for (std::uint32_t d = 0; d < h.directoryCount; ++d) {
            // The security directory's address is a file offset, and its entry is cleared.
            const bool moves = d == kResourceDirectory || d == kRelocationDirectory ||
                               d == PeHeaders::kSecurityDirectory;
            if (!moves && h.rvas[d] >= moved) {
                why = "a data directory points into a section after the resources";
                return std::nullopt;
            }
        }
    }
    return index;
}

// False when a base relocation may apply at or after `rva`: in the resource
// section, which is rebuilt, or in a section that moves, whose contents would
// then be more than data nobody reaches.
bool RelocationsStayBefore(ByteSpan image, const PeHeaders& h, std::uint32_t rva) {
    const std::uint32_t size = h.DirectorySize(kRelocationDirectory);
    const unsigned char* blocks = h.At(image, h.DirectoryRva(kRelocationDirectory), size);
    if (size == 0) {
        return true;
    }
    if (blocks == nullptr) {
        return false;
    }
    for (std::uint32_t at = 0; size - at >= 8;) {
        const std::uint32_t page = Get32(blocks + at), length = Get32(blocks + at + 4);
        if (length < 8 || length > size - at || page + std::uint64_t{4096} > rva) {
            return false;
        }
        at += length;
    }
    return true;
}

// The image's bytes before its resource section, with the headers changed for
// a resource section of `size` bytes and the sections after it moved along;
// nullopt when an address or offset would pass 4 GiB.
std::optional<std::vector<unsigned char>> PatchedHead(ByteSpan image, const PeHeaders& h,
                                                      std::size_t index, std::uint64_t size) {
    const PeSection& resources = h.sections[index];
    const std::uint64_t raw = AlignUp(size, h.fileAlignment);
    const std::int64_t rawDelta = static_cast<std::int64_t>(raw) - resources.rawSize;
    const std::uint64_t rawEnd = std::uint64_t{resources.rawOffset} + resources.rawSize;
    const std::uint64_t nextRva = AlignUp(resources.rva + size, h.sectionAlignment);
    const std::int64_t rvaDelta =
        index + 1 < h.sections.size()
            ? static_cast<std::int64_t>(nextRva) - h.sections[index + 1].rva
            : 0;
    std::vector<unsigned char> head(image.data, image.data + resources.rawOffset);
    unsigned char* p = head.data();
    bool fits = resources.rva + size <= kMostAddress;
    const auto put = [&](std::size_t at, std::int64_t value) {
        fits = fits && value >= 0 && static_cast<std::uint64_t>(value) <= kMostAddress;
        Put32(p + at, static_cast<std::uint64_t>(value));
    };
    put(resources.header + 8, static_cast<std::int64_t>(size));
    put(resources.header + 16, static_cast<std::int64_t>(raw));
    std::uint64_t imageEnd = 0;
    for (std::size_t i = 0; i < h.sections.size(); ++i) {
        const PeSection& s = h.sections[i];
        std::int64_t rva = s.rva, virtualSize = i == index ? size : s.virtualSize;
        if (i > index) {
            rva += rvaDelta;
            put(s.header + 12, rva);
            if (s.rawSize != 0) {
                put(s.header + 20, s.rawOffset + rawDelta);
            }
        }
        imageEnd = std::max<std::uint64_t>(
            imageEnd,
            static_cast<std::uint64_t>(rva + (virtualSize != 0 ? virtualSize : s.rawSize)));
    }
    put(h.directories + 8 * kResourceDirectory + 4, static_cast<std::int64_t>(size));
    const std::uint32_t relocations = h.DirectoryRva(kRelocationDirectory);
    if (index + 1 < h.sections.size() && relocations >= h.sections[index + 1].rva) {
        put(h.directories + 8 * kRelocationDirectory, relocations + rvaDelta);
    }
    put(h.optional + 56, static_cast<std::int64_t>(AlignUp(imageEnd, h.sectionAlignment)));
    // The initialised data grow (or shrink) with the section; the field wraps as it is 32 bits.
    Put32(p + h.optional + 8, Get32(p + h.optional + 8) + static_cast<std::uint64_t>(rawDelta));
    const std::uint32_t symbols = Get32(p + h.fileHeader + 8);
    if (symbols >= rawEnd) {
        put(h.fileHeader + 8, symbols + rawDelta);
    }
    if (!fits) {
        return std::nullopt;
    }
    return head;
}

}  // namespace

std::unique_ptr<RebuiltImage> RebuiltImage::Make(ByteSpan image,
                                                 const std::vector<AddedResource>& added,
                                                 std::string& why) {
    const auto headers = PeHeaders::Read(image);
    if (!headers) {
        why = "not a PE image";
        return nullptr;
    }
    const auto index = ResourceSection(image, *headers, why);
    if (!index) {
        return nullptr;
    }
    const PeHeaders& h = *headers;
    const PeSection& resources = h.sections[*index];
    if (!RelocationsStayBefore(image, h, resources.rva)) {
        why = "base relocations apply inside or after the resource section";
        return nullptr;
    }
    auto tree = ResourceTree::Read(
        image.data + resources.rawOffset, resources.rawSize,
        [&](std::uint32_t rva, std::uint32_t size) { return h.At(image, rva, size); });
    if (!tree) {
        why = "the resource directory is not well formed";
        return nullptr;
    }
    std::set<std::u16string> names;
    for (std::size_t i = 0; i < added.size(); ++i) {
        std::u16string name = added[i].name;
        for (char16_t& c : name) {
            c = c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - u'a' + u'A') : c;
        }
        if (name.empty() || !names.insert(name).second || added[i].bytes.size > kMostAddress ||
            std::any_of(name.begin(), name.end(), [](char16_t c) { return c > 0x7f; })) {
            why = "added resources need distinct ASCII names and sizes below 4 GiB";
            return nullptr;
        }
        tree->Set(
            kRcData, name, kLanguageNeutral,
            {nullptr, static_cast<std::uint32_t>(added[i].bytes.size), 0, static_cast<int>(i)});
    }
    const ResourceTree::Layout layout = tree->LayOut(resources.rva);
    auto head = PatchedHead(image, h, *index, layout.size);
    if (!head) {
        why = "the rebuilt image would pass 4 GiB";
        return nullptr;
    }

    std::unique_ptr<RebuiltImage> rebuilt(new RebuiltImage());
    rebuilt->head_ = std::move(*head);
    rebuilt->section_ = layout.bytes;
    rebuilt->zeros_.assign(h.fileAlignment, 0);
    auto& pieces = rebuilt->pieces_;
    const auto pad = [&](std::uint64_t bytes) {
        if (bytes > 0) {
            pieces.push_back({rebuilt->zeros_.data(), bytes});
        }
    };
    pieces.push_back({rebuilt->head_.data(), rebuilt->head_.size()});
    pieces.push_back({rebuilt->section_.data(), rebuilt->section_.size()});
    std::uint64_t at = rebuilt->section_.size();
    for (std::size_t i = 0; i < added.size(); ++i) {
        pad(layout.deferredOffsets[i] - at);
        pieces.push_back(added[i].bytes);
        at = layout.deferredOffsets[i] + added[i].bytes.size;
    }
    pad(AlignUp(layout.size, h.fileAlignment) - at);
    const std::uint64_t rawEnd = std::uint64_t{resources.rawOffset} + resources.rawSize;
    pieces.push_back({image.data + rawEnd, h.LengthWithoutCertificate(image.size) - rawEnd});
    h.ClearCertificateEntry(rebuilt->head_.data());
    PeChecksum checksum(h.ChecksumOffset());
    for (const ByteSpan& piece : pieces) {
        checksum.Add(piece);
    }
    Put32(rebuilt->head_.data() + h.ChecksumOffset(), checksum.Value());
    return rebuilt;
}

}  // namespace orvik::tools::pack
