/* The reference for the bootstrapper's start-up cost: a GUI program that does
 * nothing but start the command line it is given (everything after its own
 * name), wait for it and return its exit code. Exit code 1 when the child
 * cannot be started. */
#include <windows.h>

/* The command line after the program's own name (quoted or not). */
static wchar_t* ChildCommandLine(wchar_t* line) {
    if (*line == L'"') {
        ++line;
        while (*line != L'\0' && *line != L'"') {
            ++line;
        }
        if (*line == L'"') {
            ++line;
        }
    } else {
        while (*line != L'\0' && *line != L' ' && *line != L'\t') {
            ++line;
        }
    }
    while (*line == L' ' || *line == L'\t') {
        ++line;
    }
    return line;
}

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, PWSTR commandLine, int show) {
    (void)instance;
    (void)previous;
    (void)commandLine;
    (void)show;
    STARTUPINFOW startup;
    ZeroMemory(&startup, sizeof(startup));
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process;
    if (!CreateProcessW(NULL, ChildCommandLine(GetCommandLineW()), NULL, NULL, FALSE, 0, NULL,
                        NULL, &startup, &process)) {
        return 1;
    }
    CloseHandle(process.hThread);
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 1;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hProcess);
    return (int)code;
}
