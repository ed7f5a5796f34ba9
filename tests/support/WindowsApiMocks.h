#pragma once
// GoogleMock substitutes for the Windows call wrappers. Each answers its
// GetErrorHandlingApi with the `errors` mock it holds.
#include <gmock/gmock.h>

#include "shared/WindowsApi/IWindowsComApi.h"
#include "shared/WindowsApi/IWindowsErrorHandlingApi.h"
#include "shared/WindowsApi/IWindowsEventLogApi.h"
#include "shared/WindowsApi/IWindowsFileApi.h"
#include "shared/WindowsApi/IWindowsSysInfoApi.h"

namespace orvik::testing {

class MockErrorHandlingApi : public OrvikPkg::WindowsApi::IWindowsErrorHandlingApi {
public:
    MOCK_METHOD(DWORD, GetLastError, (), (override));
};

class MockComApi : public OrvikPkg::WindowsApi::IWindowsComApi {
public:
    MOCK_METHOD(HRESULT, CoInitializeEx, (LPVOID, DWORD), (override));
    MOCK_METHOD(void, CoUninitialize, (), (override));
    MOCK_METHOD(HRESULT, CoCreateInstance, (REFCLSID, LPUNKNOWN, DWORD, REFIID, LPVOID*),
                (override));
    MOCK_METHOD(HRESULT, CoSetProxyBlanket,
                (IUnknown*, DWORD, DWORD, OLECHAR*, DWORD, DWORD, RPC_AUTH_IDENTITY_HANDLE, DWORD),
                (override));
    OrvikPkg::WindowsApi::IWindowsErrorHandlingApi& GetErrorHandlingApi() override {
        return errors;
    }
    ::testing::StrictMock<MockErrorHandlingApi> errors;
};

class MockEventLogApi : public OrvikPkg::WindowsApi::IWindowsEventLogApi {
public:
    MOCK_METHOD(EVT_HANDLE, EvtQuery, (EVT_HANDLE, LPCWSTR, LPCWSTR, DWORD), (override));
    MOCK_METHOD(BOOL, EvtNext, (EVT_HANDLE, DWORD, EVT_HANDLE*, DWORD, DWORD, PDWORD), (override));
    MOCK_METHOD(EVT_HANDLE, EvtCreateRenderContext, (DWORD, LPCWSTR*, DWORD), (override));
    MOCK_METHOD(BOOL, EvtRender, (EVT_HANDLE, EVT_HANDLE, DWORD, DWORD, PVOID, PDWORD, PDWORD),
                (override));
    MOCK_METHOD(BOOL, EvtClose, (EVT_HANDLE), (override));
    OrvikPkg::WindowsApi::IWindowsErrorHandlingApi& GetErrorHandlingApi() override {
        return errors;
    }
    ::testing::StrictMock<MockErrorHandlingApi> errors;
};

class MockFileApi : public OrvikPkg::WindowsApi::IWindowsFileApi {
public:
    MOCK_METHOD(HANDLE, CreateFileW,
                (LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE), (override));
    MOCK_METHOD(BOOL, GetFileSizeEx, (HANDLE, PLARGE_INTEGER), (override));
    MOCK_METHOD(BOOL, GetFileTime, (HANDLE, LPFILETIME, LPFILETIME, LPFILETIME), (override));
    MOCK_METHOD(BOOL, CloseHandle, (HANDLE), (override));
    MOCK_METHOD(BOOL, ReadFile, (HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED), (override));
    MOCK_METHOD(BOOL, SetFilePointerEx, (HANDLE, LARGE_INTEGER, PLARGE_INTEGER, DWORD), (override));
    MOCK_METHOD(BOOL, WriteFile, (HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED), (override));
    MOCK_METHOD(BOOL, GetDiskFreeSpaceExW,
                (LPCWSTR, PULARGE_INTEGER, PULARGE_INTEGER, PULARGE_INTEGER), (override));
    OrvikPkg::WindowsApi::IWindowsErrorHandlingApi& GetErrorHandlingApi() override {
        return errors;
    }
    ::testing::StrictMock<MockErrorHandlingApi> errors;
};

class MockSysInfoApi : public OrvikPkg::WindowsApi::IWindowsSysInfoApi {
public:
    MOCK_METHOD(BOOL, GlobalMemoryStatusEx, (LPMEMORYSTATUSEX), (override));
    MOCK_METHOD(int, GetLocaleInfoEx, (LPCWSTR, LCTYPE, LPWSTR, int), (override));
    OrvikPkg::WindowsApi::IWindowsErrorHandlingApi& GetErrorHandlingApi() override {
        return errors;
    }
    ::testing::StrictMock<MockErrorHandlingApi> errors;
};

}  // namespace orvik::testing
