#pragma once
#include <string>

#include "preinstall/DataResource.h"
#include "shared/Exception.h"

namespace orvik::pkgui::preinstall {

// RT_RCDATA resources of the running executable, by name. The bytes are used
// in place in the executable's image and never copied.
class NamedDataResource : public DataResource {
public:
    // Looks the resource up. A missing resource leaves the object absent; a
    // present one that is empty or cannot be loaded throws
    // PreInstallDataResourceError with the last Windows error.
    explicit NamedDataResource(const std::wstring& name);
    bool Exists() const override { return exists_; }
    const std::uint8_t* GetData() const override { return data_; }
    std::uint32_t GetSize() const override { return size_; }

private:
    bool exists_ = false;
    const std::uint8_t* data_ = nullptr;
    std::uint32_t size_ = 0;
};

// A present resource could not be read. %1% the Windows error (unsigned
// decimal), %2% the resource name.
class PreInstallDataResourceError : public orvik::pkgshared::Exception {
public:
    PreInstallDataResourceError(const std::wstring& name, std::uint32_t windowsError,
                                const wchar_t* sourceFile, std::int32_t line);
    PreInstallDataResourceError(const PreInstallDataResourceError&) = default;
    ~PreInstallDataResourceError() override;
};

}  // namespace orvik::pkgui::preinstall
