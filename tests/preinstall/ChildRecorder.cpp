// Stands in for "Install.exe" and the package manager in end-to-end tests.
// Appends one UTF-8 line "<name>|<current directory>|<command line>" to the
// file named by ORVIK_RECORD_FILE, then exits with the next code of the
// comma-separated list in ORVIK_EXIT_CODES (0 when none is left; the list is
// shared through the file ORVIK_RECORD_FILE.codes; "crash" crashes).
#include <windows.h>

#include <cstdio>
#include <string>

#include "shared/TextConversion.h"
#include "shared/utils/FileBytes.h"

namespace {

std::wstring Environment(const wchar_t* name) {
    wchar_t buffer[4096] = {};
    const DWORD length = ::GetEnvironmentVariableW(name, buffer, 4096);
    return length > 0 && length < 4096 ? std::wstring(buffer, length) : std::wstring();
}

// Takes the first code off the list kept in `file`. The word "crash"
// instead of a code makes the child die of an unhandled access violation.
int NextExitCode(const std::wstring& file) {
    std::string codes;
    orvik::pkgshared::ReadFileBytes(file, codes);
    if (codes.empty()) {
        return 0;
    }
    const size_t comma = codes.find(',');
    const std::string next = codes.substr(0, comma);
    const int code = std::atoi(next.c_str());
    const std::string rest = comma == std::string::npos ? "" : codes.substr(comma + 1);
    if (std::FILE* out = _wfopen(file.c_str(), L"wb")) {
        std::fwrite(rest.data(), 1, rest.size(), out);
        std::fclose(out);
    }
    if (next == "crash") {
        ::RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    }
    return code;
}

}  // namespace

int wmain() {
    const std::wstring record = Environment(L"ORVIK_RECORD_FILE");
    wchar_t module[MAX_PATH] = {};
    ::GetModuleFileNameW(nullptr, module, MAX_PATH);
    wchar_t directory[MAX_PATH] = {};
    ::GetCurrentDirectoryW(MAX_PATH, directory);
    const std::wstring name = module;
    const std::wstring line = name.substr(name.find_last_of(L'\\') + 1) + L"|" + directory + L"|" +
                              ::GetCommandLineW() + L"\n";
    if (!record.empty()) {
        if (std::FILE* out = _wfopen(record.c_str(), L"ab")) {
            const std::string bytes = orvik::pkgshared::WideToUtf8(line);
            std::fwrite(bytes.data(), 1, bytes.size(), out);
            std::fclose(out);
        }
    }
    return record.empty() ? 0 : NextExitCode(record + L".codes");
}
