#pragma once
#include "shared/ILocalConfiguration.h"
#include "shared/ILogger.h"

namespace OrvikPkg::SystemInfo {
class ISystemInformation;
}

namespace orvik::pkgshared {

class PathGuide;

// The one object through which every part reaches the shared services. It is
// created once by the entry and outlives every user; nobody else owns it.
class ISharedSession {
public:
    virtual ~ISharedSession() = default;
    virtual PathGuide& GetPathGuide() = 0;
    virtual ILocalConfiguration& GetLocalConfiguration() = 0;
    virtual ILogger& GetLogger() = 0;
    virtual OrvikPkg::SystemInfo::ISystemInformation& GetSystemInformation() = 0;
};

}  // namespace orvik::pkgshared
