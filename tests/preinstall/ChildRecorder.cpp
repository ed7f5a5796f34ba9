// Stands in for "Install.exe" and the package manager in end-to-end tests.
// Appends one UTF-8 line "<name>|<current directory>|<command line>" to the
// file named by ORVIK_RECORD_FILE, then exits with the next code of the
// comma-separated list in the file ORVIK_RECORD_FILE.codes, which it takes off
// the list (0 when none is left; the word "crash" instead of a code makes it
// die of an unhandled access violation).
#include <windows.h>

#include <cstdio>
#include <string>

#include "shared/TextConversion.h"
#include "shared/utils/FileBytes.h"

namespace {

void Write(const std::wstring& file, const wchar_t* mode, const std::string& bytes) {
    if (std::FILE* out = _wfopen(file.c_str(), mode)) {
        std::fwrite(bytes.data(), 1, bytes.size(), out);
        std::fclose(out);
    }
}

}  // namespace

int wmain() {
    wchar_t record[4096] = {}, module[MAX_PATH] = {}, directory[MAX_PATH] = {};
    const DWORD length = ::GetEnvironmentVariableW(L"ORVIK_RECORD_FILE", record, 4096);
    if (length == 0 || length >= 4096) {
        return 0;
    }
    ::GetModuleFileNameW(nullptr, module, MAX_PATH);
    ::GetCurrentDirectoryW(MAX_PATH, directory);
    const std::wstring name = module;
    Write(record, L"ab",
          orvik::pkgshared::WideToUtf8(name.substr(name.find_last_of(L'\\') + 1) + L"|" +
                                       directory + L"|" + ::GetCommandLineW() + L"\n"));
    const std::wstring codesFile = std::wstring(record) + L".codes";
    std::string codes;
    orvik::pkgshared::ReadFileBytes(codesFile, codes);
    const size_t comma = codes.find(',');
    const std::string next = codes.substr(0, comma);
    Write(codesFile, L"wb", comma == std::string::npos ? "" : codes.substr(comma + 1));
    if (next == "crash") {
        ::RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    }
    return std::atoi(next.c_str());
}
