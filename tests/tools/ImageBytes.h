#pragma once
// Reading and patching PE images held as strings, for the packing tool's tests; where the headers
// are comes from the tool's own reader.
#include <cstdint>
#include <cstring>
#include <string>

#include "pack/ByteSpan.h"
#include "pack/PeHeaders.h"

namespace orvik::tools::pack {

inline std::uint32_t Get32(const std::string& image, std::size_t at) {
    std::uint32_t value;
    std::memcpy(&value, image.data() + at, 4);
    return value;
}
inline void Put32(std::string& image, std::size_t at, std::uint32_t value) {
    std::memcpy(image.data() + at, &value, 4);
}
inline ByteSpan Span(const std::string& bytes) {
    return {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()};
}
inline PeHeaders HeadersOf(const std::string& image) {
    return PeHeaders::Read(Span(image)).value_or(PeHeaders{});
}
// Where the header of the section named `name` is in `image`; 0 when there is none.
inline std::size_t SectionHeader(const std::string& image, const char* name) {
    for (const PeSection& section : HeadersOf(image).sections) {
        if (std::strncmp(image.data() + section.header, name, 8) == 0) {
            return section.header;
        }
    }
    return 0;
}

// What a signing tool appends: a certificate table whose size is a multiple of 8.
constexpr char kCertificate[] = "a certificate table of 8n bytes";
// `image` (of a multiple of 8 bytes) signed: kCertificate appended and named by the security
// directory entry, by file offset and size.
inline std::string Signed(std::string image) {
    const std::size_t security = HeadersOf(image).directories + 8 * PeHeaders::kSecurityDirectory;
    Put32(image, security, static_cast<std::uint32_t>(image.size()));
    Put32(image, security + 4, sizeof kCertificate);
    return image.append(kCertificate, sizeof kCertificate);
}

}  // namespace orvik::tools::pack
