#pragma once
// SharedSession: the services of one run. The entry creates it once, on the
// main thread, and destroys it after the worker has ended.
#include "shared/ISharedSession.h"
#include "shared/LocalConfiguration.h"
#include "shared/PathGuide.h"
#include "shared/SystemInfo/SystemInformation.h"
#include "shared/WindowsApi/WindowsComApi.h"
#include "shared/WindowsApi/WindowsErrorHandlingApi.h"
#include "shared/WindowsApi/WindowsEventLogApi.h"
#include "shared/WindowsApi/WindowsFileApi.h"
#include "shared/WindowsApi/WindowsSysInfoApi.h"

namespace orvik::pkgshared {

class SharedSession : public ISharedSession {
public:
    // Builds the path guide and loads the local configuration. `logger` is
    // the entry's and must outlive the session; initialise it afterwards with
    // this session. Throws what LocalConfiguration::Load throws.
    explicit SharedSession(ILogger& logger);
    SharedSession(const SharedSession&) = delete;
    SharedSession& operator=(const SharedSession&) = delete;

    PathGuide& GetPathGuide() override { return pathGuide_; }
    ILocalConfiguration& GetLocalConfiguration() override { return localConfiguration_; }
    ILogger& GetLogger() override { return logger_; }
    OrvikPkg::SystemInfo::ISystemInformation& GetSystemInformation() override {
        return systemInformation_;
    }
    LocalConfiguration& GetConfiguration() { return localConfiguration_; }

private:
    // The configuration comes first: the path guide refers to it for the
    // logs directory, and the configuration is loaded through the guide once
    // both exist.
    LocalConfiguration localConfiguration_;
    PathGuide pathGuide_;
    ILogger& logger_;
    // The system-information objects, each referring to those before it.
    OrvikPkg::WindowsApi::WindowsErrorHandlingApi errorHandlingApi_;
    OrvikPkg::WindowsApi::WindowsComApi comApi_{errorHandlingApi_};
    OrvikPkg::WindowsApi::WindowsEventLogApi eventLogApi_{errorHandlingApi_};
    OrvikPkg::WindowsApi::WindowsFileApi fileApi_{errorHandlingApi_};
    OrvikPkg::WindowsApi::WindowsSysInfoApi sysInfoApi_{errorHandlingApi_};
    OrvikPkg::SystemInfo::WindowsEventLog eventLog_{eventLogApi_};
    OrvikPkg::SystemInfo::WindowsManagementInstrumentation wmi_{comApi_};
    OrvikPkg::SystemInfo::SystemInformation systemInformation_{comApi_, fileApi_, sysInfoApi_, wmi_,
                                                               eventLog_};
};

}  // namespace orvik::pkgshared
