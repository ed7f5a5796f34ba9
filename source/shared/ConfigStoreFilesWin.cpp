// The configuration store's safe save on Windows.
#include <windows.h>

#include <cstdio>

#include "shared/ConfigStore.h"
#include "shared/ConfigStoreFiles.h"
#include "shared/ConfigStoreNames.h"
#include "shared/utils/UniqueFile.h"
#include "shared/utils/WinResources.h"

namespace orvik::pkgshared {
namespace {

constexpr int kMaxNumberedTemporary = 999;

bool Exists(const std::wstring& path) {
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// Opens and closes the target the way the save will need it, so that a
// locked or read-only target fails before anything is written.
bool ProbeTarget(const std::wstring& path) {
    if (Exists(path)) {
        return OpenFile(path, "r+b") != nullptr;
    }
    if (OpenFile(path, "wb") == nullptr) {
        return false;
    }
    ::DeleteFileW(path.c_str());
    return true;
}

// Creates the first free "ini$$<n>.TMP" beside the target.
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

}  // namespace

int ConfigStore::SaveSafe(const std::wstring& path) const {
    if (!ProbeTarget(path)) {
        return kCannotUpdateTarget;
    }
    std::wstring temporary;
    if ((options_.save & kNumberedTemporary) != 0) {
        if (const int result = CreateNumberedTemporary(path, temporary); result != kOk) {
            return result;
        }
    } else {
        const auto name = ini::SafeSaveTemporaryName(path);
        if (!name) {
            return kCannotCreateTemporary;
        }
        temporary = *name;
    }
    if (const int result = WriteStoreFile(*this, temporary); result != kOk) {
        ::DeleteFileW(temporary.c_str());
        return result;
    }
    if (!::MoveFileExW(temporary.c_str(), path.c_str(), MOVEFILE_REPLACE_EXISTING)) {
        ::DeleteFileW(temporary.c_str());
        return kCannotUpdateTarget;
    }
    return kOk;
}

}  // namespace orvik::pkgshared
