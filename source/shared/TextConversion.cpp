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

namespace {

void AppendWide(std::wstring& out, char32_t cp) {
    if constexpr (sizeof(wchar_t) == 2) {
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out.push_back(static_cast<wchar_t>(0xD800 + (cp >> 10)));
            out.push_back(static_cast<wchar_t>(0xDC00 + (cp & 0x3FF)));
            return;
        }
    }
    out.push_back(static_cast<wchar_t>(cp));
}

// Length of the sequence a lead byte starts and the bits it carries; 0 for a
// byte that cannot start one.
size_t SequenceLength(unsigned char lead, char32_t& bits) {
    if (lead < 0x80) {
        bits = lead;
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF) {
        bits = lead & 0x1F;
        return 2;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        bits = lead & 0x0F;
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        bits = lead & 0x07;
        return 4;
    }
    return 0;
}

}  // namespace

std::wstring Utf8ToWide(std::string_view text) {
    std::wstring out;
    out.reserve(text.size());
    size_t i = 0;
    while (i < text.size()) {
        char32_t cp = 0;
        const size_t length = SequenceLength(static_cast<unsigned char>(text[i]), cp);
        bool valid = length > 0 && i + length <= text.size();
        for (size_t k = 1; valid && k < length; ++k) {
            const auto byte = static_cast<unsigned char>(text[i + k]);
            valid = (byte & 0xC0) == 0x80;
            cp = (cp << 6) | (byte & 0x3F);
        }
        const char32_t minimum[] = {0, 0, 0x80, 0x800, 0x10000};
        valid = valid && cp >= minimum[length] && cp <= 0x10FFFF && !(cp >= 0xD800 && cp <= 0xDFFF);
        if (!valid) {
            AppendWide(out, kReplacement);
            ++i;
            continue;
        }
        AppendWide(out, cp);
        i += length;
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
