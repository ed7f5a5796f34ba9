/* The benchmarks' stand-in for the package manager's installer: appends the
 * moment it started, in nanoseconds since 1970-01-01 UTC as a decimal line,
 * to the file named by ORVIK_BENCH_STAMP, and exits with 0. It imports only
 * kernel32, so its own start costs as little as a program can. */
#include <windows.h>

static unsigned __int64 NowUnixNanoseconds(void) {
    FILETIME now;
    GetSystemTimePreciseAsFileTime(&now);
    const unsigned __int64 ticks = ((unsigned __int64)now.dwHighDateTime << 32) | now.dwLowDateTime;
    return (ticks - 116444736000000000ULL) * 100ULL;
}

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE previous, PWSTR commandLine, int show) {
    (void)instance;
    (void)previous;
    (void)commandLine;
    (void)show;
    const unsigned __int64 started = NowUnixNanoseconds();
    wchar_t path[MAX_PATH];
    const DWORD length = GetEnvironmentVariableW(L"ORVIK_BENCH_STAMP", path, MAX_PATH);
    if (length == 0 || length >= MAX_PATH) {
        return 0;
    }
    char line[24];
    int at = (int)sizeof(line);
    line[--at] = '\n';
    unsigned __int64 rest = started;
    do {
        line[--at] = (char)('0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    HANDLE file = CreateFileW(path, FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE, NULL,
                              OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, NULL);
    if (file == INVALID_HANDLE_VALUE) {
        return 1;
    }
    DWORD written = 0;
    const BOOL ok = WriteFile(file, line + at, (DWORD)(sizeof(line) - at), &written, NULL);
    CloseHandle(file);
    return ok ? 0 : 1;
}
