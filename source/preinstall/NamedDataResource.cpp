#include "preinstall/NamedDataResource.h"

#include <windows.h>

#include "shared/Raise.h"

namespace orvik::pkgui::preinstall {
namespace {

constexpr std::int32_t kDataResourceErrorCode = -126315;
constexpr std::int32_t kDataResourceErrorLine = 72;

}  // namespace

NamedDataResource::NamedDataResource(const std::wstring& name) {
    HRSRC resource = ::FindResourceW(nullptr, name.c_str(), RT_RCDATA);
    if (resource == nullptr) {
        return;
    }
    exists_ = true;
    size_ = ::SizeofResource(nullptr, resource);
    if (size_ != 0) {
        if (HGLOBAL loaded = ::LoadResource(nullptr, resource)) {
            data_ = static_cast<const std::uint8_t*>(::LockResource(loaded));
        }
    }
    if (size_ == 0 || data_ == nullptr) {
        const DWORD error = ::GetLastError();
        ORVIK_THROW_AT(kDataResourceErrorLine, PreInstallDataResourceError, name, error);
    }
}

PreInstallDataResourceError::PreInstallDataResourceError(const std::wstring& name,
                                                         std::uint32_t windowsError,
                                                         const wchar_t* sourceFile,
                                                         std::int32_t line)
    : Exception(kDataResourceErrorCode, std::to_wstring(windowsError), name, sourceFile, line) {}

PreInstallDataResourceError::~PreInstallDataResourceError() = default;

}  // namespace orvik::pkgui::preinstall
