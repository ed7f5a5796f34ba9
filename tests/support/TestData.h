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
// The first bytes of a Windows program as the packing tool checks them: "MZ", and "PE\0\0" where
// its header points.
inline std::string ProgramHead() {
    std::string head(0x44, '\0');
    head[0] = 'M', head[1] = 'Z', head[0x3c] = 0x40;
    return head.replace(0x40, 4, "PE\0\0", 4);
}
// The path Wine shows for the Unix path `unixPath`: the Unix root is drive Z:.
inline std::wstring WinePath(const std::string& unixPath) {
    std::wstring path = L"Z:" + std::wstring(unixPath.begin(), unixPath.end());
    std::replace(path.begin(), path.end(), L'/', L'\\');
    return path;
}
#ifdef ORVIK_TEST_BIN_DIR
// The file `name` in the build's folder of Windows programs, as this host names it.
inline std::wstring BinFile(const std::wstring& name) {
    const std::string folder = ORVIK_TEST_BIN_DIR;
#ifdef _WIN32
    return WinePath(folder) + L"\\" + name;
#else
    return std::wstring(folder.begin(), folder.end()) + L"/" + name;
#endif
}
#endif
}  // namespace orvik::testing
