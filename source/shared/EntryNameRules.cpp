#include "shared/EntryNameRules.h"

#include <algorithm>

#include "shared/TextConversion.h"

namespace orvik::pkgshared {
namespace {

constexpr size_t kMaxComponentUnits = 255;
constexpr std::uint32_t kTypeMask = 0170000, kOwnerWrite = 0200;

// Lower-case letters whose upper case Windows compares names by: `first` to
// `last` (every `step`-th code point) map to code point + `delta`. One-to-one
// pairs only: letters whose upper case turns back into another lower case
// (dotless i, long s, micro sign, final sigma) are not in the table.
struct UpcaseRange {
    char32_t first, last;
    std::int32_t delta;
    std::uint32_t step;
};
constexpr UpcaseRange kUpcase[] = {
    {0x0061, 0x007A, -32, 1}, {0x00E0, 0x00F6, -32, 1}, {0x00F8, 0x00FE, -32, 1},
    {0x00FF, 0x00FF, 121, 1}, {0x0101, 0x012F, -1, 2},  {0x0133, 0x0137, -1, 2},
    {0x013A, 0x0148, -1, 2},  {0x014B, 0x0177, -1, 2},  {0x017A, 0x017E, -1, 2},
    {0x03AC, 0x03AC, -38, 1}, {0x03AD, 0x03AF, -37, 1}, {0x03B1, 0x03C1, -32, 1},
    {0x03C3, 0x03CB, -32, 1}, {0x03CC, 0x03CC, -64, 1}, {0x03CD, 0x03CE, -63, 1},
    {0x0430, 0x044F, -32, 1}, {0x0450, 0x045F, -80, 1}, {0x0461, 0x0481, -1, 2},
    {0x048B, 0x04BF, -1, 2},  {0x04C2, 0x04CE, -1, 2},  {0x04CF, 0x04CF, -15, 1},
    {0x04D1, 0x052F, -1, 2},  {0xFF41, 0xFF5A, -32, 1},
};

wchar_t Upcase(wchar_t c) {
    const auto code = static_cast<char32_t>(c);
    for (const UpcaseRange& range : kUpcase) {
        if (code >= range.first && code <= range.last && (code - range.first) % range.step == 0) {
            return static_cast<wchar_t>(static_cast<std::int32_t>(code) + range.delta);
        }
    }
    return c;
}

bool IsSeparator(wchar_t c) {
    return c == L'/' || c == L'\\';
}

// Where wchar_t is UTF-32, a code point above U+FFFF takes two UTF-16 units.
size_t Utf16Units(std::wstring_view part) {
    size_t units = part.size();
    if constexpr (sizeof(wchar_t) > 2) {
        units += std::count_if(part.begin(), part.end(), [](wchar_t c) {
            return (static_cast<std::uint32_t>(c) >> 16) != 0;
        });
    }
    return units;
}

bool IsReservedDeviceName(std::wstring_view part) {
    std::wstring_view base = part.substr(0, part.find(L'.'));
    while (!base.empty() && base.back() == L' ') {
        base.remove_suffix(1);
    }
    const std::wstring lower = ToLowerAscii(base);
    if (lower == L"con" || lower == L"prn" || lower == L"aux" || lower == L"nul" ||
        lower == L"conin$" || lower == L"conout$") {
        return true;
    }
    const std::wstring_view digits = L"0123456789\u00B9\u00B2\u00B3";
    return lower.size() == 4 &&
           (lower.compare(0, 3, L"com") == 0 || lower.compare(0, 3, L"lpt") == 0) &&
           digits.find(lower[3]) != std::wstring_view::npos;
}

std::optional<std::wstring> ComponentReason(std::wstring_view part) {
    if (part.empty() || part == L"." || part == L"..") {
        return std::nullopt;
    }
    if (Utf16Units(part) > kMaxComponentUnits) {
        return std::wstring(L"a name part longer than 255 characters");
    }
    if (part.back() == L' ' || part.back() == L'.') {
        return std::wstring(L"a name part that ends in a space or a dot");
    }
    if (IsReservedDeviceName(part)) {
        return std::wstring(L"a reserved device name on Windows");
    }
    return std::nullopt;
}

// The path an entry name unpacks to: "./" dropped once, one separator, no
// empty or "." component, a ".." taking back the component before it.
std::vector<std::wstring> NormalisedParts(std::wstring_view name) {
    std::vector<std::wstring> parts;
    for (const std::wstring_view part :
         EntryNameRules::Components(EntryNameRules::UnpackedName(name))) {
        if (part == L".." && !parts.empty() && parts.back() != L"..") {
            parts.pop_back();
        } else if (!part.empty() && part != L".") {
            parts.emplace_back(part);
        }
    }
    return parts;
}

std::wstring Joined(const std::vector<std::wstring>& parts, size_t count) {
    std::wstring path;
    for (size_t i = 0; i < count; ++i) {
        path += (i == 0 ? L"" : L"/") + parts[i];
    }
    return path;
}

std::wstring Folded(std::wstring path) {
    std::transform(path.begin(), path.end(), path.begin(), Upcase);
    return path;
}

std::optional<std::wstring> TypeReason(std::uint32_t fileType) {
    switch (fileType & kTypeMask) {
        case 0020000:
            return std::wstring(L"a character device, which Windows cannot create");
        case 0060000:
            return std::wstring(L"a block device, which Windows cannot create");
        case 0010000:
            return std::wstring(L"a named pipe, which Windows cannot create");
        case 0140000:
            return std::wstring(L"a socket, which Windows cannot create");
        default:
            return std::nullopt;
    }
}

// Length of the valid UTF-8 sequence at `at`; 0 when none starts there.
size_t Utf8SequenceLength(std::string_view bytes, size_t at) {
    const auto lead = static_cast<unsigned char>(bytes[at]);
    if (lead < 0x80) {
        return 1;
    }
    const size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : lead >= 0xC0 ? 2 : 0;
    if (length == 0 || lead > 0xF4 || at + length > bytes.size()) {
        return 0;
    }
    char32_t code = lead & (0x7F >> length);
    for (size_t i = 1; i < length; ++i) {
        const auto next = static_cast<unsigned char>(bytes[at + i]);
        if ((next & 0xC0) != 0x80) {
            return 0;
        }
        code = (code << 6) | (next & 0x3F);
    }
    const char32_t smallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool valid =
        code >= smallest[length] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF);
    return valid ? length : 0;
}

}  // namespace

