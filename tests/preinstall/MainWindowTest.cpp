#include <gtest/gtest.h>

#include <windows.h>

#include <commctrl.h>

#include <string>
#include <vector>

#include "preinstall/MainWindow.h"
#include "preinstall/PreInstallPlatformWin.h"
#include "shared/ErrorMessage.h"
#include "support/FakeSession.h"
#include "support/ScratchDirectory.h"

namespace orvik::pkgui::preinstall {
namespace {

// The worker asks twice for the window titled `first`, checks that one window
// titled `second` with a status line and a marquee bar is shown, then finishes it.
std::int32_t ShowTwiceAndCheck(MainWindow& window, void* context) {
    const auto& [request, title] = *static_cast<std::pair<std::wstring, std::wstring>*>(context);
    const auto show = [&] {
        ::SendMessageW(window.Handle(), MainWindow::kShowProgress,
                       reinterpret_cast<WPARAM>(&request), 0);
        return window.ProgressHandle();
    };
    HWND progress = show();
    EXPECT_EQ(progress, show()) << "a second window";
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
    for (auto* context : {&titled, &untitled}) {
        MainWindow window(::GetModuleHandleW(nullptr), &ShowTwiceAndCheck, context);
        MainWindow::SetProcessWindow(&window);
        EXPECT_EQ(77, window.Run());
        MainWindow::SetProcessWindow(nullptr);
        window.UnregisterWindowClasses();
    }
}

struct ShowingPlatform : PreInstallPlatformWin {
    using PreInstallPlatformWin::PreInstallPlatformWin;
    void ShowError(const std::wstring& text) override { shown = L"box: " + text; }
    void WriteToParentConsole(const std::wstring& text) override { shown = L"console: " + text; }
    std::vector<std::wstring> CommandLineArguments() override { return {argument}; }
    std::wstring argument, shown;
};

// Without a worker a window ends with -125202, its class still registered: run again it fails
// (1410, class exists), and the error reaches the console in passive and quiet runs, else a box.
TEST(MainWindowTest, AFailedWindowIsShownOnTheConsoleInUnattendedRuns) {
    MainWindow window(::GetModuleHandleW(nullptr), nullptr, nullptr);
    ASSERT_EQ(-125202, window.Run());
    const orvik::testing::ScratchDirectory scratch;
    orvik::testing::FakeSession session;
    session.guide.logs = scratch.Path().wstring();
    const auto text = pkgshared::FormatErrorMessage(-126320, 0, L"1410", MainWindow::kClassName);
    for (auto [arg, console] : {std::pair{L"--quiet", 1}, {L"--passive", 1}, {L"--Quiet", 0}}) {
        ShowingPlatform platform(session, nullptr, nullptr);
        platform.argument = arg;
        EXPECT_EQ(-126320, RunReportingFailure(window, session, platform));
        EXPECT_EQ((console ? L"console: " : L"box: ") + text, platform.shown) << arg;
    }
    window.UnregisterWindowClasses();
}

}  // namespace
}  // namespace orvik::pkgui::preinstall
