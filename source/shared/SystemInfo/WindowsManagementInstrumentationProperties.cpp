#include "shared/SystemInfo/WindowsManagementInstrumentationProperties.h"

#include <oleauto.h>

#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"

namespace OrvikPkg::SystemInfo {
namespace {

using orvik::pkgshared::WindowsFunctionErrorException;

// A VARIANT cleared when it goes away.
struct ScopedVariant {
    VARIANT value;
    ScopedVariant() { ::VariantInit(&value); }
    ~ScopedVariant() { ::VariantClear(&value); }
    ScopedVariant(const ScopedVariant&) = delete;
    ScopedVariant& operator=(const ScopedVariant&) = delete;
};

}  // namespace

WindowsManagementInstrumentationProperties::WindowsManagementInstrumentationProperties(
    IWbemClassObject* object)
    : object_(object) {}

std::wstring WindowsManagementInstrumentationProperties::GetString(const std::wstring& name) {
    ScopedVariant value;
    HRESULT result = object_.get()->Get(name.c_str(), 0, &value.value, nullptr, nullptr);
    if (FAILED(result)) {
        ORVIK_THROW_AT(34, WindowsFunctionErrorException, static_cast<std::int32_t>(result),
                       "IWbemClassObject::Get");
    }
    if (value.value.vt == VT_NULL || value.value.vt == VT_EMPTY) {
        return std::wstring();
    }
    if (value.value.vt != VT_BSTR) {
        result = ::VariantChangeType(&value.value, &value.value, 0, VT_BSTR);
        if (FAILED(result)) {
            ORVIK_THROW(WindowsFunctionErrorException, static_cast<std::int32_t>(result),
                        "VariantChangeType");
        }
    }
    return value.value.bstrVal != nullptr
               ? std::wstring(value.value.bstrVal, ::SysStringLen(value.value.bstrVal))
               : std::wstring();
}

std::uint32_t WindowsManagementInstrumentationProperties::GetUInt32(const std::wstring& name) {
    ScopedVariant value;
    HRESULT result = object_.get()->Get(name.c_str(), 0, &value.value, nullptr, nullptr);
    if (FAILED(result)) {
        ORVIK_THROW_AT(42, WindowsFunctionErrorException, static_cast<std::int32_t>(result),
                       "IWbemClassObject::Get");
    }
    if (value.value.vt != VT_UINT) {
        result = ::VariantChangeType(&value.value, &value.value, 0, VT_UINT);
        if (FAILED(result)) {
            ORVIK_THROW(WindowsFunctionErrorException, static_cast<std::int32_t>(result),
                        "VariantChangeType");
        }
    }
    return value.value.uintVal;
}

}  // namespace OrvikPkg::SystemInfo
