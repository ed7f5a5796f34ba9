#pragma once
#include <wbemcli.h>

#include <cstdint>
#include <string>

#include "shared/utils/WinResources.h"

namespace OrvikPkg::SystemInfo {

// The properties of one WMI instance.
class IWindowsManagementInstrumentationProperties {
public:
    virtual ~IWindowsManagementInstrumentationProperties() = default;
    // The property as text; empty for a null value. Throws
    // WindowsFunctionErrorException when it cannot be read or converted.
    virtual std::wstring GetString(const std::wstring& name) = 0;
    // The property as an unsigned 32-bit number, converted when delivered in
    // another numeric type. Throws WindowsFunctionErrorException.
    virtual std::uint32_t GetUInt32(const std::wstring& name) = 0;
};

class WindowsManagementInstrumentationProperties
    : public IWindowsManagementInstrumentationProperties {
public:
    // Takes over the reference held by `object`.
    explicit WindowsManagementInstrumentationProperties(IWbemClassObject* object);
    std::wstring GetString(const std::wstring& name) override;
    std::uint32_t GetUInt32(const std::wstring& name) override;

private:
    orvik::pkgshared::UniqueCom<IWbemClassObject> object_;
};

}  // namespace OrvikPkg::SystemInfo
