#pragma once
#include <optional>
#include <string>

#include <windows.h>

namespace orvik::pkgshared {

// The REG_SZ value `name` of `subKey` under `root`, opened with KEY_READ and
// `viewFlags` (0 for the process's own view). The first query uses a buffer
// of 1024 bytes and is repeated once with the reported size on
// ERROR_MORE_DATA. Any other type (REG_EXPAND_SZ and REG_MULTI_SZ included),
// a missing key or value, or a failed query answer nothing. The text ends at
// its first zero character.
std::optional<std::wstring> ReadRegistryString(HKEY root, const wchar_t* subKey,
                                               const wchar_t* name, REGSAM viewFlags = 0);

}  // namespace orvik::pkgshared
