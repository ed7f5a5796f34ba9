#include "shared/ConfigStore.h"

#include <utility>

namespace orvik::pkgshared {
namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

}  // namespace

using ini::LineKind;

void ConfigStore::LoadText(std::string_view text) {
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
        text.remove_prefix(kByteOrderMark.size());
        byteOrderMark_ = true;
    }
    Section* current = sections_.empty() ? nullptr : &sections_.back();
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find('\n', start);
        if (end == std::string_view::npos) {
            end = text.size();
        }
        std::string_view raw = text.substr(start, end - start);
        if (!raw.empty() && raw.back() == '\r') {
            raw.remove_suffix(1);
        }
        start = end + 1;

        const ini::ParsedLine parsed = ini::ParseLine(raw, options_.read);
        if (parsed.kind == LineKind::Section) {
            current = &SectionForHeader(parsed.name, raw, current);
            continue;
        }
        if (current == nullptr) {
            sections_.push_back(Section{});
            current = &sections_.back();
        }
        Line line;
        if (parsed.kind == LineKind::KeyValue) {
            line.isEntry = true;
            line.entry.key = parsed.key;
            line.entry.value = parsed.value;
        } else {
            line.text = std::string(raw);
        }
        current->lines.push_back(std::move(line));
    }
}

ConfigStore::Section& ConfigStore::SectionForHeader(const std::string& name,
                                                    std::string_view header, Section* lastRead) {
    const bool caseSensitive = options_.caseSensitiveNames;
    if (lastRead != nullptr && !lastRead->header.empty() &&
        ini::SectionNamesMatch(lastRead->name, name, caseSensitive)) {
        return *lastRead;
    }
    for (Section& section : sections_) {
        if (!section.header.empty() && ini::SectionNamesMatch(section.name, name, caseSensitive)) {
            return section;
        }
    }
    sections_.push_back(Section{name, std::string(header), {}});
    return sections_.back();
}

ConfigStore::Section* ConfigStore::FindSection(std::string_view name) {
    for (Section& section : sections_) {
        if (section.header.empty()
                ? name.empty()
                : ini::SectionNamesMatch(section.name, name, options_.caseSensitiveNames)) {
            return &section;
        }
    }
    return nullptr;
}

const ConfigStore::Section* ConfigStore::FindSection(std::string_view name) const {
    return const_cast<ConfigStore*>(this)->FindSection(name);
}

bool ConfigStore::KeysMatch(std::string_view a, std::string_view b) const {
    return options_.caseSensitiveNames ? a == b : ini::SectionNamesMatch(a, b, false);
}

std::optional<std::string> ConfigStore::GetValue(std::string_view section,
                                                 std::string_view key) const {
    if (const Section* found = FindSection(section)) {
        for (const Line& line : found->lines) {
            if (line.isEntry && KeysMatch(line.entry.key, key)) {
                return line.entry.value;
            }
        }
    }
    return std::nullopt;
}

bool ConfigStore::SetValue(std::string_view section, std::string_view key, std::string value) {
    if (value.find_first_of("\r\n") != std::string::npos) {
        return false;
    }
    Section* found = FindSection(section);
    if (found == nullptr) {
        const std::string name(section);
        sections_.push_back(Section{name, name.empty() ? "" : "[" + name + "]", {}});
        found = &sections_.back();
    }
    for (Line& line : found->lines) {
        if (line.isEntry && KeysMatch(line.entry.key, key)) {
            line.entry.value = std::move(value);
            return true;
        }
    }
    Line line;
    line.isEntry = true;
    line.entry.key = std::string(key);
    line.entry.value = std::move(value);
    found->lines.push_back(std::move(line));
    return true;
}

std::vector<std::string> ConfigStore::Keys(std::string_view section) const {
    std::vector<std::string> keys;
    if (const Section* found = FindSection(section)) {
        for (const Line& line : found->lines) {
            if (line.isEntry) {
                keys.push_back(line.entry.key);
            }
        }
    }
    return keys;
}

bool ConfigStore::RemoveValue(std::string_view section, std::string_view key) {
    Section* found = FindSection(section);
    if (found == nullptr) {
        return false;
    }
    const size_t before = found->lines.size();
    auto& lines = found->lines;
    for (auto it = lines.begin(); it != lines.end();) {
        it = (it->isEntry && KeysMatch(it->entry.key, key)) ? lines.erase(it) : it + 1;
    }
    return lines.size() != before;
}

int ConfigStore::WriteTo(const ini::LineWriter& write) const {
    std::string prefix(byteOrderMark_ ? kByteOrderMark : "");
    const ini::LineWriter writeLine = [&write, &prefix](const std::string& line) {
        return prefix.empty() ? write(line) : write(std::exchange(prefix, {}) + line);
    };
    for (const Section& section : sections_) {
        if (!section.header.empty()) {
            if (const int result = writeLine(section.header); result != 0) {
                return result;
            }
        }
        for (const Line& line : section.lines) {
            const int result =
                line.isEntry ? ini::WriteEntry(line.entry, options_.writer, options_.maxLineLength,
                                               options_.splitCharacter, writeLine)
                             : writeLine(line.text);
            if (result != 0) {
                return result;
            }
        }
    }
    return kOk;
}

int ConfigStore::Save(const std::wstring& path) {
    if (path.empty()) {
        return kInvalidPath;
    }
    const int result = (options_.save & kSafeSave) != 0 ? SaveSafe(path) : SaveDirect(path);
    if (result == kOk) {
        lastSavedPath_ = path;
    }
    return result;
}

}  // namespace orvik::pkgshared
