// The configuration store's file side: loading, direct and safe saving. The
// few file-system steps that differ by platform are in ConfigStoreFiles*.cpp.
#include "shared/ConfigStoreFiles.h"

#include <cerrno>
#include <cstdio>

#include <boost/filesystem/operations.hpp>

#include "shared/ConfigStoreNames.h"
#include "shared/utils/UniqueFile.h"

namespace orvik::pkgshared {

int NegativeErrno(int fallback) {
    return errno != 0 ? -errno : fallback;
}

int WriteStoreFile(const ConfigStore& store, const std::wstring& path) {
    errno = 0;
    UniqueFile file = OpenFile(path, "wb");
    if (!file) {
        return ConfigStore::kCannotOpenOutput;
    }
    const int written = store.WriteTo([&file](const std::string& line) {
        const std::string withEnd = line + "\r\n";
        errno = 0;
        if (std::fwrite(withEnd.data(), 1, withEnd.size(), file.get()) != withEnd.size()) {
            return NegativeErrno(-EIO);
        }
        return 0;
    });
    errno = 0;
    const int closed = std::fclose(file.release());
    if (written != 0) {
        return written;
    }
    return closed == 0 ? ConfigStore::kOk : NegativeErrno(-EIO);
}

int ConfigStore::LoadFile(const std::wstring& path) {
    sections_.clear();
    byteOrderMark_ = false;
    errno = 0;
    const UniqueFile file = OpenFile(path, "rb");
    if (!file) {
        return NegativeErrno(-EIO);
    }
    std::string text;
    char buffer[4096];
    size_t read = 0;
    while ((read = std::fread(buffer, 1, sizeof(buffer), file.get())) > 0) {
        text.append(buffer, read);
    }
    if (std::ferror(file.get())) {
        return -EIO;
    }
    LoadText(text);
    return kOk;
}

int ConfigStore::SaveDirect(const std::wstring& path) const {
    return WriteStoreFile(*this, path);
}

namespace storefiles {
namespace {

constexpr int kMaxNumberedTemporary = 999;

// Creates the first free "ini$$<n>.TMP" beside the target and names it in
// `name`. Returns ConfigStore::kOk, kCannotCreateTemporary or kNoTemporaryName.
int CreateNumberedTemporary(const std::wstring& target, std::wstring& name) {
    for (int number = 0; number <= kMaxNumberedTemporary; ++number) {
        const auto candidate = ini::NumberedTemporaryName(target, number);
        if (!candidate) {
            return ConfigStore::kCannotCreateTemporary;
        }
        switch (CreateNewFile(*candidate)) {
            case CreateResult::kCreated:
                name = *candidate;
                return ConfigStore::kOk;
            case CreateResult::kExists:
                break;
            case CreateResult::kFailed:
                return ConfigStore::kCannotCreateTemporary;
        }
    }
    return ConfigStore::kNoTemporaryName;
}

}  // namespace

bool ProbeTarget(const std::wstring& path) {
    boost::system::error_code error;
    if (boost::filesystem::exists(boost::filesystem::path(path), error)) {
        return OpenFile(path, "r+b") != nullptr;
    }
    if (OpenFile(path, "wb") == nullptr) {
        return false;
    }
    RemoveFile(path);
    return true;
}

}  // namespace storefiles

int ConfigStore::SaveSafe(const std::wstring& path) const {
    if (!storefiles::ProbeTarget(path)) {
        return kCannotUpdateTarget;
    }
    std::wstring temporary;
    if ((options_.save & kNumberedTemporary) != 0) {
        if (const int result = storefiles::CreateNumberedTemporary(path, temporary);
            result != kOk) {
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
        storefiles::RemoveFile(temporary);
        return result;
    }
    if (!storefiles::MoveOver(temporary, path)) {
        storefiles::RemoveFile(temporary);
        return kCannotUpdateTarget;
    }
    return kOk;
}

}  // namespace orvik::pkgshared
