#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <sstream>
#include <string>
#include "support/ChildProcess.h"

namespace orvik::testing {
namespace {
// Every DLL that the template imports directly is one the loader binds before the program's
// first instruction from the system folder only: a KnownDLL (no API set name, which Windows 7
// lacks). The others are delay-loaded, after the entry has limited DLL loading to the system
// folder. Every function it imports is on the checked-in list of those Windows 7 SP1 exports.
TEST(ImportTableTest, TemplateImportsOnlyProtectedDllsAndListedFunctions) {
    std::set<std::string> allowed;
    std::istringstream list(ReadBytes(WinePath(ORVIK_ALLOWED_IMPORTS)));
    for (std::string line; std::getline(list, line);) {
        allowed.insert(line);
    }
    const std::string known =
        "|advapi32.dll|clbcatq.dll|combase.dll|comdlg32.dll|gdi32.dll|gdiplus.dll|imagehlp.dll|"
        "imm32.dll|kernel32.dll|msctf.dll|msvcrt.dll|normaliz.dll|nsi.dll|ole32.dll|oleaut32.dll|"
        "psapi.dll|rpcrt4.dll|sechost.dll|setupapi.dll|shcore.dll|shell32.dll|shlwapi.dll|"
        "user32.dll|wldap32.dll|ws2_32.dll|ntdll.dll|kernelbase.dll|";
    // Mapped as an image, not run; the low bits of the handle mark that mapping.
    const HMODULE module = ::LoadLibraryExW((BinDirectory() + L"\\preinstall.exe").c_str(), nullptr,
                                            LOAD_LIBRARY_AS_IMAGE_RESOURCE);
    ASSERT_NE(nullptr, module);
    const char* base =
        reinterpret_cast<const char*>(reinterpret_cast<ULONG_PTR>(module) & ~ULONG_PTR{3});
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(
        base + reinterpret_cast<const IMAGE_DOS_HEADER*>(base)->e_lfanew);
    const auto* descriptor = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(
        base + headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
    int count = 0;
    for (; descriptor->Name != 0; ++descriptor, ++count) {
        std::string name = base + descriptor->Name;
        std::transform(name.begin(), name.end(), name.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        EXPECT_NE(std::string::npos, known.find("|" + name + "|")) << name;
        const auto* thunk = reinterpret_cast<const IMAGE_THUNK_DATA*>(
            base + (descriptor->OriginalFirstThunk ? descriptor->OriginalFirstThunk
                                                   : descriptor->FirstThunk));
        for (; thunk->u1.AddressOfData != 0; ++thunk) {
            const std::string function =
                IMAGE_SNAP_BY_ORDINAL(thunk->u1.Ordinal)
                    ? "#" + std::to_string(IMAGE_ORDINAL(thunk->u1.Ordinal))
                    : reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + thunk->u1.AddressOfData)
                          ->Name;
            EXPECT_EQ(1u, allowed.count(base + descriptor->Name + ("\t" + function)))
                << "not on the list: " << base + descriptor->Name << " " << function;
        }
    }
    EXPECT_GT(count, 0);
    ::FreeLibrary(module);
}
}  // namespace
}  // namespace orvik::testing
