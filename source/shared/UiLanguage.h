#pragma once
#include <cstdint>

namespace orvik::pkgshared {

// The calling thread's user-interface language identifier.
std::uint16_t CurrentUiLanguage();

}  // namespace orvik::pkgshared
