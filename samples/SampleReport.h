#pragma once
// The demo's programs tell what they were asked to do by appending UTF-8
// lines to the file named by ORVIK_DEMO_REPORT.
#include <windows.h>

#include <cstdio>
#include <string>

#include "shared/TextConversion.h"

namespace orvik::samples {

inline void Report(const std::wstring& line) {
    wchar_t file[MAX_PATH] = {};
    if (::GetEnvironmentVariableW(L"ORVIK_DEMO_REPORT", file, MAX_PATH) == 0) {
        return;
    }
    if (std::FILE* out = _wfopen(file, L"ab")) {
        const std::string bytes = orvik::pkgshared::WideToUtf8(line + L"\n");
        std::fwrite(bytes.data(), 1, bytes.size(), out);
        std::fclose(out);
    }
}

inline std::wstring CurrentDirectory() {
    wchar_t directory[MAX_PATH] = {};
    ::GetCurrentDirectoryW(MAX_PATH, directory);
    return directory;
}

}  // namespace orvik::samples
