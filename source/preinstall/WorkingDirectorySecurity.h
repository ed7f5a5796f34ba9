#pragma once
// The working directory lies in the user's temporary folder, where any
// unelevated process of the same user could otherwise replace what the
// elevated run extracted before it is started. Only Administrators and
// SYSTEM may write into it; the user may read.
#include <functional>
#include <string>

namespace orvik::pkgui::preinstall {

// The protected DACL, as SDDL, for a user whose SID string is `userSid`:
// full control for SYSTEM and Administrators, read and execute for the user
// and for the directory's owner (so that owning it grants no more), all
// inherited by files and subfolders, nothing inherited from the parent.
std::wstring WorkingDirectoryDacl(const std::wstring& userSid);

// Sets the DACL of a file or folder as SetNamedSecurityInfoW does, with
// `information` saying what it sets (DACL_SECURITY_INFORMATION and
// PROTECTED_DACL_SECURITY_INFORMATION bits) and `acl` the bytes of a Windows
// ACL: returns a Win32 error code, 0 on success.
using DaclSetter =
    std::function<unsigned long(const std::wstring& path, unsigned long information, void* acl)>;

// Puts that DACL, for the user the process runs for, on `directory` (the
// folder only; it must exist) as a protected DACL, through `setDacl` (by
// default the system's SetNamedSecurityInfoW). Throws
// CouldNotCreateDirectoryException (-125098) with the system's error.
void RestrictWorkingDirectory(const std::wstring& directory, const DaclSetter& setDacl = {});

}  // namespace orvik::pkgui::preinstall
