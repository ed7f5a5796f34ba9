#include "shared/Raise.h"

#include <algorithm>

namespace orvik::pkgshared {

std::wstring SourceNameFromPath(std::string_view path) {
    std::string text(path);
    std::replace(text.begin(), text.end(), '\\', '/');
    const std::string_view marker = "source/";
    size_t start = std::string::npos;
    for (size_t at = text.find(marker); at != std::string::npos; at = text.find(marker, at + 1)) {
        if (at == 0 || text[at - 1] == '/') {
            start = at;
        }
    }
    if (start != std::string::npos) {
        text.erase(0, start);
    }
    const size_t slash = text.find_last_of('/');
    const size_t dot = text.find_last_of('.');
    if (dot != std::string::npos && (slash == std::string::npos || dot > slash)) {
        text.erase(dot);
    }
    std::wstring out;
    out.reserve(text.size());
    for (const char c : text) {
        out.push_back(c == '/' ? L'\\' : static_cast<wchar_t>(static_cast<unsigned char>(c)));
    }
    return out;
}

}  // namespace orvik::pkgshared
