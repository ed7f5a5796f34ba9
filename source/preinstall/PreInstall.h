#pragma once
// PreInstall: one bootstrap run on the worker thread. Parses the command
// line, checks the process and the system, extracts the payload, installs or
// updates the package manager and launches it; the last child's exit code
// (or the run's error code) becomes the process exit code.
#include <cstdint>
#include <string>

#include "preinstall/CommandLineOptions.h"
#include "preinstall/IPreInstallPlatform.h"
#include "preinstall/OnlineInstallInformation.h"
#include "preinstall/PackageManagerCommandLine.h"
#include "shared/Exception.h"
#include "shared/ISharedSession.h"

namespace orvik::pkgui::preinstall {

class PreInstall {
public:
    // `session` and `platform` must outlive the run.
    PreInstall(orvik::pkgshared::ISharedSession& session, IPreInstallPlatform& platform);
    // Deletes the working directory of the run, extracted payload included.
    ~PreInstall();
    PreInstall(const PreInstall&) = delete;
    PreInstall& operator=(const PreInstall&) = delete;

    // The whole run. Never throws: an error's code becomes the result and,
    // unless it is one of the silent outcomes (0, -125071, -125029,
    // -125818), it is reported to the user and to the error log.
    void Run() noexcept;
    std::int32_t ResultCode() const { return resultCode_; }

    // Runs "Install.exe" of the package directory; true when it succeeded.
    bool InstallPackageManager();
    // Runs the installed package manager, or with `withProduct` the carried
    // installer, for the suite or the download.
    void LaunchPackageManager(bool withProduct);
    // False when no package manager is installed or it is older than the
    // carried installer.
    bool IsInstalledPackageManagerCurrent();
    // Logs and shows (or writes to the parent console) one error.
    void ReportError(const orvik::pkgshared::Exception& error) noexcept;

    const CommandLineOptions& Options() const { return options_; }
    InstallMode Mode() const { return installMode_; }
    const std::wstring& PackageDirectory() const { return packageDirectory_; }

private:
    void RunSequence();
    void ParseOptions();
    void ChooseDirectories();
    // Logs which options reach a child: the launch carries them, the install never does.
    void LogPassThrough();
    void ExtractPayload();
    // False when the run ends here without an error (the user chose to get
    // .NET Framework first).
    bool CheckPrerequisites();
    void InstallAndLaunch();
    // Runs a child in the package directory, logging its start and its code.
    std::int32_t RunChild(const std::wstring& file, const std::wstring& parameters);
    void LogReport(const wchar_t* where, const orvik::pkgshared::Exception& error,
                   const std::wstring& message) noexcept;
    void Log(const std::wstring& message) noexcept;
    std::wstring InPackageDirectory(const wchar_t* name) const;

    orvik::pkgshared::ISharedSession& session_;
    IPreInstallPlatform& platform_;
    CommandLineOptions options_;
    InstallMode installMode_ = InstallMode::None;
    std::wstring baseDirectory_;
    std::wstring packageDirectory_;
    std::wstring configFile_;
    std::wstring workingDirectory_;  // deleted with the object; empty: nothing to delete
    OnlineInstallInformation onlineInstall_;
    std::int32_t resultCode_ = 0;
};

}  // namespace orvik::pkgui::preinstall
