#pragma once
// The running system's side of OsVersionEvaluator.
#include <windows.h>

#include "shared/OsVersionEvaluator.h"
#include "shared/utils/WinResources.h"

namespace orvik::pkgshared {

// Reads values of an open registry key; a key that could not be opened
// answers every query with nothing.
class RegistryKeyValueReader : public IRegistryValueReader {
public:
    // Opens `subKey` of `root` for reading (`access` adds view flags).
    RegistryKeyValueReader(HKEY root, const wchar_t* subKey, REGSAM access = 0);
    bool IsOpen() const { return key_.is_valid(); }
    std::optional<std::uint32_t> ReadDword(const wchar_t* name) override;
    std::optional<std::wstring> ReadString(const wchar_t* name) override;

private:
    UniqueHkey key_;
};

// VerifyVersionInfoW.
class WindowsVersionVerifier : public IVersionVerifier {
public:
    Result Verify(Condition condition, std::uint32_t major, std::optional<std::uint32_t> minor,
                  std::optional<std::uint32_t> build) override;
};

// The version under HKEY_LOCAL_MACHINE "SOFTWARE\Microsoft\Windows NT\CurrentVersion",
// read now.
SystemVersion ReadRunningSystemVersion();

// An evaluator of the running system: its version is read once per process,
// at the first call.
OsVersionEvaluator MakeRunningSystemEvaluator();

}  // namespace orvik::pkgshared
