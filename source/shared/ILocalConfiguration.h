#pragma once
#include <cstdint>
#include <optional>
#include <string>

namespace orvik::pkgshared {

// Typed queries of the local configuration's settings by name. A setting that
// is not configured answers "absent" (no value), never a default.
class ILocalConfiguration {
public:
    virtual ~ILocalConfiguration() = default;
    // Throws Exception -125035 when the value is not a boolean.
    virtual std::optional<bool> GetBool(const std::wstring& name) const = 0;
    // Throws Exception -125036 when the value is not a number or out of range.
    virtual std::optional<std::int64_t> GetNumber(const std::wstring& name) const = 0;
    virtual std::optional<std::wstring> GetString(const std::wstring& name) const = 0;
};

}  // namespace orvik::pkgshared
