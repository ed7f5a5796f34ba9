#pragma once
// AbstractAttributes: named attributes stored as text, with typed access.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvik::pkgshared {

// "true", "yes", "on", "1" and "false", "no", "off", "0", ignoring ASCII case
// and surrounding blanks; anything else is not a boolean.
std::optional<bool> ParseBoolean(std::wstring_view text);
// An optionally signed decimal integer within 64 bits, surrounding blanks
// allowed; anything else is not a number.
std::optional<std::int64_t> ParseNumber(std::wstring_view text);

class AbstractAttributes {
public:
    virtual ~AbstractAttributes() = default;

    // The text of `name`; nothing when the attribute is absent.
    virtual std::optional<std::wstring> GetAttribute(const std::wstring& name) const = 0;
    virtual void SetAttribute(const std::wstring& name, const std::wstring& value) = 0;
    virtual std::vector<std::wstring> ListAttributes() const = 0;

    // Absent attributes answer nothing. Throws Exception -125035 (name,
    // value) when the text is not a boolean.
    std::optional<bool> GetBool(const std::wstring& name) const;
    // Throws Exception -125036 (name, value) when the text is not a number.
    std::optional<std::int64_t> GetNumber(const std::wstring& name) const;
    std::optional<std::wstring> GetString(const std::wstring& name) const {
        return GetAttribute(name);
    }
    void SetBool(const std::wstring& name, bool value) {
        SetAttribute(name, value ? L"true" : L"false");
    }
    void SetNumber(const std::wstring& name, std::int64_t value) {
        SetAttribute(name, std::to_wstring(value));
    }
};

}  // namespace orvik::pkgshared
