#include "shared/ConfigStoreNames.h"

namespace orvik::pkgshared::ini {
namespace {

std::optional<std::wstring> Limited(std::wstring name) {
    if (name.size() > kMaxTemporaryNameLength) {
        return std::nullopt;
    }
    return name;
}

}  // namespace

std::optional<std::wstring> SafeSaveTemporaryName(const std::wstring& target) {
    const size_t separator = target.find_last_of(L"\\/");
    const size_t dot = target.find_last_of(L'.');
    if (separator != std::wstring::npos && dot != std::wstring::npos && dot > separator) {
        if (target.compare(dot + 1, std::wstring::npos, L"TMP") == 0) {
            return Limited(target + L".TMP");
        }
        return Limited(target.substr(0, dot + 1) + L"TMP");
    }
    return Limited(target + L".TMP");
}

std::optional<std::wstring> NumberedTemporaryName(const std::wstring& target, int number) {
    const size_t separator = target.find_last_of(L"\\/");
    std::wstring directory =
        separator == std::wstring::npos ? std::wstring() : target.substr(0, separator + 1);
    if (separator == std::wstring::npos && target.size() >= 2 && target[1] == L':') {
        directory = target.substr(0, 2);  // "C:name" keeps its drive
    }
    return Limited(directory + L"ini$$" + std::to_wstring(number) + L".TMP");
}

}  // namespace orvik::pkgshared::ini
