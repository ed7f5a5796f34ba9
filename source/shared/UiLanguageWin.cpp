#include <windows.h>

#include "shared/UiLanguage.h"

namespace orvik::pkgshared {

std::uint16_t CurrentUiLanguage() {
    return ::GetThreadUILanguage();
}

}  // namespace orvik::pkgshared
