#include "preinstall/MainWindow.h"

#include <process.h>

#include <atomic>
#include <cerrno>

#include "preinstall/CommandLineOptions.h"
#include "preinstall/DelayLoadedControls.h"
#include "preinstall/IPreInstallPlatform.h"
#include "preinstall/StringIds.h"
#include "shared/ErrorMessage.h"
#include "shared/ExceptionReport.h"
#include "shared/Raise.h"

namespace orvik::pkgui::preinstall {
namespace {

constexpr std::int32_t kStartThreadErrorLine = 200;
constexpr std::int32_t kRegisterClassErrorLine = 135;
constexpr std::int32_t kUnregisterClassErrorLine = 150;
constexpr std::int32_t kCreateWindowErrorLine = 185;
constexpr COLORREF kStaticBackground = RGB(244, 244, 244);
constexpr COLORREF kStaticText = RGB(22, 22, 23);
constexpr COLORREF kBarColour = RGB(0, 155, 101);
constexpr COLORREF kBarBackground = RGB(255, 255, 255);
constexpr int kProgressWidth = 320;
constexpr int kProgressHeight = 125;
constexpr int kMargin = 17;

std::atomic<MainWindow*> g_processWindow{nullptr};

ATOM RegisterWindowClass(HINSTANCE instance, const wchar_t* name, WNDPROC procedure) {
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);  // 48
    windowClass.style = CS_HREDRAW | CS_VREDRAW;
    windowClass.lpfnWndProc = procedure;
    windowClass.hInstance = instance;
    windowClass.hIcon = ::LoadIconW(nullptr, IDI_APPLICATION);
    windowClass.hCursor = ::LoadCursorW(nullptr, IDC_ARROW);
    // The plain value 5, read by the system as colour index 4 (the menu colour).
    windowClass.hbrBackground = reinterpret_cast<HBRUSH>(static_cast<INT_PTR>(5));
    windowClass.lpszClassName = name;
    return ::RegisterClassExW(&windowClass);
}

}  // namespace

MainWindow::MainWindow(HINSTANCE instance, WorkerProcedure worker, void* context)
    : instance_(instance), worker_(worker), context_(context) {
    progress_.owner = this;
}

void MainWindow::SetProcessWindow(MainWindow* window) noexcept {
    g_processWindow = window;
}

HBRUSH MainWindow::StaticBrush() noexcept {
    static const HBRUSH brush = ::CreateSolidBrush(kStaticBackground);
    return brush;
}

std::int32_t MainWindow::Run() {
    if (RegisterWindowClass(instance_, kClassName, &MainProcedure) == 0) {
        ORVIK_THROW_AT(kRegisterClassErrorLine, PreInstallRegisterWindowClassError, kClassName,
                       ::GetLastError());
    }
    registered_ = true;
    HWND window =
        ::CreateWindowExW(0, kClassName, kTitle, WS_OVERLAPPEDWINDOW, CW_USEDEFAULT, CW_USEDEFAULT,
                          CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, instance_, nullptr);
    if (window == nullptr) {
        ORVIK_THROW_AT(kCreateWindowErrorLine, PreInstallCreateWindowError, kClassName, kTitle,
                       ::GetLastError());
    }
    ::ShowWindow(window, SW_SHOW);
    ::UpdateWindow(window);
    window_ = window;

    if (::_beginthread(&WorkerStart, 0, this) == static_cast<uintptr_t>(-1)) {
        ORVIK_THROW_AT(kStartThreadErrorLine, PreInstallStartThreadError, errno);
    }
    MSG message;
    BOOL got;
    while ((got = ::GetMessageW(&message, nullptr, 0, 0)) != 0 && got != -1) {
        ::TranslateMessage(&message);
        ::DispatchMessageW(&message);
    }
    return result_;
}

void MainWindow::UnregisterWindowClasses() {
    if (registered_) {
        registered_ = false;
        if (!::UnregisterClassW(kClassName, instance_)) {
            ORVIK_THROW_AT(kUnregisterClassErrorLine, PreInstallUnregisterWindowClassError,
                           kClassName, ::GetLastError());
        }
    }
    if (progress_.atom != 0) {
        ::UnregisterClassW(reinterpret_cast<LPCWSTR>(static_cast<ULONG_PTR>(progress_.atom)),
                           instance_);
        progress_.atom = 0;
    }
}

