#pragma once
// EntryNameRules: which archive entries Windows cannot unpack as the archive
// names them, or unpacks with a loss. Pure logic over the names as the
// archive gives them (wide, either separator, a leading "./" dropped once as
// the unpacking drops it), so that packing and unpacking judge alike.
//
// The static rules judge one name; an object judges a sequence: it is fed the
// entries one at a time, in archive order, and answers for each what it does
// to the entries before it.
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "shared/ArchiveManager.h"

namespace orvik::pkgshared {

class EntryNameRules {
public:
    // The file flag "rdonly" (FILE_ATTRIBUTE_READONLY) as the library reads
    // it on Windows, in ArchiveEntryInfo::fileFlagsSet.
    static constexpr std::uint64_t kReadOnlyFlag = 0x1;

    // Why Windows cannot create `name` under that name, or nothing: an empty
    // name ("./" alone names the extraction folder and passes), a control character (below 0x20, or
    // 0x7F), a character Windows refuses (<>:"|?*), a component longer than 255 UTF-16 units, a
    // component that ends in a space or a dot, or a component that is a
    // reserved device name (CON, PRN, AUX, NUL, COM0-COM9, LPT0-LPT9 and the
    // superscript-digit forms, CONIN$, CONOUT$; any case, any extension,
    // spaces before the extension). Empty, "." and ".." components are left
    // to the check of where an entry lands.
    static std::optional<std::wstring> NameReason(std::wstring_view name);

    // The parts of `name` between separators ('/' or '\\'), empty ones included; views into it.
    static std::vector<std::wstring_view> Components(std::wstring_view name);
    // `name` as the unpacking takes it: a leading "./" (or ".\") dropped, once.
    static std::wstring_view UnpackedName(std::wstring_view name);

    // True when `name` has no NameReason and is relative and plain: no
    // leading or trailing separator, no empty, "." or ".." component.
    static bool IsPlainName(std::wstring_view name);

    // Whether `bytes` is valid UTF-8 (no overlong forms, surrogates or code
    // points above U+10FFFF).
    static bool IsUtf8(std::string_view bytes);
    // `bytes` (a name as stored) as text: valid UTF-8 sequences decoded,
    // every other byte, and every control character, as "\xNN".
    static std::wstring EscapedName(std::string_view bytes);

    // The problems of `entry` as the entry after those added before, each
    // "NAME: reason" with NAME as the archive gives it: a type Windows cannot
    // create (character or block device, named pipe, socket); a folder where
    // an earlier entry has a file, or a file where one has a folder; a name
    // that differs only in case from an earlier entry's; the replacing of an
    // earlier read-only entry that is no folder (no owner-write bit, or the
    // rdonly flag); a hard link to a name that no earlier file has. Empty when
    // none.
    std::vector<std::wstring> Add(const ArchiveEntryInfo& entry);

private:
    struct Seen {
        std::wstring name;  // the first entry's name as given
        std::wstring path;  // its normalised path, case kept
        bool folder = false;
        bool entry = false;  // an entry of its own, not only a folder of one
        bool readOnly = false;
    };
    void AddFolders(const ArchiveEntryInfo& entry, const std::vector<std::wstring>& parts,
                    std::vector<std::wstring>& problems);
    // Why an entry at `path` (a folder or not) may not replace `earlier`.
    static std::optional<std::wstring> Replaced(const Seen& earlier, const std::wstring& path,
                                                bool folder);

    std::map<std::wstring, Seen> seen_;  // by case-folded normalised path
};

}  // namespace orvik::pkgshared
