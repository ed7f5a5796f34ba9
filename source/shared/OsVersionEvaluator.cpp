#include "shared/OsVersionEvaluator.h"

namespace orvik::pkgshared {
namespace {

constexpr std::uint32_t kErrorOldWinVersion = 1150;

std::optional<std::uint32_t> ParseUnsigned(const std::wstring& text) {
    if (text.empty() || text.size() > 10) {
        return std::nullopt;
    }
    std::uint64_t value = 0;
    for (const wchar_t c : text) {
        if (c < L'0' || c > L'9') {
            return std::nullopt;
        }
        value = value * 10 + static_cast<std::uint64_t>(c - L'0');
    }
    if (value > 0xFFFFFFFFu) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(value);
}

bool Known(std::int32_t given, std::uint32_t stored) {
    return given != -1 && stored != SystemVersion::kUnknown;
}

}  // namespace

SystemVersion ReadSystemVersion(IRegistryValueReader& currentVersionKey) {
    SystemVersion version;
    const auto major = currentVersionKey.ReadDword(L"CurrentMajorVersionNumber");
    const auto minor = currentVersionKey.ReadDword(L"CurrentMinorVersionNumber");
    const auto buildText = currentVersionKey.ReadString(L"CurrentBuildNumber");
    const auto build = buildText ? ParseUnsigned(*buildText) : std::nullopt;
    if (major && minor && build) {
        version.known = true;
        version.major = *major;
        version.minor = *minor;
        version.build = *build;
    }
    return version;
}

bool OsVersionEvaluator::Evaluate(int comparison, std::int32_t major, std::int32_t minor,
                                  std::int32_t build) const {
    if (comparison == kVersionAlways) {
        return true;
    }
    if (major < 0) {
        return false;
    }
    return system_.known ? EvaluateKnown(comparison, major, minor, build)
                         : EvaluateWithVerifier(comparison, major, minor, build);
}

bool OsVersionEvaluator::EvaluateKnown(int comparison, std::int32_t major, std::int32_t minor,
                                       std::int32_t build) const {
    std::int64_t d = static_cast<std::int64_t>(system_.major) - major;
    if (d == 0 && Known(minor, system_.minor)) {
        d = static_cast<std::int64_t>(system_.minor) - minor;
        if (d == 0 && Known(build, system_.build)) {
            d = static_cast<std::int64_t>(system_.build) - build;
        }
    }
    switch (comparison) {
        case kVersionEqual:
            return d == 0;
        case kVersionLess:
            return d < 0;
        case kVersionLessOrEqual:
            return d <= 0;
        case kVersionGreater:
            return d > 0;
        case kVersionGreaterOrEqual:
            return d >= 0;
        case kVersionNotEqual:
            return d != 0;
        default:
            return false;
    }
}

bool OsVersionEvaluator::EvaluateWithVerifier(int comparison, std::int32_t major,
                                              std::int32_t minor, std::int32_t build) const {
    IVersionVerifier::Condition condition;
    switch (comparison) {
        case kVersionEqual:
        case kVersionNotEqual:
            condition = IVersionVerifier::kEqual;
            break;
        case kVersionLess:
            condition = IVersionVerifier::kLess;
            break;
        case kVersionLessOrEqual:
            condition = IVersionVerifier::kLessEqual;
            break;
        case kVersionGreater:
            condition = IVersionVerifier::kGreater;
            break;
        case kVersionGreaterOrEqual:
            condition = IVersionVerifier::kGreaterEqual;
            break;
        default:
            return false;
    }
    const auto minorPart = minor >= 0 ? std::optional<std::uint32_t>(minor) : std::nullopt;
    const auto buildPart = build >= 0 ? std::optional<std::uint32_t>(build) : std::nullopt;
    const IVersionVerifier::Result result =
        verifier_.Verify(condition, static_cast<std::uint32_t>(major), minorPart, buildPart);
    const bool inverted = comparison == kVersionNotEqual;
    if (result.matched) {
        return !inverted;
    }
    if (result.error == kErrorOldWinVersion) {
        return inverted;
    }
    return false;
}

}  // namespace orvik::pkgshared
