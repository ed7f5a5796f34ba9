#pragma once
// The file and volume calls of the system-information code. Each forwards
// unchanged to the system function of the same name.
#include <windows.h>

#include "shared/WindowsApi/IWindowsErrorHandlingApi.h"

namespace OrvikPkg::WindowsApi {

class IWindowsFileApi {
public:
    virtual ~IWindowsFileApi() = default;
    virtual HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD shareMode,
                               LPSECURITY_ATTRIBUTES security, DWORD disposition,
                               DWORD flagsAndAttributes, HANDLE templateFile) = 0;
    virtual BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size) = 0;
    virtual BOOL GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME lastAccess,
                             LPFILETIME lastWrite) = 0;
    virtual BOOL CloseHandle(HANDLE handle) = 0;
    virtual BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead,
                          LPOVERLAPPED overlapped) = 0;
    virtual BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER newPointer,
                                  DWORD moveMethod) = 0;
    virtual BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten,
                           LPOVERLAPPED overlapped) = 0;
    virtual BOOL GetDiskFreeSpaceExW(LPCWSTR directory, PULARGE_INTEGER freeBytesAvailable,
                                     PULARGE_INTEGER totalBytes,
                                     PULARGE_INTEGER totalFreeBytes) = 0;
    virtual IWindowsErrorHandlingApi& GetErrorHandlingApi() = 0;
};

}  // namespace OrvikPkg::WindowsApi
