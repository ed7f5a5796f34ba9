#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include <boost/filesystem/path.hpp>

#include "ErrorText.h"
#include "FileMapping.h"

namespace orvik::tools::pack {

struct FileMapping::Handles {
    int file = -1;
    void* view = MAP_FAILED;
    std::size_t size = 0;
    ~Handles() {
        if (view != MAP_FAILED) {
            ::munmap(view, size);
        }
        if (file != -1) {
            ::close(file);
        }
    }
};

FileMapping::FileMapping() : handles_(std::make_unique<Handles>()) {}

FileMapping::~FileMapping() = default;

bool FileMapping::Open(const std::wstring& path, std::wstring& error) {
    const auto failed = [&](const wchar_t* what) {
        error = what + path + L": " + SystemErrorText(static_cast<unsigned long>(errno));
        return false;
    };
    handles_->file = ::open(boost::filesystem::path(path).c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (handles_->file == -1 || ::fstat(handles_->file, &status) != 0) {
        return failed(L"cannot read ");
    }
    if (S_ISDIR(status.st_mode)) {
        errno = EISDIR;
        return failed(L"cannot read ");
    }
    size_ = static_cast<std::uint64_t>(status.st_size);
    if (size_ == 0) {
        return true;
    }
    handles_->size = static_cast<std::size_t>(size_);
    handles_->view = ::mmap(nullptr, handles_->size, PROT_READ, MAP_SHARED, handles_->file, 0);
    if (handles_->view == MAP_FAILED) {
        return failed(L"cannot map ");
    }
    data_ = static_cast<const unsigned char*>(handles_->view);
    return true;
}

}  // namespace orvik::tools::pack
