#pragma once
#include <cstdint>
#include <string>

namespace orvik::pkgshared {

// A package-style version text ("[epoch:]upstream[-revision]"), kept exactly
// as given, ordered the way the package manager orders package versions:
// digit runs compare numerically, "~" sorts before everything (even the end),
// letters before punctuation and non-ASCII.
class Version {
public:
    Version() = default;
    explicit Version(std::wstring text) : text_(std::move(text)) {}
    Version(const Version&) = default;
    Version& operator=(const Version&) = default;
    virtual ~Version() = default;

    // Negative when this version orders before `other`, 0 when equal,
    // positive when after.
    std::int32_t Compare(const Version& other) const;
    std::wstring ToString() const { return text_; }

private:
    std::wstring text_;
};

// The same ordering over UTF-8 texts.
std::int32_t CompareVersionTexts(const std::string& left, const std::string& right);

}  // namespace orvik::pkgshared
