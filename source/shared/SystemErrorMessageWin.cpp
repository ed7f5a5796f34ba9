#include <windows.h>

#include "shared/SystemErrorMessage.h"
#include "shared/TextConversion.h"
#include "shared/utils/WinResources.h"

namespace orvik::pkgshared {

std::wstring GetSystemErrorMessage(std::uint32_t code) {
    wchar_t* buffer = nullptr;
    const DWORD length = ::FormatMessageW(
        FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM,
        nullptr, code, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), reinterpret_cast<LPWSTR>(&buffer),
        0, nullptr);
    if (length == 0) {
        return L"Format message failed with code " + ToDecimal(::GetLastError());
    }
    const UniqueHlocal owner(buffer);
    return std::wstring(buffer, length);
}

}  // namespace orvik::pkgshared
