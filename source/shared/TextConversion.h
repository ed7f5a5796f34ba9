#pragma once
// Text conversions used across the system. Free of Windows headers: wide
// strings are UTF-16 where wchar_t has 16 bits (Windows) and UTF-32 elsewhere.
#include <cstdint>
#include <string>
#include <string_view>

namespace orvik::pkgshared {

// UTF-8 form of a wide text. Unpaired surrogates become U+FFFD, as
// WideCharToMultiByte with code page 65001 does.
std::string WideToUtf8(std::wstring_view text);

// Wide form of a UTF-8 text. Malformed sequences become U+FFFD.
std::wstring Utf8ToWide(std::string_view text);

// Wide form of a text whose characters are all ASCII (names of functions,
// literals); every byte is widened as it is.
std::wstring WidenAscii(std::string_view text);

// Signed decimal, "-" for negative values, no grouping.
std::wstring ToDecimal(std::int64_t value);

// Appends `piece` to `text`, preceded by one blank unless `text` is empty.
void AppendWithBlank(std::wstring& text, std::wstring_view piece);

// Copy with A..Z turned into a..z; every other character unchanged.
std::wstring ToLowerAscii(std::wstring_view text);

}  // namespace orvik::pkgshared
