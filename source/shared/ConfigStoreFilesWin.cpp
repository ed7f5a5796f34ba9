// The configuration store's safe-save steps on Windows.
#include <windows.h>

#include "shared/ConfigStore.h"
#include "shared/ConfigStoreFiles.h"
#include "shared/ConfigStoreNames.h"
#include "shared/utils/WinResources.h"

namespace orvik::pkgshared {
namespace storefiles {

int CreateNumberedTemporary(const std::wstring& target, std::wstring& name) {
    for (int number = 0; number <= kMaxNumberedTemporary; ++number) {
        const auto candidate = ini::NumberedTemporaryName(target, number);
        if (!candidate) {
            return ConfigStore::kCannotCreateTemporary;
        }
        const UniqueHandle file(::CreateFileW(candidate->c_str(), GENERIC_WRITE, 0, nullptr,
                                              CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
        if (file) {
            name = *candidate;
            return ConfigStore::kOk;
        }
        if (::GetLastError() != ERROR_FILE_EXISTS) {
            return ConfigStore::kCannotCreateTemporary;
        }
    }
    return ConfigStore::kNoTemporaryName;
}

void RemoveFile(const std::wstring& path) {
    ::DeleteFileW(path.c_str());
}

bool MoveOver(const std::wstring& from, const std::wstring& to) {
    return ::MoveFileExW(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != FALSE;
}

}  // namespace storefiles

}  // namespace orvik::pkgshared
