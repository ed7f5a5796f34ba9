#include "shared/utils/RegistryString.h"

#include <vector>

#include "shared/utils/WinResources.h"

namespace orvik::pkgshared {

std::optional<std::wstring> ReadRegistryString(HKEY root, const wchar_t* subKey,
                                               const wchar_t* name, REGSAM viewFlags) {
    UniqueHkey key;
    if (::RegOpenKeyExW(root, subKey, 0, KEY_READ | viewFlags, key.put()) != ERROR_SUCCESS) {
        return std::nullopt;
    }
    std::vector<BYTE> buffer(1024);
    DWORD type = 0;
    DWORD size = static_cast<DWORD>(buffer.size());
    LSTATUS status = ::RegQueryValueExW(key.get(), name, nullptr, &type, buffer.data(), &size);
    if (status == ERROR_MORE_DATA) {
        buffer.assign(size, 0);
        status = ::RegQueryValueExW(key.get(), name, nullptr, &type, buffer.data(), &size);
    }
    if (status != ERROR_SUCCESS || type != REG_SZ) {
        return std::nullopt;
    }
    const auto* text = reinterpret_cast<const wchar_t*>(buffer.data());
    const size_t maxLength = size / sizeof(wchar_t);
    size_t length = 0;
    while (length < maxLength && text[length] != L'\0') {
        ++length;
    }
    return std::wstring(text, length);
}

}  // namespace orvik::pkgshared
