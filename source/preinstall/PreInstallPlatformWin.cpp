#define ORVIK_SOURCE_NAME L"source\\preinstall\\Main"

#include "preinstall/PreInstallPlatformWin.h"

#include <shellapi.h>

#include "preinstall/MainWindow.h"
#include "preinstall/NamedDataResource.h"
#include "preinstall/PreInstallPayload.h"
#include "preinstall/ProgramImage.h"
#include "preinstall/RebootApiWin.h"
#include "preinstall/StringIds.h"
#include "preinstall/WorkingDirectorySecurity.h"
#include "shared/ExceptionFamily.h"
#include "shared/PathGuide.h"
#include "shared/Raise.h"
#include "shared/TextConversion.h"
#include "shared/WindowsOsVersion.h"
#include "shared/utils/FileVersion.h"
#include "shared/utils/OsUtils.h"
#include "shared/utils/PathUtils.h"
#include "shared/utils/RegistryString.h"
#include "shared/utils/WinResources.h"

namespace orvik::pkgui::preinstall {
namespace {

using orvik::pkgshared::Exception;

constexpr std::int32_t kUserCancelled = -125029;
constexpr std::int32_t kCannotLaunch = -126304;
constexpr std::int32_t kDamaged = -126311;

// Programs (".exe") must be program images; other files go to the shell,
// which opens them with their application.
bool IsLaunchable(const std::wstring& file) {
    const std::wstring lower = orvik::pkgshared::ToLowerAscii(file);
    return lower.size() < 4 || lower.compare(lower.size() - 4, 4, L".exe") != 0 ||
           IsProgramImage(file);
}
constexpr wchar_t kInstalledKey[] = L"SOFTWARE\\Calvenna\\Orvik Package Manager\\CurrentVersion";
constexpr wchar_t kDotNetKey[] = L"SOFTWARE\\Microsoft\\NET Framework Setup\\NDP\\v4\\Full";
constexpr wchar_t kDotNetDownloadPage[] =
    L"https://dotnet.microsoft.com/download/dotnet-framework/net48";
constexpr wchar_t kLogSource[] = L"PreInstall";

// Path-utility reports go to the log.
class LogReporter : public orvik::pkgshared::IPathReporter {
public:
    explicit LogReporter(orvik::pkgshared::ILogger& logger) : logger_(logger) {}
    void Report(orvik::pkgshared::ReportMode, const std::wstring& text) override {
        logger_.Log(kLogSource, 1, text);
    }

private:
    orvik::pkgshared::ILogger& logger_;
};

}  // namespace

PreInstallPlatformWin::PreInstallPlatformWin(orvik::pkgshared::ISharedSession& session, HWND window,
                                             HINSTANCE instance)
    : session_(session), window_(window), instance_(instance) {}

void PreInstallPlatformWin::Log(const std::wstring& message) {
    session_.GetLogger().Log(kLogSource, 1, message);
}

std::wstring PreInstallPlatformWin::LoadText(unsigned id) const {
    const wchar_t* text = nullptr;
    const int length = ::LoadStringW(instance_, id, reinterpret_cast<LPWSTR>(&text), 0);
    return length > 0 ? std::wstring(text, static_cast<size_t>(length)) : std::wstring();
}

std::vector<std::wstring> PreInstallPlatformWin::CommandLineArguments() {
    int count = 0;
    LPWSTR* arguments = ::CommandLineToArgvW(::GetCommandLineW(), &count);
    const orvik::pkgshared::UniqueHlocal owner(arguments);
    if (arguments == nullptr) {
        return {};
    }
    return std::vector<std::wstring>(arguments + (count > 0 ? 1 : 0), arguments + count);
}

bool PreInstallPlatformWin::IsElevated() {
    return orvik::pkgshared::osutils::IsElevated();
}

std::wstring PreInstallPlatformWin::ProgramFilePath() {
    return session_.GetPathGuide().GetModuleFilePath();
}

void PreInstallPlatformWin::ChangeCurrentDirectory(const std::wstring& directory) {
    if (!::SetCurrentDirectoryW(directory.c_str())) {
        ORVIK_THROW(orvik::pkgshared::WindowsFunctionErrorException,
                    static_cast<std::int32_t>(::GetLastError()), "SetCurrentDirectoryW");
    }
}

bool PreInstallPlatformWin::FileExists(const std::wstring& path) {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

void PreInstallPlatformWin::MakeWriteable(const std::wstring& path) {
    LogReporter reporter(session_.GetLogger());
    orvik::pkgshared::pathutils::MakeWriteable(path, reporter);
}

std::unique_ptr<DataResource> PreInstallPlatformWin::OpenResource(const std::wstring& name) {
    return std::make_unique<NamedDataResource>(name);
}

std::wstring PreInstallPlatformWin::CreateWorkingDirectory() {
    const orvik::pkgshared::DirectoryPath directory(
        session_.GetPathGuide().GetUniqueTempPath(L"orvikpkg_preinstall"));
    directory.Create();
    return directory.ToString();
}

void PreInstallPlatformWin::SecureWorkingDirectory(const std::wstring& directory) {
    RestrictWorkingDirectory(directory);
}

void PreInstallPlatformWin::DeleteWorkingDirectory(const std::wstring& directory) noexcept {
    // A child that has just ended may still hold its program file for a
    // moment (as may a virus scanner): earlier attempts are retried quietly,
    // only the last one's failures are logged.
    constexpr int kAttempts = 30;
    constexpr DWORD kPauseMilliseconds = 100;
    try {
        class QuietReporter : public orvik::pkgshared::IPathReporter {
        public:
            void Report(orvik::pkgshared::ReportMode, const std::wstring&) override {}
        } quiet;
        for (int attempt = 1; attempt < kAttempts; ++attempt) {
            orvik::pkgshared::pathutils::DeleteEntirePath(directory, quiet);
            if (::GetFileAttributesW(directory.c_str()) == INVALID_FILE_ATTRIBUTES) {
                return;
            }
            ::Sleep(kPauseMilliseconds);
        }
        LogReporter reporter(session_.GetLogger());
        orvik::pkgshared::pathutils::DeleteEntirePath(directory, reporter);
    } catch (...) {
    }
}

std::wstring PreInstallPlatformWin::ExtractPayload(const DataResource& payload,
                                                   const std::wstring& workingDirectory) {
    PreInstallPayload extraction(payload.GetData(), payload.GetSize(),
                                 orvik::pkgshared::DirectoryPath(workingDirectory));
    const NamedDataResource carried(PayloadCheck::kResourceName);
    const orvik::pkgshared::FilePath archive = extraction.WriteArchive(carried.Exists());
    VerifyPayload(carried, extraction.Written());
    return extraction.Extract(archive).ToString();
}

void PreInstallPlatformWin::VerifyPayload(const DataResource& carried,
                                          const PayloadCheck& written) {
    if (!carried.Exists()) {
        Log(L"The payload was not verified: the installer carries no check of it");
        return;
    }
    const auto expected = PayloadCheck::Decode(carried.GetData(), carried.GetSize());
    if (expected && *expected == written) {
        Log(L"The payload matches its check: " + written.Describe());
        return;
    }
    Log(L"Error: the payload does not match its check: " +
        (expected ? L"expected " + expected->Describe()
                  : std::wstring(L"the check is unreadable")) +
        L", found " + written.Describe());
    ORVIK_THROW(Exception, kDamaged);
}

bool PreInstallPlatformWin::IsWindows10Version1607OrNewer() {
    return orvik::pkgshared::MakeRunningSystemEvaluator().Evaluate(
        orvik::pkgshared::kVersionGreaterOrEqual, 10, 0, 14393);
}

bool PreInstallPlatformWin::IsWow64() {
    BOOL wow64 = FALSE;
    return ::IsWow64Process(::GetCurrentProcess(), &wow64) && wow64;
}

bool PreInstallPlatformWin::IsRunningOnWine() {
    using WineGetVersion = const char*(__cdecl*)();
    HMODULE ntdll = ::GetModuleHandleW(L"ntdll.dll");
    const auto getVersion =
        ntdll != nullptr ? reinterpret_cast<WineGetVersion>(
                               reinterpret_cast<void*>(::GetProcAddress(ntdll, "wine_get_version")))
                         : nullptr;
    if (getVersion == nullptr) {
        return false;
    }
    const char* version = getVersion();
    Log(L"Running on Wine version: " +
        orvik::pkgshared::WidenAscii(version != nullptr ? version : ""));
    return true;
}

bool PreInstallPlatformWin::IsDotNetFramework48Installed() {
    orvik::pkgshared::UniqueHkey key;
    if (::RegOpenKeyExW(HKEY_LOCAL_MACHINE, kDotNetKey, 0, KEY_READ | KEY_WOW64_32KEY, key.put()) !=
        ERROR_SUCCESS) {
        return false;
    }
    DWORD release = 0;
    DWORD size = sizeof(release);
    if (::RegQueryValueExW(key.get(), L"Release", nullptr, nullptr,
                           reinterpret_cast<BYTE*>(&release), &size) != ERROR_SUCCESS) {
        return false;
    }
    return release >= kDotNetFramework48Release;
}

bool PreInstallPlatformWin::AskToInstallDotNetFramework() {
    const std::wstring text =
        LoadText(IDS_PREREQUISITE_MISSING) + L"\n\n" + LoadText(IDS_PREREQUISITE_QUESTION);
    return ::MessageBoxW(nullptr, text.c_str(), LoadText(IDS_PREREQUISITE_CAPTION).c_str(),
                         MB_YESNO | MB_ICONWARNING) == IDYES;
}

void PreInstallPlatformWin::OpenDotNetFrameworkDownloadPage() {
    ::ShellExecuteW(nullptr, L"open", kDotNetDownloadPage, nullptr, nullptr, SW_SHOWNORMAL);
}

std::int32_t PreInstallPlatformWin::WaitForProcess(const std::wstring& file,
                                                   const std::wstring& parameters,
                                                   const std::wstring& directory) {
    SHELLEXECUTEINFOW info{};
    info.cbSize = sizeof(info);
    info.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_NOZONECHECKS;
    info.hwnd = nullptr;
    info.lpVerb = L"";
    info.lpFile = file.c_str();
    info.lpParameters = parameters.c_str();
    info.lpDirectory = directory.c_str();
    info.nShow = SW_SHOW;
    // A missing file, or a program file that is no program (damaged in
    // transit), fails here, before the shell could show a dialog of its own
    // that would stop an unattended run.
    const bool present = ::GetFileAttributesW(file.c_str()) != INVALID_FILE_ATTRIBUTES;
    if (present && !IsLaunchable(file)) {
        Log(L"Error: WaitForProcess: not a program image: " + file);
        ORVIK_THROW(Exception, kCannotLaunch, file);
    }
    if (!present || !StartProcess(info)) {
        if (::GetLastError() == ERROR_CANCELLED) {
            ORVIK_THROW(Exception, kUserCancelled);
        }
        Log(L"Error: WaitForProcess ShellExecuteExW "
            L"kOrvikPkgResult_ProblemWhenLaunchingRequiredFile");
        ORVIK_THROW(Exception, kCannotLaunch, file);
    }
    const orvik::pkgshared::UniqueHandle process(info.hProcess);
    ::AllowSetForegroundWindow(::GetProcessId(process.get()));
    if (::WaitForSingleObject(process.get(), INFINITE) != WAIT_OBJECT_0) {
        Log(L"Error: WaitForProcess WaitForSingleObject "
            L"kOrvikPkgResult_ProblemWhenLaunchingRequiredFile");
        ORVIK_THROW(Exception, kCannotLaunch, file);
    }
    DWORD exitCode = 0;
    if (!::GetExitCodeProcess(process.get(), &exitCode)) {
        Log(L"Error: WaitForProcess GetExitCodeProcess "
            L"kOrvikPkgResult_ProblemWhenLaunchingRequiredFile");
        ORVIK_THROW(Exception, kCannotLaunch, file);
    }
    ::SetForegroundWindow(window_);
    return static_cast<std::int32_t>(exitCode);
}

bool PreInstallPlatformWin::StartProcess(SHELLEXECUTEINFOW& info) {
    return ::ShellExecuteExW(&info) != FALSE;
}

std::optional<std::wstring> PreInstallPlatformWin::InstalledPackageManagerPath() {
    return orvik::pkgshared::ReadRegistryString(HKEY_LOCAL_MACHINE, kInstalledKey,
                                                L"GUIExecutableFullPath", KEY_WOW64_32KEY);
}

std::optional<std::wstring> PreInstallPlatformWin::InstalledPackageManagerVersion() {
    return orvik::pkgshared::ReadRegistryString(HKEY_LOCAL_MACHINE, kInstalledKey,
                                                L"GUIExecutableVersion", KEY_WOW64_64KEY);
}

orvik::pkgshared::Version PreInstallPlatformWin::FileVersion(const std::wstring& file) {
    orvik::pkgshared::Version version;
    orvik::pkgshared::ReadFileVersion(orvik::pkgshared::FilePath(file), version);
    return version;
}

bool PreInstallPlatformWin::AskToReboot() {
    return ::MessageBoxW(window_, LoadText(IDS_REBOOT_TEXT).c_str(),
                         LoadText(IDS_REBOOT_CAPTION).c_str(), MB_OKCANCEL) == IDOK;
}

void PreInstallPlatformWin::Reboot() {
    RebootApiWin api;
    RebootSystem(api);
}

std::intptr_t PreInstallPlatformWin::ShowProgress(const std::wstring& title) {
    return ::SendMessageW(window_, MainWindow::kShowProgress, reinterpret_cast<WPARAM>(&title), 0);
}

void PreInstallPlatformWin::FinishProgress() {
    ::SendMessageW(window_, MainWindow::kFinishProgress, 0, 0);
}

void PreInstallPlatformWin::ShowError(const std::wstring& text) {
    ::MessageBoxW(window_, text.c_str(), LoadText(IDS_PRODUCT_NAME).c_str(), MB_OK);
}

void PreInstallPlatformWin::WriteToParentConsole(const std::wstring& text) {
    WriteTextToParentConsole(text);
}

void PreInstallPlatformWin::WriteTextToParentConsole(const std::wstring& text) {
    if (!::AttachConsole(ATTACH_PARENT_PROCESS)) {
        return;
    }
    HANDLE error = ::GetStdHandle(STD_ERROR_HANDLE);
    if (error != nullptr && error != INVALID_HANDLE_VALUE) {
        DWORD written = 0;
        ::WriteConsoleW(error, text.c_str(), static_cast<DWORD>(text.size()), &written, nullptr);
    }
    ::FreeConsole();
}

}  // namespace orvik::pkgui::preinstall
