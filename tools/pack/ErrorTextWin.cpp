#include <windows.h>

#include <cstring>

#include "ErrorText.h"
#include "shared/SystemErrorMessage.h"
#include "shared/TextConversion.h"

namespace orvik::tools::pack {

std::wstring WindowsErrorText(unsigned long code) {
    if (code == 0) {
        return L"Windows gave no reason";
    }
    std::wstring text = orvik::pkgshared::GetSystemErrorMessage(code);
    text.erase(text.find_last_not_of(L" .\r\n") + 1);
    return L"error " + std::to_wstring(code) + L": " + text;
}

bool MayBeDiskFull(unsigned long code) {
    return code == 0 || code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL;
}

std::wstring ErrnoText(int code) {
    return orvik::pkgshared::Utf8ToWide(std::strerror(code));
}

}  // namespace orvik::tools::pack
