#include "shared/LogFormat.h"

#include <algorithm>

#include <boost/format.hpp>

namespace orvik::pkgshared {

std::wstring FormatLogLine(const std::wstring& timeOfDay, const std::wstring& source,
                           const std::wstring& message) {
    std::wstring oneLine;
    oneLine.reserve(message.size());
    for (const wchar_t c : message) {
        if (c == L'\n') {
            oneLine += L"\\|";
        } else {
            oneLine += c;
        }
    }
    return (boost::wformat(L"%|-15| %|-1|: %|-1|\n") % timeOfDay % source % oneLine).str();
}

std::wstring LogFileName(const std::wstring& isoExtendedTime, std::uint32_t processId) {
    std::wstring stamp = isoExtendedTime;
    std::replace(stamp.begin(), stamp.end(), L':', L'.');
    return (boost::wformat(L"OrvikPkgLog_%1%_%2%.txt") % stamp % processId).str();
}

}  // namespace orvik::pkgshared
