#pragma once
#include <algorithm>
#include <string>

namespace orvik::testing {

// The path Wine shows for the Unix path `unixPath`: the Unix root is drive Z:.
inline std::wstring WinePath(const std::string& unixPath) {
    std::wstring path = L"Z:" + std::wstring(unixPath.begin(), unixPath.end());
    std::replace(path.begin(), path.end(), L'/', L'\\');
    return path;
}

}  // namespace orvik::testing
