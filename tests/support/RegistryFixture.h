#pragma once
// Writes registry fixtures into the test prefix and removes them again.
#include <gtest/gtest.h>

#include <windows.h>

#include <string>

#include "shared/utils/WinResources.h"

namespace orvik::testing {

// Sets `name` under `root`\`subKey` in the given view (KEY_WOW64_32KEY or
// KEY_WOW64_64KEY) to `bytes` of `type`.
inline void SetRegistryValue(HKEY root, const std::wstring& subKey, const wchar_t* name, DWORD type,
                             const void* bytes, DWORD size, REGSAM view) {
    orvik::pkgshared::UniqueHkey key;
    ASSERT_EQ(ERROR_SUCCESS, ::RegCreateKeyExW(root, subKey.c_str(), 0, nullptr, 0,
                                               KEY_SET_VALUE | view, nullptr, key.put(), nullptr));
    ASSERT_EQ(ERROR_SUCCESS,
              ::RegSetValueExW(key.get(), name, 0, type, static_cast<const BYTE*>(bytes), size));
}

inline void SetRegistryString(HKEY root, const std::wstring& subKey, const wchar_t* name,
                              const std::wstring& value, REGSAM view, DWORD type = REG_SZ) {
    SetRegistryValue(root, subKey, name, type, value.c_str(),
                     static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)), view);
}

// Deletes `root`\`subKey` with everything below it in both views.
inline void DeleteRegistryTree(HKEY root, const std::wstring& subKey) {
    for (REGSAM view : {REGSAM{KEY_WOW64_32KEY}, REGSAM{KEY_WOW64_64KEY}}) {
        orvik::pkgshared::UniqueHkey key;
        if (::RegOpenKeyExW(root, subKey.c_str(), 0, KEY_ALL_ACCESS | view, key.put()) ==
            ERROR_SUCCESS) {
            ::RegDeleteTreeW(key.get(), nullptr);
            ::RegDeleteKeyExW(root, subKey.c_str(), view, 0);
        }
    }
}

}  // namespace orvik::testing
