#include <cstring>

#include "shared/SystemErrorMessage.h"
#include "shared/TextConversion.h"

namespace orvik::pkgshared {

// The C library's text for an errno value.
std::wstring GetSystemErrorMessage(std::uint32_t code) {
    return Utf8ToWide(std::strerror(static_cast<int>(code)));
}

}  // namespace orvik::pkgshared
