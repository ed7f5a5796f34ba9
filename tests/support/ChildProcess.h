#pragma once
#include <windows.h>

#include <functional>
#include <string>
#include "shared/TextConversion.h"
#include "shared/utils/WinResources.h"
#include "support/ScratchDirectory.h"
#include "support/TestData.h"

namespace orvik::testing {
// The build's program folder as a Windows path.
inline std::wstring BinDirectory() {
    return WinePath(ORVIK_TEST_BIN_DIR);
}
inline std::wstring Quoted(const boost::filesystem::path& path) {
    return L"\"" + path.wstring() + L"\"";
}
struct ChildResult {
    std::int32_t exitCode = -1;
    std::string output;  // standard output and standard error together
};

// Runs `commandLine` to its end. While it runs, `watch` (when given) is called every 250 ms of
// waiting; when it returns false the process is ended with exit code -1.
inline ChildResult Run(const std::wstring& commandLine, const boost::filesystem::path& scratch,
                       const std::function<bool(const PROCESS_INFORMATION&)>& watch = {}) {
    ChildResult result;
    const auto log = scratch / boost::filesystem::unique_path(L"child-%%%%%%%%.log");
    SECURITY_ATTRIBUTES inherit{sizeof(inherit), nullptr, TRUE};
    const pkgshared::UniqueHandle out(::CreateFileW(log.c_str(), GENERIC_WRITE, FILE_SHARE_READ,
                                                    &inherit, CREATE_ALWAYS, 0, nullptr));
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = out.get();
    PROCESS_INFORMATION p{};
    std::wstring line = commandLine;
    if (!::CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_NO_WINDOW, nullptr,
                          nullptr, &startup, &p)) {
        result.output = "CreateProcessW failed: error " + std::to_string(::GetLastError());
        return result;
    }
    const pkgshared::UniqueHandle process(p.hProcess), thread(p.hThread);
    while (::WaitForSingleObject(p.hProcess, watch ? 250 : INFINITE) == WAIT_TIMEOUT) {
        if (!watch(p)) {
            ::TerminateProcess(p.hProcess, static_cast<UINT>(-1));
        }
    }
    DWORD code = 0;
    ::GetExitCodeProcess(p.hProcess, &code);
    result.exitCode = static_cast<std::int32_t>(code);
    result.output = ReadBytes(log);
    return result;
}
// Runs the build's packing tool with `arguments`.
inline ChildResult Pack(const std::wstring& arguments, const boost::filesystem::path& scratch) {
    return Run(L"\"" + BinDirectory() + L"\\orvikpkg-pack.exe\" " + arguments, scratch);
}
}  // namespace orvik::testing
