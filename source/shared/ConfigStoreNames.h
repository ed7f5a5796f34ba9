#pragma once
// Names of the temporary files through which the configuration store saves
// safely. Pure text handling.
#include <optional>
#include <string>

namespace orvik::pkgshared::ini {

// Longest temporary name, in characters, the terminating zero excluded.
constexpr size_t kMaxTemporaryNameLength = 259;

// The target with its extension replaced by "TMP" when the path has a
// directory part and a '.' after its last separator; an extension that
// already is "TMP" (exactly) gets ".TMP" appended instead, so that the
// temporary file is never the target. Every other path, a bare file name
// included, gets ".TMP" appended. Nothing when the name would be too long.
std::optional<std::wstring> SafeSaveTemporaryName(const std::wstring& target);

// "<drive><directory>ini$$<number>.TMP" in the target's directory. Nothing
// when the name would be too long.
std::optional<std::wstring> NumberedTemporaryName(const std::wstring& target, int number);

}  // namespace orvik::pkgshared::ini
