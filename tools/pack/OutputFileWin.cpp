#include <windows.h>

#include <algorithm>

#include "OutputFile.h"
#include "shared/SystemErrorMessage.h"
#include "shared/utils/WinResources.h"

namespace orvik::tools::pack {
namespace {

// "error N: text" for the thread's last error, or that there was none (Wine leaves none when a
// write runs out of room).
std::wstring LastErrorText(DWORD code) {
    if (code == 0) {
        return L"Windows gave no reason";
    }
    std::wstring text = orvik::pkgshared::GetSystemErrorMessage(code);
    text.erase(text.find_last_not_of(L" .\r\n") + 1);
    return L"error " + std::to_wstring(code) + L": " + text;
}

}  // namespace

struct OutputFile::Handle {
    orvik::pkgshared::UniqueHandle file;
};

OutputFile::OutputFile() : handle_(std::make_unique<Handle>()) {}

OutputFile::~OutputFile() = default;

bool OutputFile::Create(const std::wstring& path, std::wstring& error) {
    handle_->file.reset(::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                      FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!handle_->file) {
        error = L"cannot create " + path + L": " + LastErrorText(::GetLastError());
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
            error = L"cannot write " + path_ + L": " + LastErrorText(code);
            if (code == 0 || code == ERROR_DISK_FULL || code == ERROR_HANDLE_DISK_FULL) {
                error += L": free space there or write the installer to another folder";
            }
            return false;
        }
        bytes += written;
        size -= written;
    }
    return true;
}

}  // namespace orvik::tools::pack
