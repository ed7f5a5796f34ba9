#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <cctype>
#include <iostream>

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

// A PE image read from its file: headers, sections and RVA lookup.
class PeFile {
public:
    explicit PeFile(std::string bytes) : bytes_(std::move(bytes)) {
        const auto* dos = At<IMAGE_DOS_HEADER>(0);
        if (dos == nullptr || dos->e_magic != IMAGE_DOS_SIGNATURE) {
            return;
        }
        nt_ = At<IMAGE_NT_HEADERS32>(static_cast<size_t>(dos->e_lfanew));
        if (nt_ == nullptr || nt_->Signature != IMAGE_NT_SIGNATURE ||
            nt_->OptionalHeader.Magic != IMAGE_NT_OPTIONAL_HDR32_MAGIC) {
            nt_ = nullptr;
            return;
        }
        const size_t first = static_cast<size_t>(dos->e_lfanew) + sizeof(DWORD) +
                             sizeof(IMAGE_FILE_HEADER) + nt_->FileHeader.SizeOfOptionalHeader;
        for (WORD i = 0; i < nt_->FileHeader.NumberOfSections; ++i) {
            if (const auto* section =
                    At<IMAGE_SECTION_HEADER>(first + i * sizeof(IMAGE_SECTION_HEADER))) {
                sections_.push_back(*section);
            }
        }
    }
    bool Valid() const { return nt_ != nullptr; }

    // The DLL names of the import table, in table order.
    std::vector<std::string> ImportedDlls() const {
        std::vector<std::string> names;
        const IMAGE_DATA_DIRECTORY& directory =
            nt_->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
        size_t offset = Offset(directory.VirtualAddress);
        for (;; offset += sizeof(IMAGE_IMPORT_DESCRIPTOR)) {
            const auto* descriptor = At<IMAGE_IMPORT_DESCRIPTOR>(offset);
            if (descriptor == nullptr || descriptor->Name == 0) {
                return names;
            }
            names.push_back(String(Offset(descriptor->Name)));
        }
    }

    // True when the file holds `text` (delay-loaded DLL names are kept as
    // plain strings by the delay-import tables).
    bool Contains(const std::string& text) const {
        return std::search(bytes_.begin(), bytes_.end(), text.begin(), text.end(),
                           [](char a, char b) {
                               return std::tolower(static_cast<unsigned char>(a)) ==
                                      std::tolower(static_cast<unsigned char>(b));
                           }) != bytes_.end();
    }

private:
    template <typename T>
    const T* At(size_t offset) const {
        return offset + sizeof(T) <= bytes_.size()
                   ? reinterpret_cast<const T*>(bytes_.data() + offset)
                   : nullptr;
    }
    size_t Offset(DWORD rva) const {
        for (const IMAGE_SECTION_HEADER& section : sections_) {
            if (rva >= section.VirtualAddress &&
                rva < section.VirtualAddress + section.Misc.VirtualSize) {
                return rva - section.VirtualAddress + section.PointerToRawData;
            }
        }
        return bytes_.size();
    }
    std::string String(size_t offset) const {
        std::string text;
        while (offset < bytes_.size() && bytes_[offset] != '\0') {
            text += bytes_[offset++];
        }
        return text;
    }

    std::string bytes_;
    const IMAGE_NT_HEADERS32* nt_ = nullptr;
    std::vector<IMAGE_SECTION_HEADER> sections_;
};

// Every DLL that the template imports directly is one the loader takes from
// the system folder; the others are delay-loaded, after the entry has limited
// DLL loading to the system folder.
TEST(ImportTableTest, TemplateImportsOnlyProtectedDlls) {
    const PeFile file(ReadBytes(BinDirectory() + L"\\preinstall.exe"));
    ASSERT_TRUE(file.Valid());
    const std::vector<std::string> imported = file.ImportedDlls();
    ASSERT_FALSE(imported.empty());
    std::string list;
    for (const std::string& name : imported) {
        list += name + " ";
        EXPECT_TRUE(IsProtected(name)) << name << " is imported before any code can run";
    }
    std::cout << "imported: " << list << "\n";
    // The others are still used, bound on first call.
    for (const char* delayed : {"version.dll", "uxtheme.dll", "wevtapi.dll", "wtsapi32.dll",
                                "mpr.dll", "bcrypt.dll", "comctl32.dll"}) {
        EXPECT_TRUE(file.Contains(delayed)) << delayed;
    }
}

TEST(ImportTableTest, TheListRecognisesWhatItMust) {
    EXPECT_TRUE(IsProtected("KERNEL32.dll"));
    EXPECT_TRUE(IsProtected("api-ms-win-core-synch-l1-2-0.dll"));
    EXPECT_FALSE(IsProtected("VERSION.dll"));
    EXPECT_FALSE(IsProtected("comctl32.dll"));
    EXPECT_FALSE(IsProtected("kernel32.dll.evil"));
}

}  // namespace
}  // namespace orvik::testing
