// Stands in for "Install.exe" and the manager: appends "<name>|<current directory>|<command line>"
// to the file ORVIK_RECORD_FILE, then exits with the next code taken off the comma-separated list
// in ORVIK_RECORD_FILE.codes (0 when none is left; "crash": dies of an access violation; "list":
// exits with 0 after writing "<relative path>|<size>" of every file below its current directory
// to ORVIK_RECORD_FILE.tree, reading through "\\?\" paths so device names are files).
// "child_recorder.exe --launch PROGRAM [ARGUMENTS...]" starts PROGRAM detached (so that it can
// attach to this console), waits for it and prints "exit code: <code>".
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <string>

#include <boost/filesystem/operations.hpp>
#include "shared/TextConversion.h"
#include "shared/utils/FileBytes.h"

namespace {

void ListTree(const std::wstring& directory, const std::wstring& listing) {
    namespace fs = boost::filesystem;
    const fs::path root(L"\\\\?\\" + directory);
    std::FILE* out = _wfopen(listing.c_str(), L"wb");
    for (fs::recursive_directory_iterator it(root), end; out != nullptr && it != end; ++it) {
        if (fs::is_regular_file(it->status())) {
            std::fprintf(
                out, "%s|%llu\n",
                orvik::pkgshared::WideToUtf8(it->path().lexically_relative(root).generic_wstring())
                    .c_str(),
                static_cast<unsigned long long>(fs::file_size(it->path())));
        }
    }
    if (out != nullptr) {
        std::fclose(out);
    }
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
    if (argc > 2 && std::wstring(argv[1]) == L"--launch") {
        std::wstring line = std::wcsstr(::GetCommandLineW(), L"--launch ") + 9;
        STARTUPINFOW startup{};
        startup.cb = sizeof(startup);
        PROCESS_INFORMATION process{};
        DWORD code = 1;
        if (::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, DETACHED_PROCESS,
                             nullptr, nullptr, &startup, &process)) {
            ::WaitForSingleObject(process.hProcess, INFINITE);
            ::GetExitCodeProcess(process.hProcess, &code);
        }
        return std::printf("\nexit code: %ld\n", static_cast<long>(code)) < 0;
    }
    wchar_t record[4096] = {}, module[MAX_PATH] = {}, directory[MAX_PATH] = {};
    const DWORD length = ::GetEnvironmentVariableW(L"ORVIK_RECORD_FILE", record, 4096);
    ::GetModuleFileNameW(nullptr, module, MAX_PATH);
    ::GetCurrentDirectoryW(MAX_PATH, directory);
    const std::wstring name = module, codesFile = std::wstring(record) + L".codes";
    std::string codes;
    orvik::pkgshared::ReadFileBytes(codesFile, codes);
    const size_t comma = codes.find(',');
    const std::string next = codes.substr(0, comma),
                      text = orvik::pkgshared::WideToUtf8(
                          name.substr(name.find_last_of(L'\\') + 1) + L"|" + directory + L"|" +
                          ::GetCommandLineW());
    std::FILE* out = length == 0 || length >= 4096 ? nullptr : _wfopen(record, L"ab");
    if (out == nullptr || std::fprintf(out, "%s\n", text.c_str()) < 0 || std::fclose(out) != 0) {
        return 0;
    }
    if ((out = _wfopen(codesFile.c_str(), L"wb")) != nullptr) {
        std::fputs(comma == std::string::npos ? "" : codes.c_str() + comma + 1, out);
        std::fclose(out);
    }
    if (next == "list") {
        ListTree(directory, std::wstring(record) + L".tree");
    }
    if (next == "crash") {
        ::RaiseException(EXCEPTION_ACCESS_VIOLATION, EXCEPTION_NONCONTINUABLE, 0, nullptr);
    }
    return std::atoi(next.c_str());
}
