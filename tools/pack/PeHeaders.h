#pragma once
// Where the parts of a PE image's headers are, read and bounds-checked. Pure logic.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "ByteSpan.h"

namespace orvik::tools::pack {

struct PeSection {
    std::size_t header;  // offset of its header in the file
    std::uint32_t virtualSize, rva, rawSize, rawOffset, flags;
};

struct PeHeaders {
    static constexpr int kResourceDirectory = 2, kSecurityDirectory = 4, kRelocationDirectory = 5;

    // Nullopt when `image` does not start with MZ and PE headers whose optional header (PE32 or
    // PE32+), data directories and section table lie in it.
    static std::optional<PeHeaders> Read(ByteSpan image);

    std::size_t fileHeader = 0, optional = 0, directories = 0;
    std::size_t sectionTableEnd = 0;  // where the headers that describe the image end
    std::uint32_t machine = 0, characteristics = 0, magic = 0, subsystem = 0;
    std::uint32_t directoryCount = 0, fileAlignment = 0, sectionAlignment = 0;
    std::vector<PeSection> sections;
    std::vector<std::uint32_t> rvas, sizes;  // of the data directories

    std::uint32_t DirectoryRva(int i) const;
    std::uint32_t DirectorySize(int i) const;
    // Offset in the file of the optional header's CheckSum field (4 bytes).
    std::size_t ChecksumOffset() const { return optional + 64; }
    // The file bytes at [rva, rva + size), or null when they are not all in the file.
    const unsigned char* At(ByteSpan image, std::uint32_t rva, std::uint32_t size) const;
    // The file bytes from `rva` to the end of its section's data in the file; empty when none.
    ByteSpan FromAddress(ByteSpan image, std::uint32_t rva) const;

    // Whether the security directory names a certificate table.
    bool HasCertificate() const;
    // How long the file of `size` bytes is without its certificate table: where the table
    // starts when it runs to the end of the file after every section's data; otherwise `size`
    // (the table's bytes stay, and nothing points to them once the entry is cleared).
    std::uint64_t LengthWithoutCertificate(std::uint64_t size) const;
    // Clears the security directory entry in `head`, a copy of at least the image's first
    // `sectionTableEnd` bytes.
    void ClearCertificateEntry(unsigned char* head) const;
};

}  // namespace orvik::tools::pack
