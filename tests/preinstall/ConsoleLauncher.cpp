// Starts a program without a console of its own (DETACHED_PROCESS), so that
// it can attach to this one's, waits for it and prints
// "exit code: <signed 32-bit value>".
// Usage: console_launcher.exe PROGRAM [ARGUMENTS...]
#include <windows.h>

#include <cstdio>
#include <string>

int wmain(int argc, wchar_t** argv) {
    std::wstring commandLine = argc < 2 ? L"" : L"\"" + std::wstring(argv[1]) + L"\"";
    for (int i = 2; i < argc; ++i) {
        commandLine += L" " + std::wstring(argv[i]);
    }
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process{};
    if (argc < 2 || !::CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE,
                                      DETACHED_PROCESS, nullptr, nullptr, &startup, &process)) {
        std::printf("cannot start: %lu\n", ::GetLastError());
        return 1;
    }
    ::WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 0;
    ::GetExitCodeProcess(process.hProcess, &code);
    std::printf("\nexit code: %ld\n", static_cast<long>(code));
    return 0;
}
