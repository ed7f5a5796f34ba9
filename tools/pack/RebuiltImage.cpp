#include "RebuiltImage.h"

#include <algorithm>
#include <optional>
#include <set>

#include "ResourceTree.h"

namespace orvik::tools::pack {
namespace {

constexpr std::uint16_t kRcData = 10;
constexpr std::uint16_t kLanguageNeutral = 0;
constexpr std::uint32_t kDiscardable = 0x02000000;
constexpr std::size_t kSectionHeaderBytes = 40;
constexpr int kResourceDirectory = 2, kSecurityDirectory = 4, kRelocationDirectory = 5;
constexpr std::uint64_t kMostAddress = 0xffffffffu;

std::uint32_t Get16(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0] | (p[1] << 8));
}
std::uint32_t Get32(const unsigned char* p) {
    return Get16(p) | (Get16(p + 2) << 16);
}
void Put32(unsigned char* p, std::uint64_t value) {
    for (int i = 0; i < 4; ++i) {
        p[i] = static_cast<unsigned char>(value >> (8 * i));
    }
}
std::uint64_t AlignUp(std::uint64_t value, std::uint64_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

struct Section {
    std::size_t header;  // offset of its header in the image
    std::uint32_t virtualSize, rva, rawSize, rawOffset, flags;
};

// Where the parts of the headers are, read and bounds-checked.
struct Headers {
    std::size_t fileHeader = 0, optional = 0, directories = 0;
    std::uint32_t directoryCount = 0, fileAlignment = 0, sectionAlignment = 0;
    std::vector<Section> sections;

    std::uint32_t DirectoryRva(int i) const {
        return i < static_cast<int>(directoryCount) ? rvas[i] : 0;
    }
    std::uint32_t DirectorySize(int i) const {
        return i < static_cast<int>(directoryCount) ? sizes[i] : 0;
    }
    std::vector<std::uint32_t> rvas, sizes;
};

std::optional<Headers> ReadHeaders(ByteSpan image, std::string& why) {
    const unsigned char* p = image.data;
    const std::uint64_t size = image.size;
    why = "not a PE image";
    if (size < 0x40 || p[0] != 'M' || p[1] != 'Z') {
        return std::nullopt;
    }
    Headers h;
    const std::uint64_t pe = Get32(p + 0x3c);
    if (pe > size || size - pe < 24 + 2 || Get32(p + pe) != 0x00004550) {
        return std::nullopt;
    }
    h.fileHeader = pe + 4;
    h.optional = pe + 24;
    const std::uint32_t magic = Get16(p + h.optional);
    const std::uint64_t optionalSize = Get16(p + h.fileHeader + 16);
    const std::uint64_t directoriesAt = magic == 0x10b ? 96 : magic == 0x20b ? 112 : 0;
    if (directoriesAt == 0 || optionalSize < directoriesAt || size - h.optional < optionalSize) {
        return std::nullopt;
    }
    h.directories = h.optional + directoriesAt;
    h.directoryCount =
        std::min<std::uint32_t>(Get32(p + h.directories - 4),
                                static_cast<std::uint32_t>((optionalSize - directoriesAt) / 8));
    h.sectionAlignment = Get32(p + h.optional + 32);
    h.fileAlignment = Get32(p + h.optional + 36);
    if (h.fileAlignment == 0 || h.sectionAlignment == 0) {
        return std::nullopt;
    }
    for (std::uint32_t i = 0; i < h.directoryCount; ++i) {
        h.rvas.push_back(Get32(p + h.directories + 8 * i));
        h.sizes.push_back(Get32(p + h.directories + 8 * i + 4));
    }
    const std::uint64_t table = h.optional + optionalSize;
    const std::uint64_t count = Get16(p + h.fileHeader + 2);
    if ((size - table) / kSectionHeaderBytes < count) {
        return std::nullopt;
    }
    for (std::uint64_t i = 0; i < count; ++i) {
        const unsigned char* s = p + table + i * kSectionHeaderBytes;
        h.sections.push_back({static_cast<std::size_t>(table + i * kSectionHeaderBytes),
                              Get32(s + 8), Get32(s + 12), Get32(s + 16), Get32(s + 20),
                              Get32(s + 36)});
    }
    why.clear();
    return h;
}

// The index of the section that the resource directory starts, when the
// image can be rebuilt around it; otherwise `why` says what stands in the way.
std::optional<std::size_t> ResourceSection(ByteSpan image, const Headers& h, std::string& why) {
    if (h.DirectorySize(kSecurityDirectory) != 0) {
        why = "the image carries a certificate";
        return std::nullopt;
    }
    const std::uint32_t rva = h.DirectoryRva(kResourceDirectory);
    const auto found = std::find_if(h.sections.begin(), h.sections.end(),
                                    [rva](const Section& s) { return rva != 0 && s.rva == rva; });
    if (found == h.sections.end()) {
        why = "the resource directory does not start a section";
        return std::nullopt;
    }
    const Section& resources = *found;
    const std::uint64_t rawEnd = std::uint64_t{resources.rawOffset} + resources.rawSize;
    if (rawEnd > image.size ||
        resources.rawOffset < h.sections.back().header + kSectionHeaderBytes) {
        why = "the resource section lies outside the file";
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
            if (d != kResourceDirectory && d != kRelocationDirectory && h.rvas[d] >= moved) {
                why = "a data directory points into a section after the resources";
                return std::nullopt;
            }
        }
    }
    return index;
}

// The file bytes at [rva, rva + size), or null when they are not all in the file.
const unsigned char* AtAddress(ByteSpan image, const Headers& h, std::uint32_t rva,
                               std::uint32_t size) {
    for (const Section& s : h.sections) {
        const std::uint64_t offset = std::uint64_t{rva} - s.rva;
        if (rva >= s.rva && offset + size <= s.rawSize &&
            std::uint64_t{s.rawOffset} + offset + size <= image.size) {
            return image.data + s.rawOffset + offset;
        }
    }
    return nullptr;
}

// False when a base relocation may apply at or after `rva`: in the resource
// section, which is rebuilt, or in a section that moves, whose contents would
// then be more than data nobody reaches.
bool RelocationsStayBefore(ByteSpan image, const Headers& h, std::uint32_t rva) {
    const std::uint32_t size = h.DirectorySize(kRelocationDirectory);
    const unsigned char* blocks = AtAddress(image, h, h.DirectoryRva(kRelocationDirectory), size);
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
std::optional<std::vector<unsigned char>> PatchedHead(ByteSpan image, const Headers& h,
                                                      std::size_t index, std::uint64_t size) {
    const Section& resources = h.sections[index];
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
        const Section& s = h.sections[i];
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
    const auto headers = ReadHeaders(image, why);
    const auto index = headers ? ResourceSection(image, *headers, why) : std::nullopt;
    if (!index) {
        return nullptr;
    }
    const Headers& h = *headers;
    const Section& resources = h.sections[*index];
    if (!RelocationsStayBefore(image, h, resources.rva)) {
        why = "base relocations apply inside or after the resource section";
        return nullptr;
    }
    auto tree = ResourceTree::Read(
        image.data + resources.rawOffset, resources.rawSize,
        [&](std::uint32_t rva, std::uint32_t size) { return AtAddress(image, h, rva, size); });
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
    pieces.push_back({image.data + rawEnd, image.size - rawEnd});
    return rebuilt;
}

}  // namespace orvik::tools::pack
