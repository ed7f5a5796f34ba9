#include "shared/TextConversion.h"

namespace orvik::pkgshared {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

void AppendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out.push_back(static_cast<char>(cp));
    } else if (cp < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else if (cp < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
    }
}

bool IsHighSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDBFF;
}
bool IsLowSurrogate(char32_t c) {
    return c >= 0xDC00 && c <= 0xDFFF;
}

}  // namespace

std::string WideToUtf8(std::wstring_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t c = static_cast<char32_t>(text[i]);
        if constexpr (sizeof(wchar_t) == 2) {
            c &= 0xFFFF;
            if (IsHighSurrogate(c) && i + 1 < text.size() &&
                IsLowSurrogate(static_cast<char32_t>(text[i + 1]) & 0xFFFF)) {
                const char32_t low = static_cast<char32_t>(text[++i]) & 0xFFFF;
                c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
            } else if (IsHighSurrogate(c) || IsLowSurrogate(c)) {
                c = kReplacement;
            }
        } else if (IsHighSurrogate(c) || IsLowSurrogate(c) || c > 0x10FFFF) {
            c = kReplacement;
        }
        AppendUtf8(out, c);
    }
    return out;
}

std::wstring WidenAscii(std::string_view text) {
    std::wstring out;
    out.reserve(text.size());
    for (const char c : text) {
        out.push_back(static_cast<wchar_t>(static_cast<unsigned char>(c)));
    }
    return out;
}

std::wstring ToDecimal(std::int64_t value) {
    return std::to_wstring(value);
}

void AppendWithBlank(std::wstring& text, std::wstring_view piece) {
    if (!text.empty()) {
        text += L' ';
    }
    text += piece;
}

std::wstring ToLowerAscii(std::wstring_view text) {
    std::wstring out(text);
    for (wchar_t& c : out) {
        if (c >= L'A' && c <= L'Z') {
            c = static_cast<wchar_t>(c - L'A' + L'a');
        }
    }
    return out;
}

}  // namespace orvik::pkgshared
