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

namespace orvik::pkgshared {
namespace {

std::string Native(const std::wstring& path) {
    return boost::filesystem::path(path).string();
}

}  // namespace

namespace storefiles {

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

void RemoveFile(const std::wstring& path) {
    std::remove(Native(path).c_str());
}

bool MoveOver(const std::wstring& from, const std::wstring& to) {
    return std::rename(Native(from).c_str(), Native(to).c_str()) == 0;
}

}  // namespace storefiles

}  // namespace orvik::pkgshared
