// Stands in for a DLL planted beside a program under a system DLL's name: loading it creates
// "<its own path>.loaded". It exports nothing.
#include <windows.h>

#include "shared/utils/WinResources.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE self, DWORD reason, LPVOID) {
    wchar_t path[MAX_PATH + 8] = {};
    const DWORD length = ::GetModuleFileNameW(self, path, MAX_PATH);
    if (reason == DLL_PROCESS_ATTACH && length > 0 && length < MAX_PATH) {
        ::lstrcatW(path, L".loaded");
        const orvik::pkgshared::UniqueHandle mark(
            ::CreateFileW(path, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    }
    return TRUE;
}
