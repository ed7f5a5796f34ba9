#include <windows.h>

#include "ResolvedPath.h"
#include "shared/utils/WinResources.h"

namespace orvik::tools::pack {

std::optional<std::wstring> ResolvedPath(const std::wstring& path) {
    // No access is asked for, so a file held open by others still opens;
    // folders open only with backup semantics.
    const orvik::pkgshared::UniqueHandle handle(
        ::CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                      nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    if (!handle) {
        return std::nullopt;
    }
    std::wstring resolved(MAX_PATH, L'\0');
    for (;;) {
        const DWORD length = ::GetFinalPathNameByHandleW(handle.get(), resolved.data(),
                                                         static_cast<DWORD>(resolved.size()), 0);
        if (length == 0) {
            return std::nullopt;
        }
        if (length < resolved.size()) {
            resolved.resize(length);
            // The name as a user writes it, without the long-path prefix.
            if (resolved.rfind(L"\\\\?\\UNC\\", 0) == 0) {
                return L"\\" + resolved.substr(7);
            }
            return resolved.rfind(L"\\\\?\\", 0) == 0 ? resolved.substr(4) : resolved;
        }
        resolved.resize(length);  // the size asked for, terminator included
    }
}

}  // namespace orvik::tools::pack
