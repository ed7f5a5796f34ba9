#pragma once
// ConfigStore: an ini file held in memory, read from text and written back
// directly or safely (through a temporary file moved over the target). Every
// operation answers with a result code; none throws.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "shared/IniEntryWriter.h"
#include "shared/IniGrammar.h"

namespace orvik::pkgshared {

class ConfigStore {
public:
    enum SaveOption : unsigned {
        kSafeSave = 0x2,           // write a temporary file, then move it over the target
        kNumberedTemporary = 0x4,  // temporary files named "ini$$<n>.TMP" beside the target
    };
    enum ResultCode : int {
        kOk = 0,
        kValueCannotBeSplit = ini::kValueCannotBeSplit,  // -2
        kCannotCreateTemporary = -5,
        kOutOfMemory = ini::kOutOfMemory,  // -12
        kCannotUpdateTarget = -13,         // probe, creation or final move failed
        kInvalidPath = -22,
        kNoTemporaryName = -5003,  // the numbered names 0..999 are all taken
        kCannotOpenOutput = -5004,
    };
    struct Options {
        unsigned save = 0;                // SaveOption bits
        unsigned read = 0;                // ini::ReadOption bits
        bool caseSensitiveNames = false;  // section names and keys
        unsigned writer = 0;              // ini::WriterOption bits
        size_t maxLineLength = 0;         // 0: no limit
        char splitCharacter = '\0';
    };

    ConfigStore() = default;
    explicit ConfigStore(Options options) : options_(options) {}

    const Options& GetOptions() const { return options_; }

    // Adds the lines of `text` (LF or CRLF line ends) to the store. Lines
    // before the first section header belong to a section without a name. A
    // leading UTF-8 byte-order mark is not part of the first line; the store
    // then writes one again (see WriteTo).
    void LoadText(std::string_view text);
    // Replaces the contents with the file's. Returns 0, -2 when the file does
    // not exist (the store is then empty), or another negative errno value.
    int LoadFile(const std::wstring& path);

    // The first value of `key` in the first matching section.
    std::optional<std::string> GetValue(std::string_view section, std::string_view key) const;
    // Replaces the first value of `key`, or appends an entry (and the section).
    // Returns false, changing nothing, when `value` holds a '\r' or '\n', which
    // would read back as more than one line.
    [[nodiscard]] bool SetValue(std::string_view section, std::string_view key, std::string value);
    // The keys of the matching section, in file order.
    std::vector<std::string> Keys(std::string_view section) const;
    // Removes every entry of `key` in the matching section; true when one was removed.
    bool RemoveValue(std::string_view section, std::string_view key);

    // Hands every line (section headers and kept lines as read, entries) to
    // `write`, the first one preceded by the byte-order mark that the text
    // read began with. Returns 0 or the first failure.
    int WriteTo(const ini::LineWriter& write) const;
    // Writes the store to `path` (see SaveOption); on success remembers it.
    int Save(const std::wstring& path);
    const std::wstring& LastSavedPath() const { return lastSavedPath_; }

private:
    struct Line {
        bool isEntry = false;
        std::string text;  // a kept line: blank, comment or unrecognised
        ini::IniEntry entry;
    };
    struct Section {
        std::string name;
        std::string header;  // the line as read, or "[name]"; empty before the first header
        std::vector<Line> lines;
    };

    Section* FindSection(std::string_view name);
    const Section* FindSection(std::string_view name) const;
    Section& SectionForHeader(const std::string& name, std::string_view header, Section* lastRead);
    bool KeysMatch(std::string_view a, std::string_view b) const;
    int SaveDirect(const std::wstring& path) const;
    int SaveSafe(const std::wstring& path) const;

    Options options_;
    std::vector<Section> sections_;
    bool byteOrderMark_ = false;  // the text read began with one
    std::wstring lastSavedPath_;
};

}  // namespace orvik::pkgshared
