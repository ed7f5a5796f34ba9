#include "ConsoleProgress.h"

namespace orvik::tools::pack {
namespace {

constexpr std::chrono::milliseconds kInterval(250);

}  // namespace

ConsoleProgress::ConsoleProgress()
    : console_(StandardErrorIsConsole()),
      start_(std::chrono::steady_clock::now()),
      shown_(start_) {}

void ConsoleProgress::Update(const PackProgress& progress) {
    last_ = progress;
    if (console_ && std::chrono::steady_clock::now() - shown_ >= kInterval) {
        Show();
    }
}

void ConsoleProgress::End() {
    if (begun_) {
        Show();
        WriteToConsole(L"\n");
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
    WriteToConsole(line);
    width_ = width;
    begun_ = true;
}

}  // namespace orvik::tools::pack
