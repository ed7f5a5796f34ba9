// A sample "Install.exe" for the demo: installs the sample package manager
// the way the real installer records it (its program file, the program's
// path in the registry's 32-bit view and its version in the 64-bit view) and
// reports what it was asked to do.
#include <windows.h>

#include <string>

#include "SampleReport.h"

namespace {

constexpr wchar_t kKey[] = L"SOFTWARE\\Calvenna\\Orvik Package Manager\\CurrentVersion";
constexpr wchar_t kVersion[] = L"26.5.0.0";

bool SetString(REGSAM view, const wchar_t* name, const std::wstring& value) {
    HKEY key = nullptr;
    if (::RegCreateKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, nullptr, 0, KEY_SET_VALUE | view, nullptr,
                          &key, nullptr) != ERROR_SUCCESS) {
        return false;
    }
    const LSTATUS status =
        ::RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.c_str()),
                         static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
    ::RegCloseKey(key);
    return status == ERROR_SUCCESS;
}

}  // namespace

int wmain() {
    const std::wstring commandLine = ::GetCommandLineW();
    orvik::samples::Report(L"  Install.exe ran in " + orvik::samples::CurrentDirectory());
    orvik::samples::Report(L"    command line: " + commandLine);

    wchar_t programFiles[MAX_PATH] = {};
    ::GetEnvironmentVariableW(L"ProgramFiles", programFiles, MAX_PATH);
    const std::wstring folder = std::wstring(programFiles) + L"\\Orvik Package Manager";
    const std::wstring program = folder + L"\\orvikpkg.exe";
    ::CreateDirectoryW(folder.c_str(), nullptr);
    if (!::CopyFileW(L"orvikpkg.exe", program.c_str(), FALSE) ||
        !SetString(KEY_WOW64_32KEY, L"GUIExecutableFullPath", program) ||
        !SetString(KEY_WOW64_64KEY, L"GUIExecutableVersion", kVersion)) {
        orvik::samples::Report(L"    could not install the sample package manager");
        return 1603;
    }
    orvik::samples::Report(L"    installed Orvik Package Manager " + std::wstring(kVersion) +
                           L" as " + program);
    if (commandLine.find(L"--install-orvikpm-with-product") != std::wstring::npos) {
        orvik::samples::Report(L"    and installed the product from suite.dat with it");
    }
    return 0;
}
