#include <gtest/gtest.h>

#include <windows.h>

#include <commctrl.h>

#include <functional>

#include "preinstall/MainWindow.h"

namespace orvik::pkgui::preinstall {
namespace {

// What a worker saw of the windows while the UI thread ran.
struct Observation {
    std::function<void(MainWindow&, Observation&)> steps;
    bool mainVisible = true;
    int progressWindows = 0;
    std::wstring title;
    RECT rect{};
    std::wstring status;
    LONG barStyle = 0;
    COLORREF barColour = 0;
    COLORREF barBackground = 0;
    COLORREF statusBackground = 0;
    bool closedAfterFinish = false;
};

std::int32_t Observe(MainWindow& window, void* context) {
    auto& observation = *static_cast<Observation*>(context);
    observation.mainVisible = ::IsWindowVisible(window.Handle()) != FALSE;
    observation.steps(window, observation);
    return 77;
}

BOOL CALLBACK CountProgress(HWND window, LPARAM count) {
    wchar_t name[64] = {};
    ::GetClassNameW(window, name, 64);
    if (std::wstring(name) == MainWindow::kProgressClassName) {
        ++*reinterpret_cast<int*>(count);
    }
    return TRUE;
}

// Reads the progress window: title, place, controls and the colour of a
// pixel of the status line's background, taken from the screen.
void Inspect(MainWindow& window, Observation& seen) {
    HWND progress = window.ProgressHandle();
    ASSERT_NE(nullptr, progress);
    wchar_t text[256] = {};
    ::GetWindowTextW(progress, text, 256);
    seen.title = text;
    ::GetWindowRect(progress, &seen.rect);
    HWND status = ::FindWindowExW(progress, nullptr, L"Static", nullptr);
    HWND bar = ::FindWindowExW(progress, nullptr, PROGRESS_CLASSW, nullptr);
    ASSERT_NE(nullptr, status);
    ASSERT_NE(nullptr, bar);
    ::GetWindowTextW(status, text, 256);
    seen.status = text;
    seen.barStyle = ::GetWindowLongW(bar, GWL_STYLE);
    seen.barColour = static_cast<COLORREF>(::SendMessageW(bar, PBM_GETBARCOLOR, 0, 0));
    seen.barBackground = static_cast<COLORREF>(::SendMessageW(bar, PBM_GETBKCOLOR, 0, 0));
    ::RedrawWindow(progress, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    RECT statusRect{};
    ::GetWindowRect(status, &statusRect);
    HDC screen = ::GetDC(nullptr);
    seen.statusBackground = ::GetPixel(screen, statusRect.right - 3, statusRect.bottom - 3);
    ::ReleaseDC(nullptr, screen);
}

std::int32_t RunWindow(Observation& observation, WorkerProcedure worker = &Observe) {
    MainWindow window(::GetModuleHandleW(nullptr), worker, &observation);
    MainWindow::SetProcessWindow(&window);
    const std::int32_t result = window.Run();
    MainWindow::SetProcessWindow(nullptr);
    window.UnregisterWindowClasses();
    return result;
}

TEST(MainWindowTest, ProgressWindowLooksAsSpecifiedAndClosesOnFinish) {
    Observation observation;
    observation.steps = [](MainWindow& window, Observation& seen) {
        const std::wstring title = L"Installing Suite";
        EXPECT_EQ(0, ::SendMessageW(window.Handle(), MainWindow::kShowProgress,
                                    reinterpret_cast<WPARAM>(&title), 0));
        Inspect(window, seen);
        ::SendMessageW(window.Handle(), MainWindow::kFinishProgress, 0, 0);
        seen.closedAfterFinish = !::IsWindow(window.ProgressHandle());
    };
    EXPECT_EQ(77, RunWindow(observation));
    EXPECT_FALSE(observation.mainVisible);
    EXPECT_EQ(L"Installing Suite", observation.title);
    EXPECT_EQ(320, observation.rect.right - observation.rect.left);
    EXPECT_EQ(125, observation.rect.bottom - observation.rect.top);
    RECT desktop{};
    ::GetWindowRect(::GetDesktopWindow(), &desktop);
    EXPECT_EQ((desktop.right - desktop.left) / 2 - 160, observation.rect.left);
    EXPECT_EQ((desktop.bottom - desktop.top) / 2 - 62, observation.rect.top);
    EXPECT_EQ(L"Preparing installation...", observation.status);
    EXPECT_NE(0, observation.barStyle & PBS_MARQUEE);
    EXPECT_EQ(RGB(0, 155, 101), observation.barColour);
    EXPECT_EQ(RGB(255, 255, 255), observation.barBackground);
    EXPECT_EQ(RGB(244, 244, 244), observation.statusBackground);
    EXPECT_TRUE(observation.closedAfterFinish);
}

TEST(MainWindowTest, EmptyTitleAndASecondRequest) {
    Observation observation;
    observation.steps = [](MainWindow& window, Observation& seen) {
        const std::wstring empty;
        ::SendMessageW(window.Handle(), MainWindow::kShowProgress, reinterpret_cast<WPARAM>(&empty),
                       0);
        wchar_t text[256] = {};
        ::GetWindowTextW(window.ProgressHandle(), text, 256);
        seen.title = text;
        ::SendMessageW(window.Handle(), MainWindow::kShowProgress, reinterpret_cast<WPARAM>(&empty),
                       0);
        ::EnumThreadWindows(::GetWindowThreadProcessId(window.Handle(), nullptr), &CountProgress,
                            reinterpret_cast<LPARAM>(&seen.progressWindows));
    };
    EXPECT_EQ(77, RunWindow(observation));
    EXPECT_EQ(L"Orvik Self-Extractor", observation.title);
    EXPECT_EQ(1, observation.progressWindows);
}

TEST(MainWindowTest, MissingWorkerEndsWithTheUnknownError) {
    Observation observation;
    EXPECT_EQ(-125202, RunWindow(observation, nullptr));
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
