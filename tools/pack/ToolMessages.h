#pragma once
// What the packing tool prints: each line starts "orvikpkg-pack: ".
#include <cstdio>
#include <string>
#include <vector>

#include "shared/Exception.h"

namespace orvik::tools::pack {

// Writes `text` in UTF-8 to `stream` and flushes it.
void Print(std::FILE* stream, const std::wstring& text);
// Prints "orvikpkg-pack: error: `text`" as a line on standard error.
void Error(const std::wstring& text);
// "CODE: the catalog text" of `e`.
std::wstring ErrorText(const pkgshared::Exception& e);
// Prints each of `problems`, after `what`, as an error, or as a warning with
// `force`. Returns true when packing may go on: there are none, or `force`
// embeds them anyway.
bool Report(const std::vector<std::wstring>& problems, const wchar_t* what, bool force);

}  // namespace orvik::tools::pack
