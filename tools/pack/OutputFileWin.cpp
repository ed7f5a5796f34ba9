#include <windows.h>

#include <algorithm>

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
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!handle_->file) {
        error = L"cannot create " + path + L": " + WindowsErrorText(::GetLastError());
        return false;
    }
    path_ = path;
    return true;
}

bool OutputFile::Write(const void* data, std::size_t size, std::wstring& error) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    while (size > 0) {
        // A write that runs out of room may first write part of what it was given.
        const DWORD part = static_cast<DWORD>(std::min<std::size_t>(size, std::size_t{1} << 30));
        DWORD written = 0;
        ::SetLastError(0);
        if (!::WriteFile(handle_->file.get(), bytes, part, &written, nullptr) || written == 0) {
            const DWORD code = ::GetLastError();
            error = L"cannot write " + path_ + L": " + WindowsErrorText(code);
            if (MayBeDiskFull(code)) {
                error += std::wstring(L": ") + kFreeSpaceAdvice;
            }
            return false;
        }
        bytes += written;
        size -= written;
    }
    return true;
}

}  // namespace orvik::tools::pack
