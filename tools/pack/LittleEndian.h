#pragma once
// Little-endian fields of PE images and resource directories. The caller checks the bounds.
#include <cstdint>

namespace orvik::tools::pack {

inline std::uint32_t Get16(const unsigned char* p) {
    return static_cast<std::uint32_t>(p[0] | (p[1] << 8));
}
inline std::uint32_t Get32(const unsigned char* p) {
    return Get16(p) | (Get16(p + 2) << 16);
}
// Stores the low 32 bits of `value`.
inline void Put32(unsigned char* p, std::uint64_t value) {
    for (int i = 0; i < 4; ++i) {
        p[i] = static_cast<unsigned char>(value >> (8 * i));
    }
}

}  // namespace orvik::tools::pack
