#include <unistd.h>

#include "ConsoleProgress.h"
#include "shared/TextConversion.h"

namespace orvik::tools::pack {

bool ConsoleProgress::StandardErrorIsConsole() {
    return ::isatty(STDERR_FILENO) == 1;
}

void ConsoleProgress::WriteToConsole(const std::wstring& text) {
    const std::string bytes = orvik::pkgshared::WideToUtf8(text);
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t written = ::write(STDERR_FILENO, bytes.data() + done, bytes.size() - done);
        if (written <= 0) {
            return;  // progress is a courtesy: a terminal that fails to take it is left alone
        }
        done += static_cast<std::size_t>(written);
    }
}

}  // namespace orvik::tools::pack
