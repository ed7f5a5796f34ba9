#pragma once
// PathGuide: where everything lies. The installed package manager's files as
// its installer recorded them in the registry, the data, settings and logs
// directories, temporary locations and this program's own path. It caches
// nothing: every query reads the registry, the known folders or the file
// system anew. Registry values are read from the process's own (32-bit) view.
#include <string>

// Included here so that windows.h's GetWindowsDirectory macro renames the
// member below the same way in every translation unit.
#include <windows.h>

#include "shared/ILocalConfiguration.h"
#include "shared/Version.h"

namespace orvik::pkgshared {

class PathGuide {
public:
    // `configuration` answers the "logs-directory" setting; it must outlive
    // the guide and is not used before the first GetLogsDirectory call.
    explicit PathGuide(const ILocalConfiguration& configuration) : configuration_(configuration) {}
    virtual ~PathGuide() = default;

    // Full path of the module holding this code. Throws Exception -125202
    // when the module cannot be found, -125114 when its name cannot be read.
    virtual std::wstring GetModuleFilePath() const;
    // Full path of the process's executable. Throws Exception -125114.
    virtual std::wstring GetProcessExecutablePath() const;

    // The bool queries answer false and leave `out` untouched when the value
    // is missing.
    virtual bool GetInstallDirectory(std::wstring& out) const;
    // "InternalCAPIFullPath", else the install directory joined with the native API's name.
    virtual bool GetInternalCAPIFullPath(std::wstring& out) const;
    // "GUIExecutableFullPath", else the install directory joined with the GUI's name.
    virtual bool GetGUIExecutableFullPath(std::wstring& out) const;
    virtual bool GetUninstallUtilityExecutableFullPath(std::wstring& out) const;
    virtual bool GetDeploymentSupportDirectory(std::wstring& out) const;
    // The deployment support directory joined with "orvik-package-manager-packages",
    // only when that directory is present.
    virtual bool GetPackagesDirectory(std::wstring& out) const;
    // GetSettingsDirectory, only when that directory is present.
    virtual bool GetExistingSettingsDirectory(std::wstring& out) const;
    virtual bool GetUpgraderExecutableFullPath(std::wstring& out) const;

    // GetPublicDataDirectory joined with "Settings".
    virtual std::wstring GetSettingsDirectory() const;
    // Local application data joined with "Calvenna" and "Orvik Package Manager".
    virtual std::wstring GetUserDataDirectory() const;
    // "ORVIKPUBAPPDATADIR" of the common installer key, else ProgramData joined with "Calvenna".
    virtual std::wstring GetCompanyPublicDataDirectory() const;
    // GetCompanyPublicDataDirectory joined with "Orvik Package Manager".
    virtual std::wstring GetPublicDataDirectory() const;
    // The "logs-directory" setting, else GetUserDataDirectory joined with "Logs".
    virtual std::wstring GetLogsDirectory() const;
    // Empty when missing.
    virtual std::wstring GetMSIPropertiesFullPath() const;
    // Empty version when missing.
    virtual Version GetMSIPropertiesVersion() const;
    virtual std::wstring GetProfileDirectory() const;
    // The system's temporary directory. Throws Exception -125115.
    virtual std::wstring GetTempDirectory() const;
    // The temporary directory joined with `prefix` and "-%%%%-%%%%-%%%%-%%%%",
    // each '%' a random hexadecimal digit. Nothing is created. Throws
    // Exception -125115 or -125033.
    virtual std::wstring GetUniqueTempPath(const std::wstring& prefix) const;
    // GetTempPathW's directory. Throws Exception -125115 or -125033.
    virtual std::wstring GetTempDirectoryFromSystem() const;
    virtual std::wstring GetWindowsDirectory() const;
    // Empty when missing.
    virtual std::wstring GetGUIExecutableName() const;
    // Empty when missing.
    virtual std::wstring GetNativeAPIName() const;

private:
    const ILocalConfiguration& configuration_;
};

}  // namespace orvik::pkgshared
