#include "shared/Version.h"

#include <string_view>

#include "shared/TextConversion.h"

namespace orvik::pkgshared {
namespace {

using Bytes = std::string_view;

bool IsDigit(int c) {
    return c >= '0' && c <= '9';
}
bool IsLetter(int c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

// Byte at `i`, 0 past the end.
int At(Bytes s, size_t i) {
    return i < s.size() ? static_cast<unsigned char>(s[i]) : 0;
}

// Order of one byte outside digit runs: "~" first, then the end, then digits
// and letters by code, then everything else.
int Order(int c) {
    if (c == '~') {
        return -1;
    }
    if (c == 0 || IsDigit(c) || IsLetter(c)) {
        return c;
    }
    return c + 256;
}

int ComparePart(Bytes a, Bytes b) {
    size_t i = 0;
    size_t j = 0;
    for (;;) {
        if (IsDigit(At(a, i)) && IsDigit(At(b, j))) {
            while (At(a, i) == '0')
                ++i;
            while (At(b, j) == '0')
                ++j;
            int firstDifference = 0;
            while (IsDigit(At(a, i)) && IsDigit(At(b, j))) {
                if (firstDifference == 0 && At(a, i) != At(b, j)) {
                    firstDifference = At(a, i) < At(b, j) ? -1 : 1;
                }
                ++i;
                ++j;
            }
            if (IsDigit(At(a, i)))
                return 1;
            if (IsDigit(At(b, j)))
                return -1;
            if (firstDifference != 0)
                return firstDifference;
        }
        const int oa = Order(At(a, i));
        const int ob = Order(At(b, j));
        if (oa != ob) {
            return oa < ob ? -1 : 1;
        }
        if (At(a, i) == 0 && At(b, j) == 0) {
            return 0;
        }
        ++i;
        ++j;
    }
}

// Length of a leading epoch's digit run when the text starts with digits and
// a ":" follows them; 0 when there is no epoch.
size_t EpochLength(Bytes s) {
    size_t n = 0;
    while (n < s.size() && IsDigit(At(s, n)))
        ++n;
    return (n > 0 && At(s, n) == ':') ? n : 0;
}

bool IsZeroEpoch(Bytes digits) {
    return digits.find_first_not_of('0') == Bytes::npos;
}

}  // namespace

std::int32_t CompareVersionTexts(const std::string& left, const std::string& right) {
    Bytes a(left);
    Bytes b(right);
    const size_t epochA = EpochLength(a);
    const size_t epochB = EpochLength(b);
    if (epochA > 0 && epochB > 0) {
        if (const int d = ComparePart(a.substr(0, epochA), b.substr(0, epochB)); d != 0) {
            return d;
        }
    } else if (epochA > 0 && !IsZeroEpoch(a.substr(0, epochA))) {
        return 1;
    } else if (epochB > 0 && !IsZeroEpoch(b.substr(0, epochB))) {
        return -1;
    }
    if (epochA > 0)
        a.remove_prefix(epochA + 1);
    if (epochB > 0)
        b.remove_prefix(epochB + 1);

    const size_t dashA = a.rfind('-');
    const size_t dashB = b.rfind('-');
    const Bytes upstreamA = a.substr(0, dashA);
    const Bytes upstreamB = b.substr(0, dashB);
    if (const int d = ComparePart(upstreamA, upstreamB); d != 0) {
        return d;
    }
    const bool hasRevisionA = dashA != Bytes::npos;
    const bool hasRevisionB = dashB != Bytes::npos;
    if (hasRevisionA && hasRevisionB) {
        return ComparePart(a.substr(dashA + 1), b.substr(dashB + 1));
    }
    if (hasRevisionA != hasRevisionB) {
        return hasRevisionA ? 1 : -1;
    }
    return 0;
}

std::int32_t Version::Compare(const Version& other) const {
    return CompareVersionTexts(WideToUtf8(text_), WideToUtf8(other.text_));
}

}  // namespace orvik::pkgshared
