#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cctype>
#include <set>
#include <string>
#include <vector>

#include "support/ChildProcess.h"

namespace orvik::testing {
namespace {

// The DLLs the loader may bind before the program's first instruction: those
// Windows keeps as KnownDLLs (always mapped from the system folder), and API
// set names, which the loader resolves through its schema and never searches
// for on disk.
bool IsProtected(const std::string& original) {
    std::string name = original;
    std::transform(name.begin(), name.end(), name.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    static const std::set<std::string> kKnownDlls = {
        "advapi32.dll", "clbcatq.dll",   "combase.dll", "comdlg32.dll", "gdi32.dll",
        "gdiplus.dll",  "imagehlp.dll",  "imm32.dll",   "kernel32.dll", "msctf.dll",
        "msvcrt.dll",   "normaliz.dll",  "nsi.dll",     "ole32.dll",    "oleaut32.dll",
        "psapi.dll",    "rpcrt4.dll",    "sechost.dll", "setupapi.dll", "shcore.dll",
        "shell32.dll",  "shlwapi.dll",   "user32.dll",  "wldap32.dll",  "ws2_32.dll",
        "ntdll.dll",    "kernelbase.dll"};
    return kKnownDlls.count(name) != 0 || name.rfind("api-ms-win-", 0) == 0;
}

// The template mapped as an image (not run): its import table and the text
// its image holds.
class Template {
public:
    Template()
        : module_(::LoadLibraryExW((BinDirectory() + L"\\preinstall.exe").c_str(), nullptr,
                                   LOAD_LIBRARY_AS_IMAGE_RESOURCE)),
          base_(reinterpret_cast<const char*>(reinterpret_cast<ULONG_PTR>(module_) &
                                              ~ULONG_PTR{3})) {}
    ~Template() { ::FreeLibrary(module_); }
    const IMAGE_NT_HEADERS* Headers() const {
        return reinterpret_cast<const IMAGE_NT_HEADERS*>(
            base_ + reinterpret_cast<const IMAGE_DOS_HEADER*>(base_)->e_lfanew);
    }
    // The DLL names of the import table, in table order.
    std::vector<std::string> ImportedDlls() const {
        std::vector<std::string> names;
        const auto* descriptor = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(
            base_ +
            Headers()->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress);
        for (; descriptor->Name != 0; ++descriptor) {
            names.emplace_back(base_ + descriptor->Name);
        }
        return names;
    }
    // True when the image holds `text`, in any case (delay-loaded DLL names are
    // plain strings of the delay-import tables).
    bool Contains(const std::string& text) const {
        const char* end = base_ + Headers()->OptionalHeader.SizeOfImage;
        return std::search(base_, end, text.begin(), text.end(), [](char a, char b) {
                   return std::tolower(static_cast<unsigned char>(a)) ==
                          std::tolower(static_cast<unsigned char>(b));
               }) != end;
    }
    HMODULE module_;
    const char* base_;
};

// Every DLL that the template imports directly is one the loader takes from
// the system folder; the others are delay-loaded, after the entry has limited
// DLL loading to the system folder.
TEST(ImportTableTest, TemplateImportsOnlyProtectedDlls) {
    const Template image;
    ASSERT_NE(nullptr, image.module_);
    ASSERT_EQ(IMAGE_NT_SIGNATURE, image.Headers()->Signature);
    const std::vector<std::string> imported = image.ImportedDlls();
    ASSERT_FALSE(imported.empty());
    for (const std::string& name : imported) {
        EXPECT_TRUE(IsProtected(name)) << name << " is imported before any code can run";
    }
    // The others are still used, bound on first call.
    for (const char* delayed : {"version.dll", "uxtheme.dll", "wevtapi.dll", "wtsapi32.dll",
                                "mpr.dll", "bcrypt.dll", "comctl32.dll"}) {
        EXPECT_TRUE(image.Contains(delayed)) << delayed;
    }
}

// Names are compared whole and in any case.
TEST(ImportTableTest, OnlyWholeNamesOfTheSetAreProtected) {
    const std::pair<const char*, bool> rows[] = {
        // clang-format off
        {"KERNEL32.dll", true},       {"kernel32.dll.evil", false}, {"evil.kernel32.dll", false},
        {"kernel32", false},          {"NtDll.DLL", true},          {"API-MS-WIN-core-synch-l1-2-0.dll", true},
        {"x-api-ms-win-core.dll", false}, {"VERSION.dll", false},   {"comctl32.dll", false},
        // clang-format on
    };
    for (const auto& [name, protectedDll] : rows) {
        EXPECT_EQ(protectedDll, IsProtected(name)) << name;
    }
}

}  // namespace
}  // namespace orvik::testing
