#include <gtest/gtest.h>

#include <windows.h>

#include <commctrl.h>

#include <string>
#include <vector>

#include "preinstall/MainWindow.h"

namespace orvik::pkgui::preinstall {
namespace {

BOOL CALLBACK CollectProgressWindow(HWND candidate, LPARAM list) {
    wchar_t name[64] = {};
    ::GetClassNameW(candidate, name, 64);
    if (std::wstring(name) == MainWindow::kProgressClassName) {
        reinterpret_cast<std::vector<HWND>*>(list)->push_back(candidate);
    }
    return TRUE;
}

// The progress-class windows of the thread that runs `window`.
std::vector<HWND> ProgressWindows(const MainWindow& window) {
    std::vector<HWND> found;
    ::EnumThreadWindows(::GetWindowThreadProcessId(window.Handle(), nullptr),
                        &CollectProgressWindow, reinterpret_cast<LPARAM>(&found));
    return found;
}

// The worker asks twice for the window titled `first`, checks that one window
// titled `second` with a status line and a marquee bar is shown, then finishes it.
std::int32_t ShowTwiceAndCheck(MainWindow& window, void* context) {
    const auto& [request, title] = *static_cast<std::pair<std::wstring, std::wstring>*>(context);
    for (int i = 0; i < 2; ++i) {
        ::SendMessageW(window.Handle(), MainWindow::kShowProgress,
                       reinterpret_cast<WPARAM>(&request), 0);
    }
    HWND progress = window.ProgressHandle();
    EXPECT_EQ(std::vector<HWND>{progress}, ProgressWindows(window));
    HWND bar = ::FindWindowExW(progress, nullptr, PROGRESS_CLASSW, nullptr);
    wchar_t text[64] = {};
    ::GetWindowTextW(progress, text, 64);
    EXPECT_EQ(title, text);
    EXPECT_NE(nullptr, ::FindWindowExW(progress, nullptr, L"Static", nullptr));
    EXPECT_NE(0, ::GetWindowLongW(bar, GWL_STYLE) & PBS_MARQUEE);
    EXPECT_EQ(RGB(0, 155, 101), static_cast<COLORREF>(::SendMessageW(bar, PBM_GETBARCOLOR, 0, 0)));
    ::SendMessageW(window.Handle(), MainWindow::kFinishProgress, 0, 0);
    EXPECT_FALSE(::IsWindow(progress));
    return 77;
}

TEST(MainWindowTest, OneProgressWindowLooksAsSpecifiedAndClosesOnFinish) {
    std::pair<std::wstring, std::wstring> titled{L"Installing Suite", L"Installing Suite"},
        untitled{L"", L"Orvik Self-Extractor"};
    for (auto [worker, context, result] : {std::tuple{&ShowTwiceAndCheck, &titled, 77},
                                           {&ShowTwiceAndCheck, &untitled, 77},
                                           {nullptr, &titled, -125202}}) {
        MainWindow window(::GetModuleHandleW(nullptr), worker, context);
        MainWindow::SetProcessWindow(&window);
        EXPECT_EQ(result, window.Run());
        MainWindow::SetProcessWindow(nullptr);
        window.UnregisterWindowClasses();
    }
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
