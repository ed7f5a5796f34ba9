#include <gtest/gtest.h>

#include <windows.h>

#include <commctrl.h>

#include "preinstall/MainWindow.h"

namespace orvik::pkgui::preinstall {
namespace {

std::wstring Text(HWND window) {
    wchar_t text[256] = {};
    ::GetWindowTextW(window, text, 256);
    return text;
}

// The worker asks twice for the progress window titled `std::get<0>`, checks
// it on screen against its expected title `std::get<1>`, then finishes it.
std::int32_t ShowTwiceAndCheck(MainWindow& window, void* context) {
    const auto& [request, title] = *static_cast<std::pair<std::wstring, std::wstring>*>(context);
    EXPECT_FALSE(::IsWindowVisible(window.Handle()));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(0, ::SendMessageW(window.Handle(), MainWindow::kShowProgress,
                                    reinterpret_cast<WPARAM>(&request), 0));
    }
    HWND progress = window.ProgressHandle();
    const wchar_t* const progressClass = MainWindow::kProgressClassName;
    EXPECT_EQ(progress, ::FindWindowExW(nullptr, nullptr, progressClass, nullptr));
    EXPECT_EQ(nullptr, ::FindWindowExW(nullptr, progress, progressClass, nullptr));  // only one
    HWND status = ::FindWindowExW(progress, nullptr, L"Static", nullptr);
    HWND bar = ::FindWindowExW(progress, nullptr, PROGRESS_CLASSW, nullptr);
    if (progress == nullptr || status == nullptr || bar == nullptr) {
        ADD_FAILURE() << "the progress window or one of its controls is missing";
        return 0;
    }
    EXPECT_EQ(title, Text(progress));
    EXPECT_EQ(L"Preparing installation...", Text(status));
    RECT desktop{}, place{}, line{};
    ::GetWindowRect(::GetDesktopWindow(), &desktop);
    ::GetWindowRect(progress, &place);
    const LONG left = (desktop.right - desktop.left) / 2 - 160;
    const LONG top = (desktop.bottom - desktop.top) / 2 - 62;
    EXPECT_EQ(std::tuple(left, top, left + 320, top + 125),
              std::tuple(place.left, place.top, place.right, place.bottom));
    EXPECT_NE(0, ::GetWindowLongW(bar, GWL_STYLE) & PBS_MARQUEE);
    EXPECT_EQ(RGB(0, 155, 101), static_cast<COLORREF>(::SendMessageW(bar, PBM_GETBARCOLOR, 0, 0)));
    EXPECT_EQ(RGB(255, 255, 255), static_cast<COLORREF>(::SendMessageW(bar, PBM_GETBKCOLOR, 0, 0)));
    ::RedrawWindow(progress, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW | RDW_ALLCHILDREN);
    ::GetWindowRect(status, &line);
    HDC screen = ::GetDC(nullptr);
    EXPECT_EQ(RGB(244, 244, 244), ::GetPixel(screen, line.right - 3, line.bottom - 3));
    ::ReleaseDC(nullptr, screen);
    ::SendMessageW(window.Handle(), MainWindow::kFinishProgress, 0, 0);
    EXPECT_FALSE(::IsWindow(progress));
    return 77;
}

TEST(MainWindowTest, OneProgressWindowLooksAsSpecifiedAndClosesOnFinish) {
    std::pair<std::wstring, std::wstring> titled{L"Installing Suite", L"Installing Suite"},
        untitled{L"", L"Orvik Self-Extractor"};
    for (auto [worker, context, result] : {std::tuple{&ShowTwiceAndCheck, &titled, 77},
                                           {&ShowTwiceAndCheck, &untitled, 77},
                                           {nullptr, &titled, -125202}}) {  // no worker
        MainWindow window(::GetModuleHandleW(nullptr), worker, context);
        MainWindow::SetProcessWindow(&window);
        EXPECT_EQ(result, window.Run());
        MainWindow::SetProcessWindow(nullptr);
        window.UnregisterWindowClasses();
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
