#include "shared/UiLanguage.h"

namespace orvik::pkgshared {

// The native build speaks English (United States).
std::uint16_t CurrentUiLanguage() {
    return 0x0409;
}

}  // namespace orvik::pkgshared
