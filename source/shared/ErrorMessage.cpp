#include "shared/ErrorMessage.h"

#include <string_view>

#include <boost/format.hpp>

#include "shared/ErrorCatalog.h"
#include "shared/Exception.h"

namespace orvik::pkgshared {
namespace {

constexpr size_t kMaxDirectiveDigits = 4;

bool IsDigit(wchar_t c) {
    return c >= L'0' && c <= L'9';
}

// The length of the directive at `at` (a '%') when it is one this system
// writes: "%%", "%N%" (a placeholder) or "%|flags width|"; 0 otherwise.
// Numbers of more than four digits are refused: the formatter overflows
// reading them or pads to gigabytes.
size_t DirectiveLength(const std::wstring& text, size_t at) {
    size_t i = at + 1;
    if (i < text.size() && text[i] == L'%') {
        return 2;
    }
    if (i < text.size() && IsDigit(text[i])) {
        const size_t first = i;
        while (i < text.size() && IsDigit(text[i])) {
            ++i;
        }
        return i - first <= kMaxDirectiveDigits && i < text.size() && text[i] == L'%' ? i + 1 - at
                                                                                      : 0;
    }
    if (i < text.size() && text[i] == L'|') {
        size_t digits = 0;
        for (++i; i < text.size() && text[i] != L'|'; ++i) {
            if (IsDigit(text[i])) {
                if (++digits > kMaxDirectiveDigits) {
                    return 0;
                }
            } else if (std::wstring_view(L"-+ #.").find(text[i]) == std::wstring_view::npos) {
                return 0;
            } else {
                digits = 0;
            }
        }
        return i < text.size() ? i + 1 - at : 0;
    }
    return 0;
}

// True when every '%' of `text` starts a directive of DirectiveLength. The
// formatter reads past the end of some other malformed directives, so they
// never reach it.
bool HasOnlyKnownDirectives(const std::wstring& text) {
    for (size_t at = text.find(L'%'); at != std::wstring::npos;) {
        const size_t length = DirectiveLength(text, at);
        if (length == 0) {
            return false;
        }
        at = text.find(L'%', at + length);
    }
    return true;
}

}  // namespace

std::wstring FormatMessageText(const std::wstring& text, const std::wstring& arg1,
                               const std::wstring& arg2, const std::wstring& arg3,
                               const std::wstring& arg4) {
    if (!HasOnlyKnownDirectives(text)) {
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

std::wstring FormatErrorMessage(const Exception& error, std::uint16_t languageId) {
    return FormatErrorMessage(error.GetErrorCode(), languageId, error.GetMessageArgument0(),
                              error.GetMessageArgument1(), error.GetMessageArgument2(),
                              error.GetMessageArgument3());
}

}  // namespace orvik::pkgshared
