#include <windows.h>

#include "ConsoleProgress.h"

namespace orvik::tools::pack {

bool ConsoleProgress::StandardErrorIsConsole() {
    HANDLE error = ::GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    return error != nullptr && error != INVALID_HANDLE_VALUE &&
           ::GetFileType(error) == FILE_TYPE_CHAR && ::GetConsoleMode(error, &mode);
}

void ConsoleProgress::WriteToConsole(const std::wstring& text) {
    DWORD written = 0;
    ::WriteConsoleW(::GetStdHandle(STD_ERROR_HANDLE), text.data(), static_cast<DWORD>(text.size()),
                    &written, nullptr);
}

}  // namespace orvik::tools::pack
