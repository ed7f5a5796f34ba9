#include "shared/ErrorMessage.h"

#include <boost/format.hpp>

#include "shared/ErrorCatalog.h"

namespace orvik::pkgshared {

std::wstring FormatMessageText(const std::wstring& text, const std::wstring& arg1,
                               const std::wstring& arg2, const std::wstring& arg3,
                               const std::wstring& arg4) {
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
