#pragma once
// A long pack's progress, shown on the console.
#include <chrono>
#include <string>

#include "PackProgress.h"

namespace orvik::tools::pack {

// Shows the progress on one line of the console that standard error is, rewritten in place at
// most four times a second. When standard error is not a console (a file, a pipe) nothing is
// ever written.
class ConsoleProgress {
public:
    ConsoleProgress();
    ConsoleProgress(const ConsoleProgress&) = delete;
    ConsoleProgress& operator=(const ConsoleProgress&) = delete;

    void Update(const PackProgress& progress);
    // Shows the last figures and ends the line, when a line was begun.
    void End();

private:
    void Show();
    // Whether standard error is a console (a terminal).
    static bool StandardErrorIsConsole();
    // Writes `text` to the console that standard error is.
    static void WriteToConsole(const std::wstring& text);

    bool console_ = false;
    std::chrono::steady_clock::time_point start_, shown_;
    PackProgress last_;
    bool begun_ = false;
    std::size_t width_ = 0;  // of the line shown
};

}  // namespace orvik::tools::pack
