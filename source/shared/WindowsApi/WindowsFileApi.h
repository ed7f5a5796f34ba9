#pragma once
#include "shared/WindowsApi/IWindowsFileApi.h"

namespace OrvikPkg::WindowsApi {

// `errors` is not owned and must outlive this object.
class WindowsFileApi : public IWindowsFileApi {
public:
    explicit WindowsFileApi(IWindowsErrorHandlingApi& errors) : errors_(errors) {}
    HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES security,
                       DWORD disposition, DWORD flagsAndAttributes, HANDLE templateFile) override;
    BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size) override;
    BOOL GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME lastAccess,
                     LPFILETIME lastWrite) override;
    BOOL CloseHandle(HANDLE handle) override;
    BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead,
                  LPOVERLAPPED overlapped) override;
    BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER newPointer,
                          DWORD moveMethod) override;
    BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD bytesToWrite, LPDWORD bytesWritten,
                   LPOVERLAPPED overlapped) override;
    BOOL GetDiskFreeSpaceExW(LPCWSTR directory, PULARGE_INTEGER freeBytesAvailable,
                             PULARGE_INTEGER totalBytes, PULARGE_INTEGER totalFreeBytes) override;
    IWindowsErrorHandlingApi& GetErrorHandlingApi() override { return errors_; }

private:
    IWindowsErrorHandlingApi& errors_;
};

}  // namespace OrvikPkg::WindowsApi
