#include "preinstall/RebootApiWin.h"

#include <windows.h>
#include <winnetwk.h>
#include <wtsapi32.h>

namespace orvik::pkgui::preinstall {
namespace {

using UniqueWtsMemory = orvik::pkgshared::UniqueResource<LPWSTR, &::WTSFreeMemory>;

}  // namespace

IRebootApi::TokenResult RebootApiWin::OpenThreadToken() {
    if (::OpenThreadToken(::GetCurrentThread(), TOKEN_ADJUST_PRIVILEGES, TRUE, token_.put())) {
        return TokenResult::Opened;
    }
    return ::GetLastError() == ERROR_NO_TOKEN ? TokenResult::NoThreadToken : TokenResult::Failed;
}

bool RebootApiWin::OpenProcessToken() {
    return ::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, token_.put()) != 0;
}

bool RebootApiWin::EnableShutdownPrivilege() {
    TOKEN_PRIVILEGES privileges{};
    privileges.PrivilegeCount = 1;
    privileges.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
    if (!::LookupPrivilegeValueW(nullptr, SE_SHUTDOWN_NAME, &privileges.Privileges[0].Luid)) {
        return false;
    }
    ::SetLastError(ERROR_SUCCESS);
    ::AdjustTokenPrivileges(token_.get(), FALSE, &privileges, 0, nullptr, nullptr);
    return ::GetLastError() == ERROR_SUCCESS;  // ERROR_NOT_ALL_ASSIGNED counts as failure
}

std::optional<std::wstring> RebootApiWin::NetworkUserName() {
    wchar_t name[MAX_PATH] = {};
    DWORD length = MAX_PATH;
    if (::WNetGetUserW(nullptr, name, &length) != NO_ERROR) {
        return std::nullopt;
    }
    return std::wstring(name);
}

std::optional<std::wstring> RebootApiWin::SessionUserName() {
    UniqueWtsMemory name;
    DWORD bytes = 0;
    if (!::WTSQuerySessionInformationW(WTS_CURRENT_SERVER_HANDLE, WTS_CURRENT_SESSION, WTSUserName,
                                       name.put(), &bytes) ||
        !name) {
        return std::nullopt;
    }
    return std::wstring(name.get());
}

bool RebootApiWin::InitiateRestart(std::uint32_t reason) {
    return ::InitiateSystemShutdownExW(nullptr, nullptr, 0, FALSE, TRUE, reason) != 0;
}

bool RebootApiWin::ExitWindowsRestart(std::uint32_t reason) {
    return ::ExitWindowsEx(EWX_REBOOT, reason) != 0;
}

}  // namespace orvik::pkgui::preinstall
