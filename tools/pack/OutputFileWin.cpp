#include <windows.h>

#include "ErrorText.h"
#include "OutputFile.h"
#include "shared/utils/WinResources.h"

namespace orvik::tools::pack {

struct OutputFile::Handle {
    orvik::pkgshared::UniqueHandle file;
};

OutputFile::OutputFile() : handle_(std::make_unique<Handle>()) {}

OutputFile::~OutputFile() = default;

bool OutputFile::Create(const std::wstring& path, std::wstring& error) {
    handle_->file.reset(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL | FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
    if (!handle_->file) {
        error = L"cannot create " + path + L": " + SystemErrorText(::GetLastError());
        return false;
    }
    path_ = path;
    return true;
}

std::size_t OutputFile::WritePart(const unsigned char* data, std::size_t size,
                                  unsigned long& code) {
    DWORD written = 0;
    ::SetLastError(0);
    if (!::WriteFile(handle_->file.get(), data, static_cast<DWORD>(size), &written, nullptr) ||
        written == 0) {
        code = ::GetLastError();
        return 0;
    }
    return written;
}

}  // namespace orvik::tools::pack
