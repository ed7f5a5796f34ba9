#include "PeHeaders.h"

#include <algorithm>

#include "LittleEndian.h"

namespace orvik::tools::pack {
namespace {

constexpr std::size_t kSectionHeaderBytes = 40;

}  // namespace

std::optional<PeHeaders> PeHeaders::Read(ByteSpan image) {
    const unsigned char* p = image.data;
    const std::uint64_t size = image.size;
    if (size < 0x40 || p[0] != 'M' || p[1] != 'Z') {
        return std::nullopt;
    }
    PeHeaders h;
    const std::uint64_t pe = Get32(p + 0x3c);
    if (pe > size || size - pe < 24 + 2 || Get32(p + pe) != 0x00004550) {
        return std::nullopt;
    }
    h.fileHeader = pe + 4;
    h.optional = pe + 24;
    h.machine = Get16(p + h.fileHeader);
    h.characteristics = Get16(p + h.fileHeader + 18);
    h.magic = Get16(p + h.optional);
    const std::uint64_t optionalSize = Get16(p + h.fileHeader + 16);
    const std::uint64_t directoriesAt = h.magic == 0x10b ? 96 : h.magic == 0x20b ? 112 : 0;
    if (directoriesAt == 0 || optionalSize < directoriesAt || size - h.optional < optionalSize) {
        return std::nullopt;
    }
    h.directories = h.optional + directoriesAt;
    h.directoryCount =
        std::min<std::uint32_t>(Get32(p + h.directories - 4),
                                static_cast<std::uint32_t>((optionalSize - directoriesAt) / 8));
    h.sectionAlignment = Get32(p + h.optional + 32);
    h.fileAlignment = Get32(p + h.optional + 36);
    h.subsystem = Get16(p + h.optional + 68);
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
    h.sectionTableEnd = static_cast<std::size_t>(table + count * kSectionHeaderBytes);
    return h;
}

std::uint32_t PeHeaders::DirectoryRva(int i) const {
    return i < static_cast<int>(directoryCount) ? rvas[i] : 0;
}

std::uint32_t PeHeaders::DirectorySize(int i) const {
    return i < static_cast<int>(directoryCount) ? sizes[i] : 0;
}

const unsigned char* PeHeaders::At(ByteSpan image, std::uint32_t rva, std::uint32_t size) const {
    for (const PeSection& s : sections) {
        const std::uint64_t offset = std::uint64_t{rva} - s.rva;
        if (rva >= s.rva && offset + size <= s.rawSize &&
            std::uint64_t{s.rawOffset} + offset + size <= image.size) {
            return image.data + s.rawOffset + offset;
        }
    }
    return nullptr;
}

ByteSpan PeHeaders::FromAddress(ByteSpan image, std::uint32_t rva) const {
    for (const PeSection& s : sections) {
        const std::uint64_t offset = std::uint64_t{rva} - s.rva;
        const std::uint64_t end =
            std::min<std::uint64_t>(std::uint64_t{s.rawOffset} + s.rawSize, image.size);
        if (rva >= s.rva && offset < s.rawSize && s.rawOffset + offset < end) {
            return {image.data + s.rawOffset + offset, end - s.rawOffset - offset};
        }
    }
    return {};
}

bool PeHeaders::HasCertificate() const {
    return DirectoryRva(kSecurityDirectory) != 0 || DirectorySize(kSecurityDirectory) != 0;
}

std::uint64_t PeHeaders::LengthWithoutCertificate(std::uint64_t size) const {
    const std::uint64_t at = DirectoryRva(kSecurityDirectory);
    std::uint64_t sectionsEnd = sectionTableEnd;
    for (const PeSection& s : sections) {
        sectionsEnd = std::max<std::uint64_t>(sectionsEnd, std::uint64_t{s.rawOffset} + s.rawSize);
    }
    const bool endsFile = at + DirectorySize(kSecurityDirectory) == size;
    return HasCertificate() && endsFile && at >= sectionsEnd ? at : size;
}

void PeHeaders::ClearCertificateEntry(unsigned char* head) const {
    if (directoryCount > kSecurityDirectory) {
        Put32(head + directories + 8 * kSecurityDirectory, 0);
        Put32(head + directories + 8 * kSecurityDirectory + 4, 0);
    }
}

}  // namespace orvik::tools::pack
