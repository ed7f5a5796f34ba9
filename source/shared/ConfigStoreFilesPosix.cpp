// The configuration store's safe save for the native (POSIX) build: the same
// steps as on Windows, with POSIX calls.
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include <boost/filesystem/path.hpp>

#include "shared/ConfigStore.h"
#include "shared/ConfigStoreFiles.h"

namespace orvik::pkgshared {
namespace {

std::string Native(const std::wstring& path) {
    return boost::filesystem::path(path).string();
}

}  // namespace

namespace storefiles {

CreateResult CreateNewFile(const std::wstring& path) {
    const int file = ::open(Native(path).c_str(), O_WRONLY | O_CREAT | O_EXCL, 0644);
    if (file >= 0) {
        ::close(file);
        return CreateResult::kCreated;
    }
    return errno == EEXIST ? CreateResult::kExists : CreateResult::kFailed;
}

void RemoveFile(const std::wstring& path) {
    std::remove(Native(path).c_str());
}

bool MoveOver(const std::wstring& from, const std::wstring& to) {
    return std::rename(Native(from).c_str(), Native(to).c_str()) == 0;
}

}  // namespace storefiles

}  // namespace orvik::pkgshared
