#pragma once
// MainWindow: the UI thread. Registers and creates a top-level window that
// never becomes visible and receives the worker's messages, starts the
// worker thread, pumps messages until the worker ends, and on request shows
// a small, fixed progress window with a marquee bar.
#include <windows.h>

#include <cstdint>
#include <string>

#include "shared/Exception.h"
#include "shared/ISharedSession.h"

namespace orvik::pkgui::preinstall {

class IPreInstallPlatform;
class MainWindow;
using WorkerProcedure = std::int32_t (*)(MainWindow& window, void* context);

class MainWindow {
public:
    static constexpr wchar_t kClassName[] = L"MainWindowClass";
    static constexpr wchar_t kTitle[] = L"Orvik Package Installer";
    static constexpr wchar_t kProgressClassName[] = L"UnzipProgressWindowClass";
    // The worker's requests, sent with SendMessageW; both answer 0.
    // kShowProgress: wParam points to the title (a std::wstring, may be
    // empty) of the progress window to show. kFinishProgress: closes it.
    static constexpr UINT kShowProgress = WM_USER + 1;
    static constexpr UINT kFinishProgress = WM_USER + 2;

    MainWindow(HINSTANCE instance, WorkerProcedure worker, void* context);
    MainWindow(const MainWindow&) = delete;
    MainWindow& operator=(const MainWindow&) = delete;

    // Creates the hidden window, runs the worker to its end while pumping
    // messages, and returns the worker's result (-125202 without a worker).
    // Throws PreInstallRegisterWindowClassError, PreInstallCreateWindowError
    // and PreInstallStartThreadError.
    std::int32_t Run();
    // Unregisters the window classes after Run. Throws
    // PreInstallUnregisterWindowClassError for the main class.
    void UnregisterWindowClasses();

    HWND Handle() const { return window_; }
    HWND ProgressHandle() const { return progress_.window; }
    HINSTANCE Instance() const { return instance_; }

    // The one window of the process that the window procedures serve;
    // custom messages are ignored while none is set.
    static void SetProcessWindow(MainWindow* window) noexcept;
    // The background brush of the progress window's texts; created once.
    static HBRUSH StaticBrush() noexcept;

private:
    struct ProgressWindow {
        MainWindow* owner = nullptr;
        ATOM atom = 0;
        HWND window = nullptr;
    };

    static LRESULT CALLBACK MainProcedure(HWND, UINT, WPARAM, LPARAM) noexcept;
    static LRESULT CALLBACK ProgressProcedure(HWND, UINT, WPARAM, LPARAM) noexcept;
    static void __cdecl WorkerStart(void* self) noexcept;
    void CreateProgressWindow(const std::wstring* title) noexcept;
    std::wstring LoadText(unsigned id) const;

    bool registered_ = false;
    HINSTANCE instance_;
    HWND window_ = nullptr;
    std::int32_t result_ = 0;
    WorkerProcedure worker_;
    ProgressWindow progress_;
    void* context_;
};

// Runs `window` and returns its result. When the window itself fails, the
// error is appended to errorlog.txt and shown like an error of the run:
// written to the parent console when the command line (read from `platform`
// only then) asks for a passive or quiet run, shown in a message box
// otherwise; its code is returned.
std::int32_t RunReportingFailure(MainWindow& window, orvik::pkgshared::ISharedSession& session,
                                 IPreInstallPlatform& platform);

class PreInstallStartThreadError : public orvik::pkgshared::Exception {
public:
    PreInstallStartThreadError(int runtimeError, const wchar_t* sourceFile, std::int32_t line);
    ~PreInstallStartThreadError() override;
};

class PreInstallRegisterWindowClassError : public orvik::pkgshared::Exception {
public:
    PreInstallRegisterWindowClassError(const std::wstring& className, std::uint32_t error,
                                       const wchar_t* sourceFile, std::int32_t line);
    ~PreInstallRegisterWindowClassError() override;
};

class PreInstallUnregisterWindowClassError : public orvik::pkgshared::Exception {
public:
    PreInstallUnregisterWindowClassError(const std::wstring& className, std::uint32_t error,
                                         const wchar_t* sourceFile, std::int32_t line);
    ~PreInstallUnregisterWindowClassError() override;
};

class PreInstallCreateWindowError : public orvik::pkgshared::Exception {
public:
    PreInstallCreateWindowError(const std::wstring& className, const std::wstring& title,
                                std::uint32_t error, const wchar_t* sourceFile, std::int32_t line);
    ~PreInstallCreateWindowError() override;
};

}  // namespace orvik::pkgui::preinstall
