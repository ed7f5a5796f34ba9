#include "ErrorText.h"

#include <cstring>

#include "shared/SystemErrorMessage.h"
#include "shared/TextConversion.h"

namespace orvik::tools::pack {

std::wstring SystemErrorText(unsigned long code) {
    if (code == 0) {
        return L"the system gave no reason";
    }
    std::wstring text = orvik::pkgshared::GetSystemErrorMessage(static_cast<std::uint32_t>(code));
    text.erase(text.find_last_not_of(L" .\r\n") + 1);
    return L"error " + std::to_wstring(code) + L": " + text;
}

std::wstring ErrnoText(int code) {
    return orvik::pkgshared::Utf8ToWide(std::strerror(code));
}

}  // namespace orvik::tools::pack
