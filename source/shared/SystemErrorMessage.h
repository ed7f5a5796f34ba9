#pragma once
#include <cstdint>
#include <string>

namespace orvik::pkgshared {

// The system's text for a Win32 error number, in the user's default language.
// When the system has none: "Format message failed with code <new last error>".
std::wstring GetSystemErrorMessage(std::uint32_t code);

}  // namespace orvik::pkgshared
