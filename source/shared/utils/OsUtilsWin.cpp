#include <windows.h>

#include "shared/utils/OsUtils.h"
#include "shared/utils/WinResources.h"

namespace orvik::pkgshared::osutils {

bool IsElevated() {
    UniqueHandle token;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.put())) {
        return false;
    }
    TOKEN_ELEVATION elevation = {};
    DWORD returned = 0;
    if (!::GetTokenInformation(token.get(), TokenElevation, &elevation, sizeof(elevation),
                               &returned)) {
        return false;
    }
    return elevation.TokenIsElevated != 0;
}

}  // namespace orvik::pkgshared::osutils
