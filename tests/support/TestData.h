#pragma once
#include <algorithm>
#include <cstdint>
#include <random>
#include <string>

namespace orvik::testing {
// `size` bytes of repeatable noise.
inline std::string RandomBytes(size_t size, unsigned seed) {
    std::mt19937 generator(seed);
    std::string bytes(size, '\0');
    for (char& c : bytes) {
        c = static_cast<char>(generator());
    }
    return bytes;
}
// The path Wine shows for the Unix path `unixPath`: the Unix root is drive Z:.
inline std::wstring WinePath(const std::string& unixPath) {
    std::wstring path = L"Z:" + std::wstring(unixPath.begin(), unixPath.end());
    std::replace(path.begin(), path.end(), L'/', L'\\');
    return path;
}
}  // namespace orvik::testing
