#pragma once
#include <wbemcli.h>

#include <memory>
#include <string>
#include <vector>

#include "shared/SystemInfo/WindowsManagementInstrumentationProperties.h"
#include "shared/WindowsApi/ComInitializer.h"
#include "shared/WindowsApi/IWindowsComApi.h"

namespace OrvikPkg::SystemInfo {

// A connection to the local "ROOT\CIMV2" namespace. Use and destroy it on
// the thread that made it.
class IWindowsManagementInstrumentationProxy {
public:
    virtual ~IWindowsManagementInstrumentationProxy() = default;
    // The named properties of the first instance of `className`. Throws
    // WindowsFunctionErrorException, or std::runtime_error ("Failed to get
    // operating system") when the class has no instance.
    virtual std::unique_ptr<IWindowsManagementInstrumentationProperties> GetObject(
        const std::wstring& className, const std::vector<std::wstring>& propertyNames) = 0;
};

class WindowsManagementInstrumentationProxy : public IWindowsManagementInstrumentationProxy {
public:
    // Initialises COM, creates the locator, connects and sets the proxy
    // blanket. Throws WindowsFunctionErrorException naming the failed call.
    explicit WindowsManagementInstrumentationProxy(WindowsApi::IWindowsComApi& api);
    std::unique_ptr<IWindowsManagementInstrumentationProperties> GetObject(
        const std::wstring& className, const std::vector<std::wstring>& propertyNames) override;

private:
    WindowsApi::IWindowsComApi& api_;
    WindowsApi::ComInitializer com_;
    // Released before COM is uninitialised (members go in reverse order).
    orvik::pkgshared::UniqueCom<IWbemLocator> locator_;
    orvik::pkgshared::UniqueCom<IWbemServices> services_;
};

// "SELECT a,b FROM class".
std::wstring BuildWqlQuery(const std::wstring& className,
                           const std::vector<std::wstring>& propertyNames);

// Makes connections.
class IWindowsManagementInstrumentation {
public:
    virtual ~IWindowsManagementInstrumentation() = default;
    virtual std::unique_ptr<IWindowsManagementInstrumentationProxy> Connect() = 0;
};

class WindowsManagementInstrumentation : public IWindowsManagementInstrumentation {
public:
    explicit WindowsManagementInstrumentation(WindowsApi::IWindowsComApi& api) : api_(api) {}
    std::unique_ptr<IWindowsManagementInstrumentationProxy> Connect() override {
        return std::make_unique<WindowsManagementInstrumentationProxy>(api_);
    }

private:
    WindowsApi::IWindowsComApi& api_;
};

}  // namespace OrvikPkg::SystemInfo
