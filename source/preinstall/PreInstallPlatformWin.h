#pragma once
// The bootstrap run's effects on the real system.
#include <windows.h>

#include <shellapi.h>

#include "preinstall/IPreInstallPlatform.h"
#include "preinstall/PayloadCheck.h"
#include "shared/ISharedSession.h"

namespace orvik::pkgui::preinstall {

class PreInstallPlatformWin : public IPreInstallPlatform {
public:
    // `window` is the hidden main window: the target of the progress
    // messages and the owner of message boxes (may be null). `instance`
    // holds the string table.
    PreInstallPlatformWin(orvik::pkgshared::ISharedSession& session, HWND window,
                          HINSTANCE instance);

    std::vector<std::wstring> CommandLineArguments() override;
    bool IsElevated() override;
    std::wstring ProgramFilePath() override;
    void ChangeCurrentDirectory(const std::wstring& directory) override;
    bool FileExists(const std::wstring& path) override;
    void MakeWriteable(const std::wstring& path) override;
    std::unique_ptr<DataResource> OpenResource(const std::wstring& name) override;
    std::wstring CreateWorkingDirectory() override;
    void SecureWorkingDirectory(const std::wstring& directory) override;
    void DeleteWorkingDirectory(const std::wstring& directory) noexcept override;
    std::wstring ExtractPayload(const DataResource& payload,
                                const std::wstring& workingDirectory) override;
    bool IsWindows10Version1607OrNewer() override;
    bool IsWow64() override;
    bool IsRunningOnWine() override;
    bool IsDotNetFramework48Installed() override;
    bool AskToInstallDotNetFramework() override;
    void OpenDotNetFrameworkDownloadPage() override;
    std::int32_t WaitForProcess(const std::wstring& file, const std::wstring& parameters,
                                const std::wstring& directory) override;
    std::optional<std::wstring> InstalledPackageManagerPath() override;
    std::optional<std::wstring> InstalledPackageManagerVersion() override;
    orvik::pkgshared::Version FileVersion(const std::wstring& file) override;
    bool AskToReboot() override;
    void Reboot() override;
    std::intptr_t ShowProgress(const std::wstring& title) override;
    void FinishProgress() override;
    void ShowError(const std::wstring& text) override;
    void WriteToParentConsole(const std::wstring& text) override;

    // Writes `text` to the parent process's console, if it has one.
    static void WriteTextToParentConsole(const std::wstring& text);

    // The string `id` of the program's string table in the thread's language.
    std::wstring LoadText(unsigned id) const;

protected:
    // Starts what `info` names, as ShellExecuteExW does: true with
    // info.hProcess set, or false with the error in GetLastError
    // (ERROR_CANCELLED: the user declined the elevation).
    virtual bool StartProcess(SHELLEXECUTEINFOW& info);

private:
    void Log(const std::wstring& message);
    // Compares `written` with the check the installer carries (`carried`),
    // and logs the outcome. Throws Exception -126311 when they differ or the
    // carried check is unreadable; without one the payload is only logged as
    // not verified.
    void VerifyPayload(const DataResource& carried, const PayloadCheck& written);

    orvik::pkgshared::ISharedSession& session_;
    HWND window_;
    HINSTANCE instance_;
};

// The lowest "Release" value of .NET Framework 4.8.
constexpr DWORD kDotNetFramework48Release = 528048;

}  // namespace orvik::pkgui::preinstall
