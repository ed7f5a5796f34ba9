#pragma once
#include "preinstall/RebootSystem.h"
#include "shared/utils/WinResources.h"

namespace orvik::pkgui::preinstall {

// The real system calls of a restart. Owns the token it opens.
class RebootApiWin : public IRebootApi {
public:
    TokenResult OpenThreadToken() override;
    bool OpenProcessToken() override;
    bool EnableShutdownPrivilege() override;
    std::optional<std::wstring> NetworkUserName() override;
    std::optional<std::wstring> SessionUserName() override;
    bool InitiateRestart(std::uint32_t reason) override;
    bool ExitWindowsRestart(std::uint32_t reason) override;

private:
    orvik::pkgshared::UniqueHandle token_;
};

}  // namespace orvik::pkgui::preinstall
