#pragma once
#include <cstdint>
#include <string>

namespace orvik::pkgshared {

class Exception;

// The catalog text of `code` (language as in GetCatalogText) with its
// "%1%".."%4%" placeholders filled. Exactly as many arguments are fed as the
// text expects (1 to 4; any other count feeds none); surplus arguments are
// ignored and placeholders without an argument receive "". Never fails: a
// malformed text or any formatting failure yields "".
std::wstring FormatErrorMessage(std::int32_t code, std::uint16_t languageId,
                                const std::wstring& arg1 = std::wstring(),
                                const std::wstring& arg2 = std::wstring(),
                                const std::wstring& arg3 = std::wstring(),
                                const std::wstring& arg4 = std::wstring());

// The user text of `error`: its code's catalog text with its arguments.
std::wstring FormatErrorMessage(const Exception& error, std::uint16_t languageId = 0);

// FormatErrorMessage over a given text instead of a catalog code.
std::wstring FormatMessageText(const std::wstring& text, const std::wstring& arg1,
                               const std::wstring& arg2, const std::wstring& arg3,
                               const std::wstring& arg4);

}  // namespace orvik::pkgshared
