#include "shared/ErrorMessage.h"

#include <string_view>

#include <boost/format.hpp>

#include "shared/ErrorCatalog.h"

namespace orvik::pkgshared {
namespace {

// The characters a directive may hold between its '%' and its end.
bool IsDirectiveCharacter(wchar_t c) {
    return (c >= L'0' && c <= L'9') || std::wstring_view(L"|-+ #.$'*lhLqjzt").find(c) !=
                                           std::wstring_view::npos;
}

// True when a directive carries a number of more than four digits: argument
// numbers and widths of that size are malformed here, and the formatter
// would overflow reading them or pad to gigabytes.
bool HasOversizedDirectiveNumber(const std::wstring& text) {
    constexpr size_t kMaxDigits = 4;
    for (size_t at = text.find(L'%'); at != std::wstring::npos; at = text.find(L'%', at + 1)) {
        size_t digits = 0;
        for (size_t i = at + 1; i < text.size() && IsDirectiveCharacter(text[i]); ++i) {
            digits = (text[i] >= L'0' && text[i] <= L'9') ? digits + 1 : 0;
            if (digits > kMaxDigits) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace

std::wstring FormatMessageText(const std::wstring& text, const std::wstring& arg1,
                               const std::wstring& arg2, const std::wstring& arg3,
                               const std::wstring& arg4) {
    if (HasOversizedDirectiveNumber(text)) {
        return std::wstring();
    }
    try {
        boost::wformat format(text);
        format.exceptions(boost::io::all_error_bits);
        switch (format.expected_args()) {
            case 4:
                format % arg1 % arg2 % arg3 % arg4;
                break;
            case 3:
                format % arg1 % arg2 % arg3;
                break;
            case 2:
                format % arg1 % arg2;
                break;
            case 1:
                format % arg1;
                break;
            default:
                break;
        }
        return format.str();
    } catch (...) {
        return std::wstring();
    }
}

std::wstring FormatErrorMessage(std::int32_t code, std::uint16_t languageId,
                                const std::wstring& arg1, const std::wstring& arg2,
                                const std::wstring& arg3, const std::wstring& arg4) {
    try {
        return FormatMessageText(GetCatalogText(code, languageId), arg1, arg2, arg3, arg4);
    } catch (...) {
        return std::wstring();
    }
}

}  // namespace orvik::pkgshared