std::optional<std::wstring> EntryNameRules::NameReason(std::wstring_view name) {
    if (name.empty()) {
        return std::wstring(L"an empty name");
    }
    name = EntryNameRules::UnpackedName(name);
    for (const wchar_t c : name) {
        if (c < 0x20 || c == 0x7F) {
            return std::wstring(L"a control character");
        }
        if (std::wstring_view(L"<>:\"|?*").find(c) != std::wstring_view::npos) {
            return std::wstring(L"a character that Windows does not allow in names");
        }
    }
    for (const std::wstring_view part : Components(name)) {
        if (auto reason = ComponentReason(part)) {
            return reason;
        }
    }
    return std::nullopt;
}

std::vector<std::wstring_view> EntryNameRules::Components(std::wstring_view name) {
    std::vector<std::wstring_view> parts;
    size_t start = 0;
    for (size_t i = 0; i <= name.size(); ++i) {
        if (i == name.size() || IsSeparator(name[i])) {
            parts.push_back(name.substr(start, i - start));
            start = i + 1;
        }
    }
    return parts;
}

std::wstring_view EntryNameRules::UnpackedName(std::wstring_view name) {
    if (name.size() > 1 && name[0] == L'.' && IsSeparator(name[1])) {
        name.remove_prefix(2);
    }
    return name;
}

