#pragma once
#include <string>

namespace orvik::testing {

// The path Wine shows for the Unix path `unixPath`: the Unix root is drive Z:.
inline std::wstring WinePath(const char* unixPath) {
    std::wstring path = L"Z:";
    for (const char* c = unixPath; *c != '\0'; ++c) {
        path += *c == '/' ? L'\\' : static_cast<wchar_t>(*c);
    }
    return path;
}

}  // namespace orvik::testing
