// The configuration store's safe-save steps on Windows.
#include <windows.h>

#include "shared/ConfigStore.h"
#include "shared/ConfigStoreFiles.h"
#include "shared/utils/WinResources.h"

namespace orvik::pkgshared {
namespace storefiles {

CreateResult CreateNewFile(const std::wstring& path) {
    const UniqueHandle file(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                                          FILE_ATTRIBUTE_NORMAL, nullptr));
    if (file) {
        return CreateResult::kCreated;
    }
    return ::GetLastError() == ERROR_FILE_EXISTS ? CreateResult::kExists : CreateResult::kFailed;
}

void RemoveFile(const std::wstring& path) {
    ::DeleteFileW(path.c_str());
}

bool MoveOver(const std::wstring& from, const std::wstring& to) {
    return ::MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
}

}  // namespace storefiles

}  // namespace orvik::pkgshared
