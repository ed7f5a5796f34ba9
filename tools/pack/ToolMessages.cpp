#include "ToolMessages.h"

#include "shared/ErrorMessage.h"
#include "shared/TextConversion.h"

namespace orvik::tools::pack {

void Print(std::FILE* stream, const std::wstring& text) {
    const std::string bytes = orvik::pkgshared::WideToUtf8(text);
    std::fwrite(bytes.data(), 1, bytes.size(), stream);
    std::fflush(stream);
}

void Error(const std::wstring& text) {
    Print(stderr, L"orvikpkg-pack: error: " + text + L"\n");
}

std::wstring ErrorText(const pkgshared::Exception& e) {
    return std::to_wstring(e.GetErrorCode()) + L": " + orvik::pkgshared::FormatErrorMessage(e);
}

bool Report(const std::vector<std::wstring>& problems, const wchar_t* what, bool force) {
    for (const std::wstring& problem : problems) {
        Print(stderr, std::wstring(L"orvikpkg-pack: ") + (force ? L"warning: " : L"error: ") +
                          what + problem + L"\n");
    }
    if (!problems.empty() && !force) {
        Print(stderr,
              L"orvikpkg-pack: nothing written; correct this, or give --force to embed "
              L"it anyway\n");
    }
    return problems.empty() || force;
}

}  // namespace orvik::tools::pack
