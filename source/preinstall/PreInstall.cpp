// Errors of the run sequence are reported as coming from the bootstrapper's
// main source.
#define ORVIK_SOURCE_NAME L"source\\preinstall\\Main"

#include "preinstall/PreInstall.h"

#include <boost/filesystem/path.hpp>

#include "preinstall/PreInstallOptionObsolete.h"
#include "shared/ErrorMessage.h"
#include "shared/ExceptionReport.h"
#include "shared/Raise.h"
#include "shared/TextConversion.h"

namespace orvik::pkgui::preinstall {
namespace {

using orvik::pkgshared::Exception;

constexpr std::int32_t kRebootRequired = -125071;
constexpr std::int32_t kUserCancelled = -125029;
constexpr std::int32_t kNeedsNewerPackageManager = -125818;
constexpr std::int32_t kInstallRebootRequired = -126300;
constexpr std::int32_t kCannotLaunch = -126304;
constexpr std::int32_t kNotElevated = -126306;
constexpr std::int32_t kInstallFailed = -126308;
constexpr std::int32_t kLaunchFailed = -126309;
constexpr std::int32_t kWindowsTooOld = -126359;
constexpr std::int32_t kLogLevel = 1;
constexpr wchar_t kLogSource[] = L"PreInstall";

// Outcomes rather than errors: never reported, whether a child returned them
// or the run ended with them.
bool IsSilent(std::int32_t code) {
    return code == 0 || code == kRebootRequired || code == kUserCancelled ||
           code == kNeedsNewerPackageManager;
}

std::wstring Join(const std::wstring& directory, const wchar_t* name) {
    return (boost::filesystem::path(directory) / name).wstring();
}

}  // namespace

PreInstall::PreInstall(orvik::pkgshared::ISharedSession& session, IPreInstallPlatform& platform)
    : session_(session), platform_(platform) {}

PreInstall::~PreInstall() {
    if (!workingDirectory_.empty()) {
        platform_.DeleteWorkingDirectory(workingDirectory_);
    }
}

void PreInstall::Run() noexcept {
    try {
        RunSequence();
    } catch (const Exception& error) {
        resultCode_ = error.GetErrorCode();
        if (!IsSilent(resultCode_)) {
            ReportError(error);
        }
    } catch (...) {
        // Anything else is a defect; it still ends the run with a code.
        resultCode_ = orvik::pkgshared::kUnknownErrorCode;
        ReportError(Exception(resultCode_, ORVIK_SOURCE_HERE.c_str(), __LINE__));
    }
}

void PreInstall::RunSequence() {
    ParseOptions();
    if (!platform_.IsElevated()) {
        ORVIK_THROW(Exception, kNotElevated);
    }
    ChooseDirectories();
    LogPassThrough();
    ExtractPayload();
    configFile_ = Join(workingDirectory_, L"orvikpkg.ini");
    if (platform_.FileExists(InPackageDirectory(L"orvikpkg.ini"))) {
        platform_.MakeWriteable(InPackageDirectory(L"orvikpkg.ini"));
    }
    if (!CheckPrerequisites()) {
        return;
    }
    InstallAndLaunch();
}

void PreInstall::ParseOptions() {
    const ParsedCommandLine parsed = ParseCommandLine(platform_.CommandLineArguments());
    options_ = parsed.options;
    if (!parsed.obsoleteArguments.empty()) {
        ORVIK_THROW(PreInstallOptionObsolete, parsed.obsoleteArguments);
    }
}

void PreInstall::ChooseDirectories() {
    baseDirectory_ = boost::filesystem::path(platform_.ProgramFilePath()).parent_path().wstring();
    platform_.ChangeCurrentDirectory(baseDirectory_);
    packageDirectory_ = Join(baseDirectory_, L"bin");

    onlineInstall_.Load(*platform_.OpenResource(L"ORVIKPKG_ONLINE_INSTALL"));
    if (onlineInstall_.present) {
        installMode_ = InstallMode::OnlineInstall;
    } else if (platform_.FileExists(InPackageDirectory(L"suite.dat"))) {
        installMode_ = InstallMode::Suite;
    }
    // Recorded for removal as soon as it exists.
    workingDirectory_ = platform_.CreateWorkingDirectory();
    platform_.SecureWorkingDirectory(workingDirectory_);
    Log(L"Install mode " + std::to_wstring(static_cast<int>(installMode_)) +
        L", working directory " + workingDirectory_);
}

void PreInstall::LogPassThrough() {
    const std::wstring& arguments = options_.passThroughArguments;
    if (arguments.empty()) {
        Log(L"Options passed through: none");
    } else if (installMode_ == InstallMode::None) {
        // A plain install runs only Install.exe, whose command line carries no pass-through.
        Log(L"Options not passed on, as a plain install launches no package manager: " + arguments);
    } else {
        Log(L"Options passed through to the package manager's launch: " + arguments);
    }
}

void PreInstall::ExtractPayload() {
    const std::unique_ptr<DataResource> payload = platform_.OpenResource(L"ORVIKPKG_PAYLOAD");
    if (!payload->Exists()) {
        return;
    }
    if (!options_.quiet) {
        if (platform_.ShowProgress(onlineInstall_.progressTitle) == 0) {
            platform_.FinishProgress();
        }
        Log(L"Progress window shown");
    }
    packageDirectory_ = platform_.ExtractPayload(*payload, workingDirectory_);
    Log(L"Payload extracted into " + packageDirectory_);
}

bool PreInstall::CheckPrerequisites() {
    if (!platform_.IsWindows10Version1607OrNewer() || !platform_.IsWow64()) {
        ORVIK_THROW(Exception, kWindowsTooOld);
    }
    if (platform_.IsRunningOnWine() || platform_.IsDotNetFramework48Installed()) {
        return true;
    }
    if (!platform_.AskToInstallDotNetFramework()) {
        ORVIK_THROW(Exception, kUserCancelled);
    }
    platform_.OpenDotNetFrameworkDownloadPage();
    return false;
}

void PreInstall::InstallAndLaunch() {
    if (options_.installWithProduct && installMode_ != InstallMode::None &&
        !IsInstalledPackageManagerCurrent()) {
        LaunchPackageManager(true);
        if (resultCode_ != kNeedsNewerPackageManager) {
            return;
        }
        resultCode_ = 0;
    }
    if (InstallPackageManager() && installMode_ != InstallMode::None) {
        LaunchPackageManager(false);
    }
}

std::int32_t PreInstall::RunChild(const std::wstring& file, const std::wstring& parameters) {
    Log(L"Starting " + file + L" " + parameters);
    const std::int32_t code = platform_.WaitForProcess(file, parameters, packageDirectory_);
    Log(file + L" exited with " + std::to_wstring(code));
    return code;
}

bool PreInstall::InstallPackageManager() {
    resultCode_ = RunChild(InPackageDirectory(L"Install.exe"),
                           BuildInstallParameters(options_, installMode_, configFile_));
    if (IsSilent(resultCode_)) {
        if (installMode_ != InstallMode::None && resultCode_ == kRebootRequired) {
            if (!options_.passive && !options_.quiet && !options_.preventReboot &&
                platform_.AskToReboot()) {
                platform_.Reboot();
            }
            resultCode_ = kInstallRebootRequired;
        }
    } else {
        Log(L"Failed to install Orvik Package Manager");
        LogReport(L"PreInstall::InstallPackageManager",
                  Exception(kInstallFailed, orvik::pkgshared::ToDecimal(resultCode_),
                            ORVIK_SOURCE_HERE.c_str(), __LINE__),
                  L"Failed to install Orvik Package Manager");
    }
    return resultCode_ == 0;
}

void PreInstall::LaunchPackageManager(bool withProduct) {
    std::wstring program;
    if (withProduct) {
        program = InPackageDirectory(L"Install.exe");
    } else if (auto installed = platform_.InstalledPackageManagerPath()) {
        program = *installed;
    } else {
        ORVIK_THROW(Exception, kCannotLaunch, L"GUIExecutableFullPath");
    }
    LaunchInputs inputs;
    inputs.mode = installMode_;
    inputs.withProduct = withProduct;
    inputs.downloadUri = onlineInstall_.downloadItemUri;
    inputs.configFile = configFile_;
    const std::wstring customConfig = Join(Join(packageDirectory_, L"resources"), L"config.dat");
    if (platform_.FileExists(customConfig)) {
        inputs.customResourceConfig = customConfig;
    }
    resultCode_ = RunChild(program, BuildLaunchParameters(options_, inputs));
    if (!IsSilent(resultCode_)) {
        Log(L"Launched Orvik Package Manager, but it returned an error");
        LogReport(L"PreInstall::LaunchPackageManager",
                  Exception(kLaunchFailed, orvik::pkgshared::ToDecimal(resultCode_),
                            ORVIK_SOURCE_HERE.c_str(), __LINE__),
                  L"Launched Orvik Package Manager, but it returned an error");
    }
}

bool PreInstall::IsInstalledPackageManagerCurrent() {
    const std::optional<std::wstring> installed = platform_.InstalledPackageManagerVersion();
    if (!installed) {
        return false;
    }
    const orvik::pkgshared::Version carried =
        platform_.FileVersion(InPackageDirectory(L"Install.exe"));
    return orvik::pkgshared::Version(*installed).Compare(carried) != -1;
}

void PreInstall::ReportError(const Exception& error) noexcept {
    LogReport(L"PreInstall::ReportError", error, L"Preinstall threw an exception");
    try {
        const std::wstring text = orvik::pkgshared::FormatErrorMessage(error);
        if (!options_.passive && !options_.quiet) {
            platform_.ShowError(text);
        } else {
            platform_.WriteToParentConsole(text);
        }
    } catch (...) {
        Log(L"The error could not be shown");
    }
}

void PreInstall::LogReport(const wchar_t* where, const Exception& error,
                           const std::wstring& message) noexcept {
    try {
        Log(orvik::pkgshared::BuildExceptionReport(where, error, message,
                                                   orvik::pkgshared::LocalTimestamp()));
        orvik::pkgshared::ReportException(where, error, message, session_);
    } catch (...) {
        Log(L"The error report could not be written");
    }
}

void PreInstall::Log(const std::wstring& message) noexcept {
    try {
        session_.GetLogger().Log(kLogSource, kLogLevel, message);
    } catch (...) {
    }
}

std::wstring PreInstall::InPackageDirectory(const wchar_t* name) const {
    return Join(packageDirectory_, name);
}

}  // namespace orvik::pkgui::preinstall
