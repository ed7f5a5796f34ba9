#include <windows.h>

#include <aclapi.h>
#include <sddl.h>

#include <vector>

#include "preinstall/WorkingDirectorySecurity.h"
#include "shared/ExceptionFamily.h"
#include "shared/Raise.h"
#include "shared/SystemErrorMessage.h"
#include "shared/utils/WinResources.h"

namespace orvik::pkgui::preinstall {
namespace {

using orvik::pkgshared::UniqueHandle;
using orvik::pkgshared::UniqueHlocal;

[[noreturn]] void Fail(DWORD error, const std::wstring& directory) {
    ORVIK_THROW(orvik::pkgshared::CouldNotCreateDirectoryException,
                static_cast<std::int32_t>(error), directory,
                orvik::pkgshared::GetSystemErrorMessage(error));
}

// The SID of the user the process runs for, as a string; empty on failure
// (the error is left in GetLastError).
std::wstring CurrentUserSid() {
    UniqueHandle token;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.put())) {
        return std::wstring();
    }
    DWORD size = 0;
    ::GetTokenInformation(token.get(), TokenUser, nullptr, 0, &size);
    std::vector<BYTE> buffer(size);
    if (size == 0 || !::GetTokenInformation(token.get(), TokenUser, buffer.data(), size, &size)) {
        return std::wstring();
    }
    LPWSTR text = nullptr;
    if (!::ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid, &text)) {
        return std::wstring();
    }
    const UniqueHlocal owned(text);
    return text;
}

DWORD SetDacl(const std::wstring& path, SECURITY_INFORMATION information, PACL dacl) {
    std::wstring name = path;
    return ::SetNamedSecurityInfoW(name.data(), SE_FILE_OBJECT, information, nullptr, nullptr, dacl,
                                   nullptr);
}

}  // namespace

void RestrictWorkingDirectory(const std::wstring& directory, const DaclSetter& setDacl) {
    const std::wstring user = CurrentUserSid();
    if (user.empty()) {
        Fail(::GetLastError(), directory);
    }
    PSECURITY_DESCRIPTOR descriptor = nullptr;
    if (!::ConvertStringSecurityDescriptorToSecurityDescriptorW(
            WorkingDirectoryDacl(user).c_str(), SDDL_REVISION_1, &descriptor, nullptr)) {
        Fail(::GetLastError(), directory);
    }
    const UniqueHlocal ownedDescriptor(descriptor);
    BOOL present = FALSE;
    BOOL defaulted = FALSE;
    PACL dacl = nullptr;
    if (!::GetSecurityDescriptorDacl(descriptor, &present, &dacl, &defaulted)) {
        Fail(::GetLastError(), directory);
    }
    // Protected: none of the parent's inheritable entries is added.
    const SECURITY_INFORMATION information =
        DACL_SECURITY_INFORMATION | PROTECTED_DACL_SECURITY_INFORMATION;
    const DWORD result = setDacl ? static_cast<DWORD>(setDacl(directory, information, dacl))
                                 : SetDacl(directory, information, dacl);
    if (result != ERROR_SUCCESS) {
        Fail(result, directory);
    }
}

}  // namespace orvik::pkgui::preinstall
