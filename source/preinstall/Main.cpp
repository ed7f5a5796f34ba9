// The bootstrapper's process entry: narrows the DLL search, builds the
// session and the logger, and runs the worker under the hidden main window.
// The exit code is the run's result.
#include <windows.h>

#include <boost/filesystem/path.hpp>

#include "preinstall/MainWindow.h"
#include "preinstall/PreInstall.h"
#include "preinstall/PreInstallPlatformWin.h"
#include "shared/ErrorMessage.h"
#include "shared/ExceptionReport.h"
#include "shared/Logger.h"
#include "shared/SharedSession.h"
#include "shared/SystemErrorMessage.h"
#include "shared/utils/DirectoryPath.h"

namespace {

using namespace orvik::pkgui::preinstall;
using orvik::pkgshared::Exception;

constexpr wchar_t kLogSource[] = L"Main";
constexpr wchar_t kTracePrefix[] = L"pkgui::preinstall: ";

// A trace line of the entry: the logger's line, and the same text with the
// bootstrapper's prefix in the debugger output; nothing when logging is off.
void Trace(orvik::pkgshared::Logger& logger, const std::wstring& message) {
    if (logger.IsEnabled()) {
        logger.Log(kLogSource, 1, message);
        ::OutputDebugStringW((kTracePrefix + message + L"\n").c_str());
    }
}

struct WorkerContext {
    orvik::pkgshared::SharedSession& session;
    orvik::pkgshared::Logger& logger;
};

// The kernel32 function `name` as type `Function`; null where this Windows
// lacks it. Functions newer than Windows 7 SP1 are found this way, so that the
// import table names none of them.
template <typename Function>
Function KernelFunction(const char* name) {
    HMODULE kernel = ::GetModuleHandleW(L"kernel32");
    return kernel != nullptr
               ? reinterpret_cast<Function>(reinterpret_cast<void*>(::GetProcAddress(kernel, name)))
               : nullptr;
}

// Searches only the system folder for DLLs loaded from now on. Returns 0, or
// the last error when the system refused.
DWORD NarrowDllSearch() {
    const auto set = KernelFunction<BOOL(WINAPI*)(DWORD)>("SetDefaultDllDirectories");
    if (set == nullptr || set(LOAD_LIBRARY_SEARCH_SYSTEM32)) {
        return 0;
    }
    return ::GetLastError();
}

// Milliseconds since the process was created; -1 when the system does not say.
long long MillisecondsSinceProcessCreation() {
    FILETIME creation{}, exit{}, kernel{}, user{}, now{};
    if (!::GetProcessTimes(::GetCurrentProcess(), &creation, &exit, &kernel, &user)) {
        return -1;
    }
    // Windows 8 and later; Windows 7 has the clock's tick resolution only.
    static const auto precise =
        KernelFunction<VOID(WINAPI*)(LPFILETIME)>("GetSystemTimePreciseAsFileTime");
    precise != nullptr ? precise(&now) : ::GetSystemTimeAsFileTime(&now);
    const auto ticks = [](const FILETIME& time) {
        return static_cast<long long>((static_cast<unsigned long long>(time.dwHighDateTime) << 32) |
                                      time.dwLowDateTime);
    };
    return (ticks(now) - ticks(creation)) / 10000;
}

std::int32_t Worker(MainWindow& window, void* context) {
    auto& [session, logger] = *static_cast<WorkerContext*>(context);
    Trace(logger, L"Worker started, " + std::to_wstring(MillisecondsSinceProcessCreation()) +
                      L" ms after the process was created");
    PreInstallPlatformWin platform(session, window.Handle(), window.Instance());
    PreInstall run(session, platform);
    run.Run();
    Trace(logger, L"Run ended with " + std::to_wstring(run.ResultCode()));
    return run.ResultCode();
}

int RunWindow(HINSTANCE instance, orvik::pkgshared::SharedSession& session,
              orvik::pkgshared::Logger& logger) {
    WorkerContext context{session, logger};
    MainWindow window(instance, &Worker, &context);
    PreInstallPlatformWin platform(session, nullptr, instance);
    MainWindow::StaticBrush();
    MainWindow::SetProcessWindow(&window);
    const std::int32_t result = RunReportingFailure(window, session, platform);
    MainWindow::SetProcessWindow(nullptr);
    try {
        window.UnregisterWindowClasses();
    } catch (const Exception& e) {
        orvik::pkgshared::ReportException(
            L"orvik::pkgui::preinstall::MainWindow::UnregisterWindowClass", e,
            L"Preinstall encountered an error", session);
    }
    return result;
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int) {
    if (const DWORD error = NarrowDllSearch(); error != 0) {
        PreInstallPlatformWin::WriteTextToParentConsole(
            orvik::pkgshared::GetSystemErrorMessage(error));
        return static_cast<int>(error);
    }
    orvik::pkgshared::Logger logger;
    try {
        orvik::pkgshared::SharedSession session(logger);
        logger.Initialize(session);
        // The logger never creates its folder: it is made here, before the
        // first line, unless logging is switched off.
        if (logger.IsEnabled()) {
            const orvik::pkgshared::DirectoryPath logs(
                boost::filesystem::path(logger.GetLogFilePath()).parent_path());
            try {
                logs.Create();
            } catch (const Exception&) {
                // Without the folder the run goes on unlogged.
            }
        }
        Trace(logger, L"Starting, " + std::to_wstring(MillisecondsSinceProcessCreation()) +
                          L" ms after the process was created");
        const int result = RunWindow(instance, session, logger);
        logger.Close();
        return result;
    } catch (const Exception& e) {
        PreInstallPlatformWin::WriteTextToParentConsole(orvik::pkgshared::FormatErrorMessage(e));
        return e.GetErrorCode();
    } catch (const std::exception&) {
        return orvik::pkgshared::kUnknownErrorCode;
    }
}
