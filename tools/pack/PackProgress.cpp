#include "PackProgress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>

namespace orvik::tools::pack {

std::wstring SizeText(std::uint64_t bytes) {
    static const wchar_t* const kUnits[] = {L"KiB", L"MiB", L"GiB", L"TiB"};
    if (bytes < 1024) {
        return std::to_wstring(bytes) + L" B";
    }
    double value = static_cast<double>(bytes) / 1024;
    size_t unit = 0;
    // Past 1023.95 the one-decimal text would read 1024.0.
    while (value >= 1023.95 && unit + 1 < std::size(kUnits)) {
        value /= 1024;
        ++unit;
    }
    wchar_t text[32];
    std::swprintf(text, std::size(text), L"%.1f %ls", value, kUnits[unit]);
    return text;
}

std::wstring DurationText(double seconds) {
    const auto total = static_cast<std::uint64_t>(std::ceil(std::max(seconds, 0.0)));
    const std::uint64_t hours = total / 3600, minutes = total / 60 % 60, rest = total % 60;
    wchar_t text[48];
    if (hours > 0) {
        std::swprintf(
            text, std::size(text), L"%llu:%02llu:%02llu", static_cast<unsigned long long>(hours),
            static_cast<unsigned long long>(minutes), static_cast<unsigned long long>(rest));
    } else {
        std::swprintf(text, std::size(text), L"%llu:%02llu",
                      static_cast<unsigned long long>(minutes),
                      static_cast<unsigned long long>(rest));
    }
    return text;
}

std::wstring ProgressLine(const PackProgress& progress, double seconds) {
    std::wstring line = SizeText(progress.bytesDone) + L" of " + SizeText(progress.bytesTotal) +
                        L", " + std::to_wstring(progress.filesDone) + L" of " +
                        std::to_wstring(progress.filesTotal) + L" files";
    if (progress.bytesDone > 0 && seconds > 0) {
        const double rate = static_cast<double>(progress.bytesDone) / seconds;
        const std::uint64_t left =
            progress.bytesTotal > progress.bytesDone ? progress.bytesTotal - progress.bytesDone : 0;
        line += L", " + SizeText(static_cast<std::uint64_t>(rate)) + L"/s, " +
                DurationText(static_cast<double>(left) / rate) + L" left";
    }
    return line;
}

}  // namespace orvik::tools::pack
