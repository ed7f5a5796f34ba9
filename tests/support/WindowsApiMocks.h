#pragma once
// Windows call wrappers; GetErrorHandlingApi answers the `errors` mock held.
#include <gmock/gmock.h>
#include "shared/WindowsApi/IWindowsComApi.h"
#include "shared/WindowsApi/IWindowsErrorHandlingApi.h"
#include "shared/WindowsApi/IWindowsEventLogApi.h"

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
}  // namespace orvik::testing
