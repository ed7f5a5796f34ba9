#include "preinstall/ProgramImage.h"

#include <cstdio>

#include "shared/utils/UniqueFile.h"

namespace orvik::pkgui::preinstall {
namespace {

constexpr size_t kDosHeaderSize = 64;
constexpr size_t kPeOffsetField = 0x3C;

}  // namespace

std::int64_t PeHeaderOffset(const std::string& dosHeader) {
    if (dosHeader.size() < kDosHeaderSize || dosHeader[0] != 'M' || dosHeader[1] != 'Z') {
        return -1;
    }
    std::uint32_t offset = 0;
    for (size_t i = 0; i < 4; ++i) {
        offset |=
            static_cast<std::uint32_t>(static_cast<unsigned char>(dosHeader[kPeOffsetField + i]))
            << (8 * i);
    }
    return offset;
}

bool IsProgramImage(const std::wstring& file) {
    const pkgshared::UniqueFile in = pkgshared::OpenFileForReading(file);
    if (!in) {
        return false;
    }
    std::string header(kDosHeaderSize, '\0');
    if (std::fread(header.data(), 1, header.size(), in.get()) != header.size()) {
        return false;
    }
    const std::int64_t offset = PeHeaderOffset(header);
    if (offset < static_cast<std::int64_t>(kDosHeaderSize) ||
        std::fseek(in.get(), static_cast<long>(offset), SEEK_SET) != 0) {
        return false;
    }
    char signature[4] = {};
    return std::fread(signature, 1, 4, in.get()) == 4 && signature[0] == 'P' &&
           signature[1] == 'E' && signature[2] == '\0' && signature[3] == '\0';
}

}  // namespace orvik::pkgui::preinstall
