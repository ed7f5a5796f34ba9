#pragma once
// The largest payload an installer may carry.
#include <cstdint>
#include <optional>
#include <string>

namespace orvik::tools::pack {

// 1.5 GiB. The payload travels inside the 32-bit installer's image, which is
// mapped whole into the process's address space before any of its code runs;
// this is the largest payload verified to install. Past it the installer may
// not load at all, with no message the user could act on.
constexpr std::uint64_t kMaxPayloadBytes = std::uint64_t{1536} << 20;

// Nothing when a payload archive of `size` bytes may be carried; otherwise the
// reason it may not, for the user.
std::optional<std::wstring> PayloadTooLarge(std::uint64_t size);

}  // namespace orvik::tools::pack
