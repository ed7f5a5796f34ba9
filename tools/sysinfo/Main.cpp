// orvikpkg-sysinfo: prints the machine summary as UTF-8 on standard output.
// Exit code 0 when every section succeeded, 1 otherwise.
#include <windows.h>

#include <cstdio>
#include <sstream>

#include "shared/SystemInfo/SystemInformation.h"
#include "shared/TextConversion.h"
#include "shared/UiLanguage.h"
#include "shared/WindowsApi/WindowsComApi.h"
#include "shared/WindowsApi/WindowsErrorHandlingApi.h"
#include "shared/WindowsApi/WindowsEventLogApi.h"
#include "shared/WindowsApi/WindowsFileApi.h"
#include "shared/WindowsApi/WindowsSysInfoApi.h"
#include "sysinfo/SystemSummaryReport.h"

namespace {

// The root of the drive Windows is installed on, such as "C:\".
std::wstring SystemDrive() {
    wchar_t directory[MAX_PATH] = {};
    const UINT length = ::GetSystemWindowsDirectoryW(directory, MAX_PATH);
    if (length < 2 || length >= MAX_PATH || directory[1] != L':') {
        return L"C:\\";
    }
    return std::wstring(directory, 2) + L'\\';
}

}  // namespace

int wmain() {
    using namespace OrvikPkg;
    WindowsApi::WindowsErrorHandlingApi errors;
    WindowsApi::WindowsComApi comApi(errors);
    WindowsApi::WindowsEventLogApi eventLogApi(errors);
    WindowsApi::WindowsFileApi fileApi(errors);
    WindowsApi::WindowsSysInfoApi sysInfoApi(errors);
    SystemInfo::WindowsEventLog eventLog(eventLogApi);
    SystemInfo::WindowsManagementInstrumentation wmi(comApi);
    SystemInfo::SystemInformation information(comApi, fileApi, sysInfoApi, wmi, eventLog);

    std::wostringstream report;
    const bool ok = orvik::sysinfo::WriteSystemSummary(
        information, SystemDrive(), orvik::pkgshared::CurrentUiLanguage(), report);
    const std::string text = orvik::pkgshared::WideToUtf8(report.str());
    ::SetConsoleOutputCP(CP_UTF8);
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
    return ok ? 0 : 1;
}