void __cdecl MainWindow::WorkerStart(void* self) noexcept {
    auto* window = static_cast<MainWindow*>(self);
    try {
        window->result_ = window->worker_ != nullptr ? window->worker_(*window, window->context_)
                                                     : pkgshared::kUnknownErrorCode;
    } catch (...) {
        window->result_ = pkgshared::kUnknownErrorCode;
    }
    if (window->window_ != nullptr) {
        ::SendMessageW(window->window_, WM_CLOSE, 0, 0);
    }
}

LRESULT CALLBACK MainWindow::MainProcedure(HWND window, UINT message, WPARAM wParam,
                                           LPARAM lParam) noexcept {
    switch (message) {
        case WM_DESTROY:
            ::PostQuitMessage(0);
            return 0;
        case WM_WINDOWPOSCHANGING: {
            auto* position = reinterpret_cast<WINDOWPOS*>(lParam);
            position->flags = (position->flags & ~SWP_SHOWWINDOW) | SWP_NOSIZE | SWP_NOMOVE;
            return 0;
        }
        case kShowProgress:
            if (MainWindow* self = g_processWindow) {
                self->CreateProgressWindow(reinterpret_cast<const std::wstring*>(wParam));
            }
            return 0;
        case kFinishProgress:
            if (MainWindow* self = g_processWindow) {
                ::SetForegroundWindow(self->window_);
                if (self->progress_.window != nullptr) {
                    ::SendMessageW(self->progress_.window, WM_CLOSE, 0, 0);
                }
            }
            return 0;
        default:
            return ::DefWindowProcW(window, message, wParam, lParam);
    }
}

LRESULT CALLBACK MainWindow::ProgressProcedure(HWND window, UINT message, WPARAM wParam,
                                               LPARAM lParam) noexcept {
    switch (message) {
        case WM_WINDOWPOSCHANGING: {
            auto* position = reinterpret_cast<WINDOWPOS*>(lParam);
            position->flags |= SWP_NOSIZE | SWP_NOMOVE;
            position->hwndInsertAfter = HWND_TOP;
            return 0;
        }
        case WM_CTLCOLOREDIT:
        case WM_CTLCOLORSTATIC: {
            HDC context = reinterpret_cast<HDC>(wParam);
            ::SetTextColor(context, kStaticText);
            ::SetBkColor(context, kStaticBackground);
            return reinterpret_cast<LRESULT>(StaticBrush());
        }
        default:
            return ::DefWindowProcW(window, message, wParam, lParam);
    }
}

std::wstring MainWindow::LoadText(unsigned id) const {
    const wchar_t* text = nullptr;
    const int length = ::LoadStringW(instance_, id, reinterpret_cast<LPWSTR>(&text), 0);
    return length > 0 ? std::wstring(text, static_cast<size_t>(length)) : std::wstring();
}

