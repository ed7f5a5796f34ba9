#pragma once
#include "shared/WindowsApi/IWindowsSysInfoApi.h"

namespace OrvikPkg::WindowsApi {

// `errors` is not owned and must outlive this object.
class WindowsSysInfoApi : public IWindowsSysInfoApi {
public:
    explicit WindowsSysInfoApi(IWindowsErrorHandlingApi& errors) : errors_(errors) {}
    BOOL GlobalMemoryStatusEx(LPMEMORYSTATUSEX status) override {
        return ::GlobalMemoryStatusEx(status);
    }
    int GetLocaleInfoEx(LPCWSTR localeName, LCTYPE type, LPWSTR data, int capacity) override {
        return ::GetLocaleInfoEx(localeName, type, data, capacity);
    }
    IWindowsErrorHandlingApi& GetErrorHandlingApi() override { return errors_; }

private:
    IWindowsErrorHandlingApi& errors_;
};

}  // namespace OrvikPkg::WindowsApi
