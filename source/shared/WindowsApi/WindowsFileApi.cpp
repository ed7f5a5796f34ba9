#include "shared/WindowsApi/WindowsFileApi.h"

namespace OrvikPkg::WindowsApi {

HANDLE WindowsFileApi::CreateFileW(LPCWSTR name, DWORD access, DWORD shareMode,
                                   LPSECURITY_ATTRIBUTES security, DWORD disposition,
                                   DWORD flagsAndAttributes, HANDLE templateFile) {
    return ::CreateFileW(name, access, shareMode, security, disposition, flagsAndAttributes,
                         templateFile);
}

BOOL WindowsFileApi::GetFileSizeEx(HANDLE file, PLARGE_INTEGER size) {
    return ::GetFileSizeEx(file, size);
}

BOOL WindowsFileApi::GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME lastAccess,
                                 LPFILETIME lastWrite) {
    return ::GetFileTime(file, creation, lastAccess, lastWrite);
}

BOOL WindowsFileApi::CloseHandle(HANDLE handle) {
    return ::CloseHandle(handle);
}

BOOL WindowsFileApi::ReadFile(HANDLE file, LPVOID buffer, DWORD bytesToRead, LPDWORD bytesRead,
                              LPOVERLAPPED overlapped) {
    return ::ReadFile(file, buffer, bytesToRead, bytesRead, overlapped);
}

BOOL WindowsFileApi::SetFilePointerEx(HANDLE file, LARGE_INTEGER distance,
                                      PLARGE_INTEGER newPointer, DWORD moveMethod) {
    return ::SetFilePointerEx(file, distance, newPointer, moveMethod);
}

BOOL WindowsFileApi::WriteFile(HANDLE file, LPCVOID buffer, DWORD bytesToWrite,
                               LPDWORD bytesWritten, LPOVERLAPPED overlapped) {
    return ::WriteFile(file, buffer, bytesToWrite, bytesWritten, overlapped);
}

BOOL WindowsFileApi::GetDiskFreeSpaceExW(LPCWSTR directory, PULARGE_INTEGER freeBytesAvailable,
                                         PULARGE_INTEGER totalBytes,
                                         PULARGE_INTEGER totalFreeBytes) {
    return ::GetDiskFreeSpaceExW(directory, freeBytesAvailable, totalBytes, totalFreeBytes);
}

}  // namespace OrvikPkg::WindowsApi
