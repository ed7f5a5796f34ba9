#include <windows.h>

#include "ConsoleProgress.h"

namespace orvik::tools::pack {
namespace {

constexpr std::chrono::milliseconds kInterval(250);

}  // namespace

ConsoleProgress::ConsoleProgress() : start_(std::chrono::steady_clock::now()), shown_(start_) {
    HANDLE error = ::GetStdHandle(STD_ERROR_HANDLE);
    DWORD mode = 0;
    if (error != nullptr && error != INVALID_HANDLE_VALUE &&
        ::GetFileType(error) == FILE_TYPE_CHAR && ::GetConsoleMode(error, &mode)) {
        console_ = error;
    }
}

void ConsoleProgress::Update(const PackProgress& progress) {
    last_ = progress;
    if (console_ != nullptr && std::chrono::steady_clock::now() - shown_ >= kInterval) {
        Show();
    }
}

void ConsoleProgress::End() {
    if (begun_) {
        Show();
        DWORD written = 0;
        ::WriteConsoleW(console_, L"\n", 1, &written, nullptr);
        begun_ = false;
    }
}

void ConsoleProgress::Show() {
    shown_ = std::chrono::steady_clock::now();
    const double seconds = std::chrono::duration<double>(shown_ - start_).count();
    std::wstring line = ProgressLine(last_, seconds);
    const std::size_t width = line.size();
    // Blanks over what is left of a longer line shown before.
    line.append(width_ > width ? width_ - width : 0, L' ');
    line.insert(0, 1, L'\r');
    DWORD written = 0;
    ::WriteConsoleW(console_, line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
    width_ = width;
    begun_ = true;
}

}  // namespace orvik::tools::pack
