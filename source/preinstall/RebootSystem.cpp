#define ORVIK_SOURCE_NAME L"source\\preinstall\\Main"

#include "preinstall/RebootSystem.h"

#include "shared/Exception.h"
#include "shared/Raise.h"

namespace orvik::pkgui::preinstall {
namespace {

constexpr std::int32_t kRebootFailed = -126305;

}  // namespace

void RebootSystem(IRebootApi& api) {
    switch (api.OpenThreadToken()) {
        case IRebootApi::TokenResult::Opened:
            break;
        case IRebootApi::TokenResult::NoThreadToken:
            if (!api.OpenProcessToken()) {
                ORVIK_THROW(orvik::pkgshared::Exception, kRebootFailed);
            }
            break;
        case IRebootApi::TokenResult::Failed:
            ORVIK_THROW(orvik::pkgshared::Exception, kRebootFailed);
    }
    if (!api.EnableShutdownPrivilege()) {
        ORVIK_THROW(orvik::pkgshared::Exception, kRebootFailed);
    }
    const std::optional<std::wstring> networkUser = api.NetworkUserName();
    const std::optional<std::wstring> sessionUser =
        networkUser ? api.SessionUserName() : std::nullopt;
    const bool otherAccount = networkUser && sessionUser && *networkUser != *sessionUser;
    const bool started =
        otherAccount ? api.InitiateRestart(kRebootReason) : api.ExitWindowsRestart(kRebootReason);
    if (!started) {
        ORVIK_THROW(orvik::pkgshared::Exception, kRebootFailed);
    }
}

}  // namespace orvik::pkgui::preinstall
