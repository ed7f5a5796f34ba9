// The configuration store's safe save for the native (POSIX) build: the same
// steps as on Windows, with POSIX calls.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include <boost/filesystem/path.hpp>

#include "shared/ConfigStore.h"
#include "shared/ConfigStoreFiles.h"
#include "shared/ConfigStoreNames.h"
#include "shared/utils/UniqueFile.h"

namespace orvik::pkgshared {
namespace {

constexpr int kMaxNumberedTemporary = 999;

std::string Native(const std::wstring& path) {
    return boost::filesystem::path(path).string();
}

bool ProbeTarget(const std::wstring& path) {
    if (::access(Native(path).c_str(), F_OK) == 0) {
        return OpenFile(path, "r+b") != nullptr;
    }
    if (OpenFile(path, "wb") == nullptr) {
        return false;
    }
    std::remove(Native(path).c_str());
    return true;
}

int CreateNumberedTemporary(const std::wstring& target, std::wstring& name) {
    for (int number = 0; number <= kMaxNumberedTemporary; ++number) {
        const auto candidate = ini::NumberedTemporaryName(target, number);
        if (!candidate) {
            return ConfigStore::kCannotCreateTemporary;
        }
        const int file = ::open(Native(*candidate).c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
        if (file >= 0) {
            ::close(file);
            name = *candidate;
            return ConfigStore::kOk;
        }
        if (errno != EEXIST) {
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
        std::remove(Native(temporary).c_str());
        return result;
    }
    if (std::rename(Native(temporary).c_str(), Native(path).c_str()) != 0) {
        std::remove(Native(temporary).c_str());
        return kCannotUpdateTarget;
    }
    return kOk;
}

}  // namespace orvik::pkgshared
