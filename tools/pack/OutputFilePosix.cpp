#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include <boost/filesystem/path.hpp>

#include "ErrorText.h"
#include "OutputFile.h"

namespace orvik::tools::pack {

struct OutputFile::Handle {
    int file = -1;
    ~Handle() {
        if (file != -1) {
            ::close(file);
        }
    }
};

OutputFile::OutputFile() : handle_(std::make_unique<Handle>()) {}

OutputFile::~OutputFile() = default;

bool OutputFile::Create(const std::wstring& path, std::wstring& error) {
    handle_->file = ::open(boost::filesystem::path(path).c_str(),
                           O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (handle_->file == -1) {
        error =
            L"cannot create " + path + L": " + SystemErrorText(static_cast<unsigned long>(errno));
        return false;
    }
    path_ = path;
    return true;
}

std::size_t OutputFile::WritePart(const unsigned char* data, std::size_t size,
                                  unsigned long& code) {
    ssize_t written = -1;
    do {
        errno = 0;
        written = ::write(handle_->file, data, size);
    } while (written == -1 && errno == EINTR);
    if (written <= 0) {
        code = static_cast<unsigned long>(errno);
        return 0;
    }
    return static_cast<std::size_t>(written);
}

}  // namespace orvik::tools::pack
