#include <gtest/gtest.h>

#include <windows.h>

#include <commctrl.h>

#include "preinstall/MainWindow.h"

namespace orvik::pkgui::preinstall {
namespace {

// What the worker saw of the windows while the UI thread ran.
struct Observation {
    std::wstring request;  // the title asked for
    bool mainVisible = true;
    int progressWindows = 0;
    std::wstring title, status;
    RECT rect{};
    LONG barStyle = 0;
    COLORREF barColour = 0, barBackground = 0, statusBackground = 0;
    bool closedAfterFinish = false;
};

BOOL CALLBACK CountProgress(HWND window, LPARAM count) {
    wchar_t name[64] = {};
    ::GetClassNameW(window, name, 64);
    *reinterpret_cast<int*>(count) += std::wstring(name) == MainWindow::kProgressClassName;
    return TRUE;
}

std::wstring Text(HWND window) {
    wchar_t text[256] = {};
    ::GetWindowTextW(window, text, 256);
    return text;
}

// Asks twice for the progress window, reads it (the status line's background
// from a pixel on the screen), then finishes it.
std::int32_t Observe(MainWindow& window, void* context) {
    auto& seen = *static_cast<Observation*>(context);
    seen.mainVisible = ::IsWindowVisible(window.Handle()) != FALSE;
    const auto request = reinterpret_cast<WPARAM>(&seen.request);
    EXPECT_EQ(0, ::SendMessageW(window.Handle(), MainWindow::kShowProgress, request, 0));
    ::SendMessageW(window.Handle(), MainWindow::kShowProgress, request, 0);
    ::EnumThreadWindows(::GetWindowThreadProcessId(window.Handle(), nullptr), &CountProgress,
                        reinterpret_cast<LPARAM>(&seen.progressWindows));
    HWND progress = window.ProgressHandle();
    HWND status = ::FindWindowExW(progress, nullptr, L"Static", nullptr);
    HWND bar = ::FindWindowExW(progress, nullptr, PROGRESS_CLASSW, nullptr);
    if (progress == nullptr || status == nullptr || bar == nullptr) {
        ADD_FAILURE() << "the progress window or one of its controls is missing";
        return 0;
    }
    seen.title = Text(progress);
    seen.status = Text(status);
    ::GetWindowRect(progress, &seen.rect);
    seen.barStyle = ::GetWindowLongW(bar, GWL_STYLE);
    seen.barColour = static_cast<COLORREF>(::SendMessageW(bar, PBM_GETBARCOLOR, 0, 0));
    seen.barBackground = static_cast<COLORREF>(::SendMessageW(bar, PBM_GETBKCOLOR, 0, 0));
    ::RedrawWindow(progress, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    RECT statusRect{};
    ::GetWindowRect(status, &statusRect);
    HDC screen = ::GetDC(nullptr);
    seen.statusBackground = ::GetPixel(screen, statusRect.right - 3, statusRect.bottom - 3);
    ::ReleaseDC(nullptr, screen);
    ::SendMessageW(window.Handle(), MainWindow::kFinishProgress, 0, 0);
    seen.closedAfterFinish = !::IsWindow(progress);
    return 77;
}

std::int32_t RunWindow(Observation& observation, WorkerProcedure worker) {
    MainWindow window(::GetModuleHandleW(nullptr), worker, &observation);
    MainWindow::SetProcessWindow(&window);
    const std::int32_t result = window.Run();
    MainWindow::SetProcessWindow(nullptr);
    window.UnregisterWindowClasses();
    return result;
}

TEST(MainWindowTest, OneProgressWindowLooksAsSpecifiedAndClosesOnFinish) {
    RECT desktop{};
    ::GetWindowRect(::GetDesktopWindow(), &desktop);
    for (const auto& [request, title] :
         {std::pair{L"Installing Suite", L"Installing Suite"}, {L"", L"Orvik Self-Extractor"}}) {
        Observation seen;
        seen.request = request;
        EXPECT_EQ(77, RunWindow(seen, &Observe));
        EXPECT_FALSE(seen.mainVisible);
        EXPECT_EQ(1, seen.progressWindows);
        EXPECT_EQ(title, seen.title);
        EXPECT_EQ(320, seen.rect.right - seen.rect.left);
        EXPECT_EQ(125, seen.rect.bottom - seen.rect.top);
        EXPECT_EQ((desktop.right - desktop.left) / 2 - 160, seen.rect.left);
        EXPECT_EQ((desktop.bottom - desktop.top) / 2 - 62, seen.rect.top);
        EXPECT_EQ(L"Preparing installation...", seen.status);
        EXPECT_NE(0, seen.barStyle & PBS_MARQUEE);
        EXPECT_EQ(RGB(0, 155, 101), seen.barColour);
        EXPECT_EQ(RGB(255, 255, 255), seen.barBackground);
        EXPECT_EQ(RGB(244, 244, 244), seen.statusBackground);
        EXPECT_TRUE(seen.closedAfterFinish);
    }
    Observation none;
    EXPECT_EQ(-125202, RunWindow(none, nullptr));  // no worker: the unknown error
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
