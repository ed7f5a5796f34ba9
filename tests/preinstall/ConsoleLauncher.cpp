// Starts a program without a console of its own (DETACHED_PROCESS), so that
// it can attach to this one's, waits for it and prints
// "exit code: <signed 32-bit value>".
// Usage: console_launcher.exe PROGRAM [ARGUMENTS...]
#include <windows.h>

#include <cstdio>
#include <string>

int wmain(int argc, wchar_t** argv) {
    if (argc < 2) {
        return 2;
    }
    std::wstring commandLine;
    for (int i = 1; i < argc; ++i) {
        if (i > 1) {
            commandLine += L' ';
        }
        commandLine += i == 1 ? L"\"" + std::wstring(argv[i]) + L"\"" : std::wstring(argv[i]);
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (!::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS,
                          nullptr, nullptr, &startup, &process)) {
        std::printf("cannot start: %lu\n", ::GetLastError());
        return 1;
    }
    ::WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    ::GetExitCodeProcess(process.hProcess, &code);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    std::printf("\nexit code: %ld\n", static_cast<long>(code));
    return 0;
}
