#include <windows.h>

#include "ErrorText.h"
#include "FileMapping.h"
#include "shared/utils/WinResources.h"

namespace orvik::tools::pack {

namespace {
void Unmap(const void* view) {
    ::UnmapViewOfFile(view);
}
}  // namespace

struct FileMapping::Handles {
    orvik::pkgshared::UniqueHandle file, mapping;
    std::unique_ptr<const void, void (*)(const void*)> view{nullptr, &Unmap};
};

FileMapping::FileMapping() : handles_(std::make_unique<Handles>()) {}

FileMapping::~FileMapping() = default;

bool FileMapping::Open(const std::wstring& path, std::wstring& error) {
    const auto failed = [&](const wchar_t* what) {
        error = what + path + L": " + SystemErrorText(::GetLastError());
        return false;
    };
    handles_->file.reset(::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                       OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    LARGE_INTEGER size{};
    if (!handles_->file || !::GetFileSizeEx(handles_->file.get(), &size)) {
        return failed(L"cannot read ");
    }
    size_ = static_cast<std::uint64_t>(size.QuadPart);
    if (size_ == 0) {
        return true;
    }
    handles_->mapping.reset(
        ::CreateFileMappingW(handles_->file.get(), nullptr, PAGE_READONLY, 0, 0, nullptr));
    if (handles_->mapping) {
        handles_->view.reset(::MapViewOfFile(handles_->mapping.get(), FILE_MAP_READ, 0, 0, 0));
    }
    if (!handles_->view) {
        return failed(L"cannot map ");
    }
    data_ = static_cast<const unsigned char*>(handles_->view.get());
    return true;
}

}  // namespace orvik::tools::pack
