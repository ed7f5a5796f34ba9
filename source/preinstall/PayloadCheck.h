#pragma once
// PayloadCheck: the length and CRC-32 of the payload resource. The packing
// tool records them in the resource "ORVIKPKG_PAYLOAD_CHECK"; the
// bootstrapper finds them again while it saves the payload, and refuses a
// payload whose bytes differ. It tells damage in transit from an intact
// payload; deliberate changes are what the installer's signature is for.
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace orvik::pkgui::preinstall {

class PayloadCheck {
public:
    static constexpr wchar_t kResourceName[] = L"ORVIKPKG_PAYLOAD_CHECK";
    // The resource's length: "OPC1", then the payload's length (8 bytes) and
    // its CRC-32 (4 bytes), both little-endian.
    static constexpr std::size_t kEncodedSize = 16;

    // Extends the check over the next `size` bytes of the payload.
    void Add(const void* data, std::size_t size);
    // The check of the whole file at `path`; empty when it cannot be read.
    static std::optional<PayloadCheck> OfFile(const std::wstring& path);

    // The resource's bytes.
    std::string Encode() const;
    // The check that `bytes` encode; empty when they are not one.
    static std::optional<PayloadCheck> Decode(const std::uint8_t* bytes, std::size_t size);
    // "<length> bytes, CRC-32 <8 hex digits>", for the log.
    std::wstring Describe() const;

    bool operator==(const PayloadCheck& other) const {
        return size_ == other.size_ && crc_ == other.crc_;
    }
    bool operator!=(const PayloadCheck& other) const { return !(*this == other); }

private:
    std::uint64_t size_ = 0;
    std::uint32_t crc_ = 0;
};

}  // namespace orvik::pkgui::preinstall
