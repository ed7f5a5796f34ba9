#include "preinstall/PayloadCheck.h"

#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <vector>

#include "shared/utils/UniqueFile.h"

namespace orvik::pkgui::preinstall {
namespace {

constexpr char kMagic[] = "OPC1";
constexpr std::size_t kMagicSize = 4;
constexpr std::size_t kReadSize = 1 << 20;

void PutLittleEndian(std::string& out, std::uint64_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) {
        out += static_cast<char>((value >> (8 * i)) & 0xFF);
    }
}

std::uint64_t GetLittleEndian(const std::uint8_t* in, int bytes) {
    std::uint64_t value = 0;
    for (int i = 0; i < bytes; ++i) {
        value |= std::uint64_t{in[i]} << (8 * i);
    }
    return value;
}

}  // namespace

void PayloadCheck::Add(const void* data, std::size_t size) {
    size_ += size;
    crc_ = static_cast<std::uint32_t>(::crc32_z(crc_, static_cast<const Bytef*>(data), size));
}

std::optional<PayloadCheck> PayloadCheck::OfFile(const std::wstring& path) {
    const orvik::pkgshared::UniqueFile in = orvik::pkgshared::OpenFile(path, "rb");
    if (!in) {
        return std::nullopt;
    }
    PayloadCheck check;
    std::vector<char> buffer(kReadSize);
    while (const std::size_t read = std::fread(buffer.data(), 1, buffer.size(), in.get())) {
        check.Add(buffer.data(), read);
    }
    if (std::ferror(in.get())) {
        return std::nullopt;
    }
    return check;
}

std::string PayloadCheck::Encode() const {
    std::string bytes(kMagic, kMagicSize);
    PutLittleEndian(bytes, size_, 8);
    PutLittleEndian(bytes, crc_, 4);
    return bytes;
}

std::optional<PayloadCheck> PayloadCheck::Decode(const std::uint8_t* bytes, std::size_t size) {
    if (bytes == nullptr || size != kEncodedSize ||
        !std::equal(kMagic, kMagic + kMagicSize, bytes)) {
        return std::nullopt;
    }
    PayloadCheck check;
    check.size_ = GetLittleEndian(bytes + kMagicSize, 8);
    check.crc_ = static_cast<std::uint32_t>(GetLittleEndian(bytes + kMagicSize + 8, 4));
    return check;
}

std::wstring PayloadCheck::Describe() const {
    wchar_t crc[9] = {};
    std::swprintf(crc, std::size(crc), L"%08x", static_cast<unsigned>(crc_));
    return std::to_wstring(size_) + L" bytes, CRC-32 " + crc;
}

}  // namespace orvik::pkgui::preinstall
