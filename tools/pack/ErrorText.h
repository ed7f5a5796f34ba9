#pragma once
// Why a call of the packing tool failed, in words a release engineer can act on.
#include <string>

namespace orvik::tools::pack {

// What to do when the disk the installer is written to is full.
constexpr wchar_t kFreeSpaceAdvice[] = L"free space there or write the installer to another folder";

// "error N: <the system's text>" for the system error `code` (a Windows error number on
// Windows, an errno value elsewhere); for 0, that the system gave no reason (Wine leaves none
// when a write runs out of room).
std::wstring SystemErrorText(unsigned long code);
// Whether a write that failed with the system error `code` may have run out of room.
bool MayBeDiskFull(unsigned long code);
// The C runtime's text for the error number `code`.
std::wstring ErrnoText(int code);

}  // namespace orvik::tools::pack
