#pragma once
// Restarting the machine after the package manager's install asked for it.
#include <cstdint>
#include <optional>
#include <string>

namespace orvik::pkgui::preinstall {

// The system calls a restart needs, so that the decisions can be tested
// without restarting anything.
class IRebootApi {
public:
    enum class TokenResult { Opened, NoThreadToken, Failed };
    virtual ~IRebootApi() = default;
    // OpenThreadToken(current thread, TOKEN_ADJUST_PRIVILEGES, as self).
    virtual TokenResult OpenThreadToken() = 0;
    // OpenProcessToken(current process, TOKEN_ADJUST_PRIVILEGES).
    virtual bool OpenProcessToken() = 0;
    // Enables SeShutdownPrivilege on the opened token; true only when every
    // privilege was assigned (the last error is 0 afterwards).
    virtual bool EnableShutdownPrivilege() = 0;
    // WNetGetUserW(NULL, ...) into 260 characters; nothing on failure.
    virtual std::optional<std::wstring> NetworkUserName() = 0;
    // The user of the current session; nothing on failure.
    virtual std::optional<std::wstring> SessionUserName() = 0;
    // InitiateSystemShutdownExW(NULL, NULL, 0, FALSE, TRUE, reason).
    virtual bool InitiateRestart(std::uint32_t reason) = 0;
    // ExitWindowsEx(EWX_REBOOT, reason).
    virtual bool ExitWindowsRestart(std::uint32_t reason) = 0;
};

// Planned; major reason application; minor reason installation.
constexpr std::uint32_t kRebootReason = 0x80040002;

// Enables the shutdown privilege and restarts the machine: through
// InitiateSystemShutdownExW when the program runs under another account than
// the interactive user, otherwise through ExitWindowsEx. Throws Exception
// -126305 when any step fails.
void RebootSystem(IRebootApi& api);

}  // namespace orvik::pkgui::preinstall
