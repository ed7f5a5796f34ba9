#include "shared/PathGuide.h"

#include <windows.h>

#include <knownfolders.h>
#include <shlobj.h>

#include <optional>
#include <vector>

#include <boost/filesystem/operations.hpp>

#include "shared/Exception.h"
#include "shared/Raise.h"
#include "shared/TextConversion.h"
#include "shared/utils/RegistryString.h"
#include "shared/utils/UniqueResource.h"

namespace orvik::pkgshared {
namespace {

namespace fs = boost::filesystem;

constexpr wchar_t kCurrentVersionKey[] =
    L"Software\\Calvenna\\Orvik Package Manager\\CurrentVersion";
constexpr wchar_t kCommonInstallerKey[] = L"Software\\Calvenna\\Common\\Installer";
constexpr wchar_t kUniquePattern[] = L"-%%%%-%%%%-%%%%-%%%%";

constexpr std::int32_t kModulePathErrorCode = -125114;
constexpr std::int32_t kTempDirectoryErrorCode = -125115;
constexpr std::int32_t kUniquePathErrorCode = -125033;

using UniqueCoTaskMem = UniqueResource<PWSTR, &::CoTaskMemFree>;

std::optional<std::wstring> ReadValue(const wchar_t* name) {
    return ReadRegistryString(HKEY_LOCAL_MACHINE, kCurrentVersionKey, name);
}

bool ReadValue(const wchar_t* name, std::wstring& out) {
    if (auto value = ReadValue(name)) {
        out = std::move(*value);
        return true;
    }
    return false;
}

std::wstring Join(const std::wstring& directory, const std::wstring& name) {
    return (fs::path(directory) / name).wstring();
}

std::wstring KnownFolder(REFKNOWNFOLDERID id) {
    UniqueCoTaskMem path;
    if (FAILED(::SHGetKnownFolderPath(id, 0, nullptr, path.put()))) {
        return std::wstring();
    }
    return path.get();
}

// A file status other than "status error" or "file not found".
bool IsPresent(const std::wstring& path) {
    boost::system::error_code error;
    const fs::file_type type = fs::status(path, error).type();
    return type != fs::status_error && type != fs::file_not_found;
}

// GetModuleFileNameW into a buffer that grows while the name may have been cut.
std::wstring ModuleFileName(HMODULE module) {
    std::vector<wchar_t> buffer(260);
    for (;;) {
        const DWORD length =
            ::GetModuleFileNameW(module, buffer.data(), static_cast<DWORD>(buffer.size()));
        if (length == 0) {
            ORVIK_THROW(Exception, kModulePathErrorCode,
                        ToDecimal(static_cast<std::int32_t>(::GetLastError())));
        }
        if (length < buffer.size() - 1) {
            return std::wstring(buffer.data(), length);
        }
        buffer.resize(buffer.size() * 2);
    }
}

std::wstring UniquePath(const std::wstring& model) {
    boost::system::error_code error;
    const fs::path unique = fs::unique_path(model, error);
    if (error) {
        ORVIK_THROW(Exception, kUniquePathErrorCode, ToDecimal(error.value()), model);
    }
    return unique.wstring();
}

}  // namespace

std::wstring PathGuide::GetModuleFilePath() const {
    HMODULE module = nullptr;
    if (!::GetModuleHandleExW(
            GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
            reinterpret_cast<LPCWSTR>(&ModuleFileName), &module)) {
        ORVIK_THROW(Exception, kUnknownErrorCode);
    }
    return ModuleFileName(module);
}

std::wstring PathGuide::GetProcessExecutablePath() const {
    return ModuleFileName(nullptr);
}

bool PathGuide::GetInstallDirectory(std::wstring& out) const {
    return ReadValue(L"Path", out);
}

bool PathGuide::GetInternalCAPIFullPath(std::wstring& out) const {
    if (ReadValue(L"InternalCAPIFullPath", out)) {
        return true;
    }
    std::wstring directory;
    if (!GetInstallDirectory(directory)) {
        return false;
    }
    out = Join(directory, GetNativeAPIName());
    return true;
}

bool PathGuide::GetGUIExecutableFullPath(std::wstring& out) const {
    if (ReadValue(L"GUIExecutableFullPath", out)) {
        return true;
    }
    std::wstring directory;
    if (!GetInstallDirectory(directory)) {
        return false;
    }
    out = Join(directory, GetGUIExecutableName());
    return true;
}

bool PathGuide::GetUninstallUtilityExecutableFullPath(std::wstring& out) const {
    return ReadValue(L"UninstallUtilityExecutableFullPath", out);
}

bool PathGuide::GetDeploymentSupportDirectory(std::wstring& out) const {
    return ReadValue(L"DeploymentSupport", out);
}

bool PathGuide::GetPackagesDirectory(std::wstring& out) const {
    std::wstring support;
    if (!GetDeploymentSupportDirectory(support)) {
        return false;
    }
    const std::wstring packages = Join(support, L"orvik-package-manager-packages");
    if (!IsPresent(packages)) {
        return false;
    }
    out = packages;
    return true;
}

bool PathGuide::GetExistingSettingsDirectory(std::wstring& out) const {
    const std::wstring settings = GetSettingsDirectory();
    if (!IsPresent(settings)) {
        return false;
    }
    out = settings;
    return true;
}

bool PathGuide::GetUpgraderExecutableFullPath(std::wstring& out) const {
    return ReadValue(L"UpgraderExecutableFullPath", out);
}

std::wstring PathGuide::GetSettingsDirectory() const {
    return Join(GetPublicDataDirectory(), L"Settings");
}

std::wstring PathGuide::GetUserDataDirectory() const {
    return Join(Join(KnownFolder(FOLDERID_LocalAppData), L"Calvenna"), L"Orvik Package Manager");
}

std::wstring PathGuide::GetCompanyPublicDataDirectory() const {
    if (auto value =
            ReadRegistryString(HKEY_LOCAL_MACHINE, kCommonInstallerKey, L"ORVIKPUBAPPDATADIR")) {
        return *value;
    }
    return Join(KnownFolder(FOLDERID_ProgramData), L"Calvenna");
}

std::wstring PathGuide::GetPublicDataDirectory() const {
    return Join(GetCompanyPublicDataDirectory(), L"Orvik Package Manager");
}

std::wstring PathGuide::GetLogsDirectory() const {
    if (auto configured = configuration_.GetString(L"logs-directory")) {
        return *configured;
    }
    return Join(GetUserDataDirectory(), L"Logs");
}

std::wstring PathGuide::GetMSIPropertiesFullPath() const {
    return ReadValue(L"MSIPropertiesFullPath").value_or(std::wstring());
}

Version PathGuide::GetMSIPropertiesVersion() const {
    return Version(ReadValue(L"MSIPropertiesVersion").value_or(std::wstring()));
}

std::wstring PathGuide::GetProfileDirectory() const {
    return KnownFolder(FOLDERID_Profile);
}

std::wstring PathGuide::GetTempDirectory() const {
    boost::system::error_code error;
    const fs::path temp = fs::temp_directory_path(error);
    if (error) {
        ORVIK_THROW(Exception, kTempDirectoryErrorCode, ToDecimal(error.value()));
    }
    return temp.wstring();
}

std::wstring PathGuide::GetUniqueTempPath(const std::wstring& prefix) const {
    return Join(GetTempDirectory(), UniquePath(prefix + kUniquePattern));
}

std::wstring PathGuide::GetTempDirectoryFromSystem() const {
    wchar_t buffer[MAX_PATH + 1] = {};
    const DWORD length = ::GetTempPathW(MAX_PATH + 1, buffer);
    if (length == 0 || length > MAX_PATH) {
        ORVIK_THROW(Exception, kTempDirectoryErrorCode,
                    ToDecimal(static_cast<std::int32_t>(::GetLastError())));
    }
    return UniquePath(std::wstring(buffer, length));
}

std::wstring PathGuide::GetWindowsDirectory() const {
    return KnownFolder(FOLDERID_Windows);
}

std::wstring PathGuide::GetGUIExecutableName() const {
    return ReadValue(L"GUIExecutableName").value_or(std::wstring());
}

std::wstring PathGuide::GetNativeAPIName() const {
    return ReadValue(L"NativeAPIName").value_or(std::wstring());
}

}  // namespace orvik::pkgshared
