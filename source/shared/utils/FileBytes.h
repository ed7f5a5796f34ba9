#pragma once
#include <string>

namespace orvik::pkgshared {

// Reads the whole file at `path` into `bytes`. False, with `bytes` empty,
// when the file cannot be opened or read.
bool ReadFileBytes(const std::wstring& path, std::string& bytes);

}  // namespace orvik::pkgshared
