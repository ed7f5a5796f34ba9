#include "shared/SystemInfo/WindowsManagementInstrumentationProxy.h"

#include <oleauto.h>

#include <stdexcept>

#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"

namespace OrvikPkg::SystemInfo {
namespace {

using orvik::pkgshared::UniqueBstr;
using orvik::pkgshared::WindowsFunctionErrorException;

void ThrowIfFailed(HRESULT result, const char* operation, std::int32_t line) {
    if (FAILED(result)) {
        ORVIK_THROW_AT(line, WindowsFunctionErrorException, static_cast<std::int32_t>(result),
                       operation);
    }
}

}  // namespace

std::wstring BuildWqlQuery(const std::wstring& className,
                           const std::vector<std::wstring>& propertyNames) {
    std::wstring query = L"SELECT ";
    for (size_t i = 0; i < propertyNames.size(); ++i) {
        query += (i > 0 ? L"," : L"") + propertyNames[i];
    }
    return query + L" FROM " + className;
}

WindowsManagementInstrumentationProxy::WindowsManagementInstrumentationProxy(
    WindowsApi::IWindowsComApi& api)
    : api_(api), com_(api) {
    ThrowIfFailed(
        api_.CoCreateInstance(CLSID_WbemLocator, nullptr, CLSCTX_INPROC_SERVER, IID_IWbemLocator,
                              reinterpret_cast<LPVOID*>(locator_.put())),
        "CoCreateInstance(WbemLocator)", 37);
    const UniqueBstr space(::SysAllocString(L"ROOT\\CIMV2"));
    ThrowIfFailed(locator_.get()->ConnectServer(space.get(), nullptr, nullptr, nullptr, 0, nullptr,
                                                nullptr, services_.put()),
                  "IWbemLocator::ConnectServer", 51);
    ThrowIfFailed(api_.CoSetProxyBlanket(services_.get(), RPC_C_AUTHN_WINNT, RPC_C_AUTHZ_NONE,
                                         nullptr, RPC_C_AUTHN_LEVEL_CALL,
                                         RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE),
                  "CoSetProxyBlanket", 63);
}

std::unique_ptr<IWindowsManagementInstrumentationProperties>
WindowsManagementInstrumentationProxy::GetObject(const std::wstring& className,
                                                 const std::vector<std::wstring>& propertyNames) {
    const UniqueBstr language(::SysAllocString(L"WQL"));
    const UniqueBstr query(::SysAllocString(BuildWqlQuery(className, propertyNames).c_str()));
    orvik::pkgshared::UniqueCom<IEnumWbemClassObject> enumerator;
    ThrowIfFailed(services_.get()->ExecQuery(language.get(), query.get(),
                                             WBEM_FLAG_FORWARD_ONLY | WBEM_FLAG_RETURN_IMMEDIATELY,
                                             nullptr, enumerator.put()),
                  "IWbemServices::ExecQuery", 83);
    IWbemClassObject* object = nullptr;
    ULONG returned = 0;
    ThrowIfFailed(enumerator.get()->Next(static_cast<long>(WBEM_INFINITE), 1, &object, &returned),
                  "IEnumWbemClassObject::Next", 87);
    if (returned == 0 || object == nullptr) {
        throw std::runtime_error("Failed to get operating system");
    }
    return std::make_unique<WindowsManagementInstrumentationProperties>(object);
}

}  // namespace OrvikPkg::SystemInfo
