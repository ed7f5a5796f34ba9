#pragma once
// OsVersionEvaluator: compares the running Windows version (major, minor,
// build) with a required one. The system's version is read from the registry
// (it reports the real version, whatever the process's compatibility
// settings); when that fails, the system's own version test answers.
#include <cstdint>
#include <optional>
#include <string>

namespace orvik::pkgshared {

// The system version compared with the given one.
enum VersionComparison : int {
    kVersionEqual = 1,
    kVersionLess = 2,
    kVersionLessOrEqual = 3,
    kVersionGreater = 4,
    kVersionGreaterOrEqual = 5,
    kVersionNotEqual = 6,
    kVersionAlways = 7,
};

struct SystemVersion {
    static constexpr std::uint32_t kUnknown = 0xFFFFFFFFu;
    bool known = false;  // all three values were read
    std::uint32_t major = 0;
    std::uint32_t minor = kUnknown;
    std::uint32_t build = kUnknown;
};

// Reads the values of one registry key.
class IRegistryValueReader {
public:
    virtual ~IRegistryValueReader() = default;
    // The DWORD value `name`, or nothing when absent or of another type.
    virtual std::optional<std::uint32_t> ReadDword(const wchar_t* name) = 0;
    // The string value `name`, or nothing when absent or of another type.
    virtual std::optional<std::wstring> ReadString(const wchar_t* name) = 0;
};

// The system version from the values "CurrentMajorVersionNumber",
// "CurrentMinorVersionNumber" (DWORDs) and "CurrentBuildNumber" (a string
// holding an unsigned decimal number). `known` only when all three are read.
SystemVersion ReadSystemVersion(IRegistryValueReader& currentVersionKey);

// The system's version test (VerifyVersionInfoW on Windows).
class IVersionVerifier {
public:
    // The system's relational operators: VER_EQUAL .. VER_LESS_EQUAL.
    enum Condition : std::uint8_t {
        kEqual = 1,
        kGreater = 2,
        kGreaterEqual = 3,
        kLess = 4,
        kLessEqual = 5,
    };
    struct Result {
        bool matched;
        std::uint32_t error;  // the last error when not matched
    };
    virtual ~IVersionVerifier() = default;
    // Tests the major version, and the minor and build when given, all with
    // the same condition.
    virtual Result Verify(Condition condition, std::uint32_t major,
                          std::optional<std::uint32_t> minor,
                          std::optional<std::uint32_t> build) = 0;
};

class OsVersionEvaluator {
public:
    // `verifier` must outlive the evaluator.
    OsVersionEvaluator(SystemVersion system, IVersionVerifier& verifier)
        : system_(system), verifier_(verifier) {}
    virtual ~OsVersionEvaluator() = default;

    // True when the system version relates to major.minor.build as
    // `comparison` says. `minor` and `build` of -1 are not compared (a minor
    // of -1 stops the build from being compared too); a negative `major` is
    // false, except for kVersionAlways.
    virtual bool Evaluate(int comparison, std::int32_t major, std::int32_t minor,
                          std::int32_t build) const;

private:
    bool EvaluateKnown(int comparison, std::int32_t major, std::int32_t minor,
                       std::int32_t build) const;
    bool EvaluateWithVerifier(int comparison, std::int32_t major, std::int32_t minor,
                              std::int32_t build) const;

    SystemVersion system_;
    IVersionVerifier& verifier_;
};

}  // namespace orvik::pkgshared
