#pragma once
// The effects of a bootstrap run on the system, behind one interface so that
// the run's decisions can be tested without the system. The real
// implementation works with Win32; tests substitute their own.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "preinstall/DataResource.h"
#include "shared/Version.h"

namespace orvik::pkgui::preinstall {

class IPreInstallPlatform {
public:
    virtual ~IPreInstallPlatform() = default;

    // The command line's arguments after the program's own name.
    virtual std::vector<std::wstring> CommandLineArguments() = 0;
    virtual bool IsElevated() = 0;
    // Full path of the running program's file.
    virtual std::wstring ProgramFilePath() = 0;
    // Throws when the directory cannot be made current.
    virtual void ChangeCurrentDirectory(const std::wstring& directory) = 0;
    virtual bool FileExists(const std::wstring& path) = 0;
    // Adds write permission for everyone; failures are only logged.
    virtual void MakeWriteable(const std::wstring& path) = 0;

    // An RT_RCDATA resource of the running program; absent when missing.
    virtual std::unique_ptr<DataResource> OpenResource(const std::wstring& name) = 0;
    // A new, unique temporary directory for this run, created.
    virtual std::wstring CreateWorkingDirectory() = 0;
    // Lets only administrators write into `directory`. Throws
    // CouldNotCreateDirectoryException (-125098).
    virtual void SecureWorkingDirectory(const std::wstring& directory) = 0;
    // Deletes the directory and everything below it; never fails.
    virtual void DeleteWorkingDirectory(const std::wstring& directory) noexcept = 0;
    // Saves and unpacks the payload below `workingDirectory`; returns the
    // directory it was unpacked into.
    virtual std::wstring ExtractPayload(const DataResource& payload,
                                        const std::wstring& workingDirectory) = 0;

    virtual bool IsWindows10Version1607OrNewer() = 0;
    // True when the 32-bit process runs on 64-bit Windows.
    virtual bool IsWow64() = 0;
    // True on Wine (its version is logged).
    virtual bool IsRunningOnWine() = 0;
    virtual bool IsDotNetFramework48Installed() = 0;
    // The missing-prerequisite question; true for Yes.
    virtual bool AskToInstallDotNetFramework() = 0;
    virtual void OpenDotNetFrameworkDownloadPage() = 0;

    // Starts `file` and waits for it; returns its exit code. Throws Exception
    // -125029 when the user declines its elevation and -126304 when it
    // cannot be started or waited for.
    virtual std::int32_t WaitForProcess(const std::wstring& file, const std::wstring& parameters,
                                        const std::wstring& directory) = 0;
    // "GUIExecutableFullPath" of the installed package manager (32-bit view).
    virtual std::optional<std::wstring> InstalledPackageManagerPath() = 0;
    // "GUIExecutableVersion" of the installed package manager (64-bit view).
    virtual std::optional<std::wstring> InstalledPackageManagerVersion() = 0;
    // The file version of `file`; an empty version when it has none.
    virtual orvik::pkgshared::Version FileVersion(const std::wstring& file) = 0;

    // The reboot question; true for OK.
    virtual bool AskToReboot() = 0;
    // Restarts the machine. Throws Exception -126305.
    virtual void Reboot() = 0;

    // Asks the window to show the progress window with `title`; returns the
    // window's answer.
    virtual std::intptr_t ShowProgress(const std::wstring& title) = 0;
    // Asks the window to come forward and close the progress window.
    virtual void FinishProgress() = 0;
    // The error message box of the run.
    virtual void ShowError(const std::wstring& text) = 0;
    // Writes to the console of the process that started this one, if any.
    virtual void WriteToParentConsole(const std::wstring& text) = 0;
};

}  // namespace orvik::pkgui::preinstall