bool EntryNameRules::IsPlainName(std::wstring_view name) {
    if (NameReason(name)) {
        return false;
    }
    for (const std::wstring_view part : Components(UnpackedName(name))) {
        if (part.empty() || part == L"." || part == L"..") {
            return false;
        }
    }
    return true;
}

bool EntryNameRules::IsUtf8(std::string_view bytes) {
    for (size_t at = 0; at < bytes.size();) {
        const size_t length = Utf8SequenceLength(bytes, at);
        if (length == 0) {
            return false;
        }
        at += length;
    }
    return true;
}

std::wstring EntryNameRules::EscapedName(std::string_view bytes) {
    static const wchar_t kHex[] = L"0123456789ABCDEF";
    std::wstring text;
    for (size_t at = 0; at < bytes.size();) {
        const size_t length = Utf8SequenceLength(bytes, at);
        const auto byte = static_cast<unsigned char>(bytes[at]);
        if (length == 0 || byte < 0x20 || byte == 0x7F) {
            text += {L'\\', L'x', kHex[byte >> 4], kHex[byte & 0xF]};
            ++at;
        } else {
            text += Utf8ToWide(bytes.substr(at, length));
            at += length;
        }
    }
    return text;
}

std::vector<std::wstring> EntryNameRules::Add(const ArchiveEntryInfo& entry) {
    std::vector<std::wstring> problems;
    const std::vector<std::wstring> parts = NormalisedParts(entry.name);
    if (parts.empty()) {
        return problems;  // the extraction folder itself
    }
    if (auto reason = TypeReason(entry.fileType)) {
        problems.push_back(entry.name + L": " + *reason);
    }
    AddFolders(entry, parts, problems);
    if (!entry.hardlinkTarget.empty()) {
        const std::vector<std::wstring> linked = NormalisedParts(entry.hardlinkTarget);
        const auto target = seen_.find(Folded(Joined(linked, linked.size())));
        if (target == seen_.end() || !target->second.entry || target->second.folder) {
            problems.push_back(entry.name + L": a hard link to " + entry.hardlinkTarget +
                               L", which is no earlier file");
        }
    }
    const bool folder = (entry.fileType & kTypeMask) == kFolderType;
    const std::wstring path = Joined(parts, parts.size());
    Seen& seen = seen_[Folded(path)];
    if (!seen.name.empty()) {
        if (auto reason = Replaced(seen, path, folder)) {
            problems.push_back(entry.name + L": " + *reason);
        }
    }
    const bool readOnly = (entry.mode & kOwnerWrite) == 0 || (entry.fileFlagsSet & kReadOnlyFlag);
    seen = {entry.name, path, folder, true, !folder && readOnly};
    return problems;
}

void EntryNameRules::AddFolders(const ArchiveEntryInfo& entry,
                                const std::vector<std::wstring>& parts,
                                std::vector<std::wstring>& problems) {
    for (size_t count = 1; count < parts.size(); ++count) {
        const std::wstring path = Joined(parts, count);
        const auto [it, added] = seen_.try_emplace(Folded(path), Seen{path, path, true});
        if (!added && !it->second.folder) {
            problems.push_back(entry.name + L": a folder where an earlier entry has a file");
            it->second = Seen{path, path, true};
        }
    }
}

std::optional<std::wstring> EntryNameRules::Replaced(const Seen& earlier, const std::wstring& path,
                                                     bool folder) {
    if (folder != earlier.folder) {
        return std::wstring(folder ? L"a folder where an earlier entry has a file"
                                   : L"a file where an earlier entry has a folder");
    }
    if (earlier.entry && earlier.path != path) {
        return L"differs only in case from " + earlier.name + L"; Windows takes both for one name";
    }
    if (earlier.readOnly) {
        return L"replaces " + earlier.name + L", which is read-only";
    }
    return std::nullopt;
}

}  // namespace orvik::pkgshared
