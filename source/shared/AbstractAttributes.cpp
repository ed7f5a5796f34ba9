#include "shared/AbstractAttributes.h"

#include <limits>

#include "shared/Exception.h"
#include "shared/Raise.h"
#include "shared/TextConversion.h"

namespace orvik::pkgshared {
namespace {

constexpr std::int32_t kNotABooleanCode = -125035;
constexpr std::int32_t kNotANumberCode = -125036;

std::wstring_view TrimBlanks(std::wstring_view text) {
    while (!text.empty() && (text.front() == L' ' || text.front() == L'\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == L' ' || text.back() == L'\t')) {
        text.remove_suffix(1);
    }
    return text;
}

}  // namespace

std::optional<bool> ParseBoolean(std::wstring_view text) {
    const std::wstring lower = ToLowerAscii(TrimBlanks(text));
    if (lower == L"true" || lower == L"yes" || lower == L"on" || lower == L"1") {
        return true;
    }
    if (lower == L"false" || lower == L"no" || lower == L"off" || lower == L"0") {
        return false;
    }
    return std::nullopt;
}

std::optional<std::int64_t> ParseNumber(std::wstring_view text) {
    text = TrimBlanks(text);
    bool negative = false;
    if (!text.empty() && (text.front() == L'-' || text.front() == L'+')) {
        negative = text.front() == L'-';
        text.remove_prefix(1);
    }
    if (text.empty()) {
        return std::nullopt;
    }
    // Accumulated as a negative number so that the minimum fits.
    std::int64_t value = 0;
    constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
    for (const wchar_t c : text) {
        if (c < L'0' || c > L'9') {
            return std::nullopt;
        }
        const int digit = c - L'0';
        if (value < (kMin + digit) / 10) {
            return std::nullopt;
        }
        value = value * 10 - digit;
    }
    if (!negative) {
        if (value == kMin) {
            return std::nullopt;
        }
        value = -value;
    }
    return value;
}

std::optional<bool> AbstractAttributes::GetBool(const std::wstring& name) const {
    const std::optional<std::wstring> text = GetAttribute(name);
    if (!text) {
        return std::nullopt;
    }
    const std::optional<bool> value = ParseBoolean(*text);
    if (!value) {
        ORVIK_THROW(Exception, kNotABooleanCode, name, *text);
    }
    return value;
}

std::optional<std::int64_t> AbstractAttributes::GetNumber(const std::wstring& name) const {
    const std::optional<std::wstring> text = GetAttribute(name);
    if (!text) {
        return std::nullopt;
    }
    const std::optional<std::int64_t> value = ParseNumber(*text);
    if (!value) {
        ORVIK_THROW(Exception, kNotANumberCode, name, *text);
    }
    return value;
}

}  // namespace orvik::pkgshared