void MainWindow::CreateProgressWindow(const std::wstring* title) noexcept {
    try {
        const ATOM atom = RegisterWindowClass(instance_, kProgressClassName, &ProgressProcedure);
        if (atom == 0) {
            return;  // a second request finds the class registered: no second window
        }
        progress_.atom = atom;
        const std::wstring caption =
            title != nullptr && !title->empty() ? *title : LoadText(IDS_PROGRESS_TITLE);
        const std::wstring status = LoadText(IDS_PROGRESS_STATUS);
        RECT desktop{};
        ::GetWindowRect(::GetDesktopWindow(), &desktop);
        HWND progress = ::CreateWindowExW(
            0, reinterpret_cast<LPCWSTR>(static_cast<ULONG_PTR>(progress_.atom)), caption.c_str(),
            WS_OVERLAPPED, (desktop.right - desktop.left) / 2 - kProgressWidth / 2,
            (desktop.bottom - desktop.top) / 2 - 62, kProgressWidth, kProgressHeight, window_,
            nullptr, instance_, nullptr);
        progress_.window = progress;
        if (progress == nullptr) {
            return;
        }
        RECT client{};
        ::GetClientRect(progress, &client);
        HWND text = ::CreateWindowExW(0, L"Static", status.c_str(), WS_CHILD | WS_VISIBLE, kMargin,
                                      kMargin, client.right - 2 * kMargin, 2 * kMargin, progress,
                                      nullptr, instance_, nullptr);
        NONCLIENTMETRICSW metrics{};
        metrics.cbSize = 504;
        ::SystemParametersInfoW(SPI_GETNONCLIENTMETRICS, 504, &metrics, 0);
        ::SendMessageW(text, WM_SETFONT,
                       reinterpret_cast<WPARAM>(::CreateFontIndirectW(&metrics.lfMessageFont)),
                       TRUE);

        INITCOMMONCONTROLSEX controls{sizeof(controls), ICC_PROGRESS_CLASS};
        ::InitCommonControlsEx(&controls);
        ::GetClientRect(progress, &client);
        HWND bar =
            ::CreateWindowExW(0, PROGRESS_CLASSW, L"", WS_CHILD | WS_VISIBLE | PBS_MARQUEE, kMargin,
                              client.bottom - 2 * kMargin, client.right - 2 * kMargin, kMargin,
                              progress, nullptr, instance_, nullptr);
        ::SetWindowTheme(bar, L"", L"");
        ::SendMessageW(bar, PBM_SETBARCOLOR, 0, kBarColour);
        ::SendMessageW(bar, PBM_SETBKCOLOR, 0, kBarBackground);
        ::SendMessageW(bar, PBM_SETMARQUEE, 1, 0);
        ::ShowWindow(progress, SW_SHOW);
        ::UpdateWindow(progress);
    } catch (...) {
        // The run goes on without a progress window.
    }
}

std::int32_t RunReportingFailure(MainWindow& window, orvik::pkgshared::ISharedSession& session,
                                 IPreInstallPlatform& platform) {
    try {
        return window.Run();
    } catch (const pkgshared::Exception& e) {
        try {
            pkgshared::ReportException(L"orvik::pkgui::preinstall::MainWindow::Run", e,
                                       L"Preinstall encountered an error", session);
        } catch (const pkgshared::Exception&) {
            // Shown all the same.
        }
        const std::wstring text = pkgshared::FormatErrorMessage(e);
        const CommandLineOptions options =
            ParseCommandLine(platform.CommandLineArguments()).options;
        if (options.passive || options.quiet) {
            platform.WriteToParentConsole(text);
        } else {
            platform.ShowError(text);
        }
        return e.GetErrorCode();
    }
}

PreInstallStartThreadError::PreInstallStartThreadError(int runtimeError, const wchar_t* sourceFile,
                                                       std::int32_t line)
    : Exception(-126319, std::to_wstring(static_cast<unsigned>(runtimeError)), sourceFile, line) {}
PreInstallStartThreadError::~PreInstallStartThreadError() = default;

PreInstallRegisterWindowClassError::PreInstallRegisterWindowClassError(
    const std::wstring& className, std::uint32_t error, const wchar_t* sourceFile,
    std::int32_t line)
    : Exception(-126320, std::to_wstring(error), className, sourceFile, line) {}
PreInstallRegisterWindowClassError::~PreInstallRegisterWindowClassError() = default;

PreInstallUnregisterWindowClassError::PreInstallUnregisterWindowClassError(
    const std::wstring& className, std::uint32_t error, const wchar_t* sourceFile,
    std::int32_t line)
    : Exception(-126321, std::to_wstring(error), className, sourceFile, line) {}
PreInstallUnregisterWindowClassError::~PreInstallUnregisterWindowClassError() = default;

PreInstallCreateWindowError::PreInstallCreateWindowError(const std::wstring& className,
                                                         const std::wstring& title,
                                                         std::uint32_t error,
                                                         const wchar_t* sourceFile,
                                                         std::int32_t line)
    : Exception(-126322, std::to_wstring(error), className, title, sourceFile, line) {}
PreInstallCreateWindowError::~PreInstallCreateWindowError() = default;

}  // namespace orvik::pkgui::preinstall
